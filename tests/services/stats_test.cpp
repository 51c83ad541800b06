// The usage statistics against a local HTTP server: what is sent, when, and
// what a failed upload or a broken file leaves behind.

#include "httpserver.h"
#include "services/stats.h"
#include "services/versioncheck.h"
#include "services/xmldocument.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace {

class Stats : public ::testing::Test
{
protected:
    // A run's statistics object, on this test's file, server and clock.
    std::unique_ptr<CStats> Make(bool send, const std::string& url)
    {
        auto stats = std::make_unique<CStats>();
        stats->m_send = send;
        stats->m_path = m_dir.File("stats.dat");
        stats->m_url = url;
        stats->m_openGl = "Mesa, llvmpipe, 4.5";
        stats->m_now = [this] { return m_now; };
        return stats;
    }

    // A whole run of `seconds` with 30 frames a second.
    void Run(CStats& stats, int seconds)
    {
        stats.Init();
        for (int i = 0; i < seconds * 30; ++i)
            stats.FrameFinished();
        m_now += seconds;
        stats.Exit();
    }

    CXmlElement* Root()
    {
        m_file.LoadFile(m_dir.File("stats.dat"));
        return m_file.FirstChildElement("lmstats");
    }

    std::string RootAttribute(const char* name)
    {
        const CXmlElement* root = Root();
        const std::string* value = root ? root->Attribute(name) : nullptr;
        return value ? *value : "<none>";
    }

    CTempDir m_dir;
    std::time_t m_now = 1700000000;
    CXmlDocument m_file;
};

std::vector<std::string> Names(const CXmlElement& element)
{
    std::vector<std::string> names;
    for (const CXmlAttribute& attribute : element.Attributes())
        names.push_back(attribute.Name());
    return names;
}

TEST_F(Stats, OptedInRunsSendTheLastRunsFileOnceAWeek)
{
    CTestHttpServer server(CTestHttpServer::EAnswer::Ok);
    Run(*Make(true, server.Url()), 20);
    ASSERT_TRUE(FileExists(m_dir.File("stats.dat")));
    const std::string written = ReadFile(m_dir.File("stats.dat"));

    // The report holds exactly these figures, as the README tells.
    const CXmlElement* root = Root();
    ASSERT_TRUE(root);
    EXPECT_EQ(Names(*root), (std::vector<std::string>{"installdate", "opengl", "desktopsize", "virtualsize",
                                                      "nummonitors", "installid", "lastupload", "cores", "mem",
                                                      "memfree", "c"}));
    std::vector<std::string> children;
    for (const CXmlElement* child = root->FirstChildElement(); child; child = child->NextSiblingElement()) {
        children.push_back(child->Value());
        EXPECT_EQ(Names(*child), (std::vector<std::string>{"runcount", "runtime", "lastrun", "avgfps", "scenes"}));
        EXPECT_EQ(child->ChildCount(), 0u);
    }
    EXPECT_EQ(children,
              (std::vector<std::string>{"screensaver", "winampvis", "wmpvis", "editor", "config", "visualizer"}));
    EXPECT_EQ(m_file.ChildCount(), 1u);
    EXPECT_EQ(RootAttribute("installid").size(), 40u);
    EXPECT_EQ(*root->FirstChildElement("visualizer")->Attribute("avgfps"), "30");
    // A first run sends nothing.
    EXPECT_FALSE(server.WaitForRequests(1, 0.2));

    m_now += 3600;
    auto second = Make(true, server.Url());
    second->Init();
    ASSERT_TRUE(server.WaitForRequests(1, 5.0));
    const CTestHttpServer::SRequest request = server.Requests().front();
    EXPECT_EQ(request.m_head.rfind("POST /lmstats HTTP/1.1\r\n", 0), 0u) << request.m_head;
    EXPECT_NE(request.m_head.find("Content-Type: text/xml"), std::string::npos);
    EXPECT_EQ(request.m_body, written);
    for (int i = 0; i < 400 && second->LastUpload() == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        second->FrameFinished();
    }
    m_now += 20;
    second->Exit();
    EXPECT_EQ(RootAttribute("lastupload"), "20231114 23:13");

    // Within the week nothing more goes out.
    m_now += 6 * 24 * 3600;
    Run(*Make(true, server.Url()), 20);
    EXPECT_FALSE(server.WaitForRequests(2, 0.2));
}

TEST_F(Stats, WithoutConsentNothingIsReadWrittenOrSent)
{
    CTestHttpServer server(CTestHttpServer::EAnswer::Ok);
    WriteFile(m_dir.File("stats.dat"), "<lmstats/>");
    for (int run = 0; run < 2; ++run) {
        Run(*Make(false, server.Url()), 20);
        m_now += 8 * 24 * 3600;
    }
    EXPECT_EQ(ReadFile(m_dir.File("stats.dat")), "<lmstats/>");
    EXPECT_FALSE(server.WaitForRequests(1, 0.3));
}

class FailedUpload : public Stats, public ::testing::WithParamInterface<CTestHttpServer::EAnswer>
{
};

TEST_P(FailedUpload, NeitherDelaysTheExitNorLosesTheFigures)
{
    CTestHttpServer server(GetParam());
    Run(*Make(true, server.Url()), 20);
    m_now += 3600;
    auto second = Make(true, server.Url());
    second->Init();
    ASSERT_TRUE(server.WaitForRequests(1, 5.0));
    // Let a quick failure arrive, as it would in a run.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    second->FrameFinished();
    m_now += 20;
    const auto start = std::chrono::steady_clock::now();
    second->Exit();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    EXPECT_EQ(second->LastUpload(), 0);
    // The next run tries again with everything counted.
    EXPECT_EQ(RootAttribute("lastupload"), "");
    EXPECT_EQ(*Root()->FirstChildElement("visualizer")->Attribute("runcount"), "2");
}

INSTANTIATE_TEST_SUITE_P(Answers, FailedUpload,
                         ::testing::Values(CTestHttpServer::EAnswer::Never, CTestHttpServer::EAnswer::ServerError,
                                           CTestHttpServer::EAnswer::CutBody),
                         [](const auto& row) {
                             switch (row.param) {
                             case CTestHttpServer::EAnswer::Never: return "Never";
                             case CTestHttpServer::EAnswer::ServerError: return "ServerError";
                             default: return "CutBody";
                             }
                         });

TEST_F(Stats, BrokenFileIsStartedAnewWithALogLine)
{
    CTestHttpServer server(CTestHttpServer::EAnswer::Ok);
    Run(*Make(true, server.Url()), 20);
    const std::string good = ReadFile(m_dir.File("stats.dat"));
    const std::string id = RootAttribute("installid");
    std::string wrongCheck = good;
    wrongCheck[wrongCheck.find(id) + 39] ^= 1;
    const struct
    {
        const char* name;
        std::string text;
    } rows[] = {
        {"truncated", good.substr(0, good.size() / 2)},
        {"binary", std::string("\x89PNG\r\n\x1a\n\0\0", 10)},
        {"foreign", "<config Playlist=\"x\"/>"},
        {"bad install id", wrongCheck},
        {"oversized", "<lmstats c=\"" + std::string(CStats::kMaxFileBytes, 'x') + "\"/>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WriteFile(m_dir.File("stats.dat"), row.text);
        CLogCapture log;
        m_now += 8 * 24 * 3600;
        Run(*Make(true, server.Url()), 5);
        EXPECT_TRUE(log.Contains("they start anew"));
        // A new install with one run; nothing of the broken file is sent.
        EXPECT_EQ(*Root()->FirstChildElement("visualizer")->Attribute("runcount"), "1");
        EXPECT_NE(RootAttribute("installid"), id);
        EXPECT_EQ(RootAttribute("installid").size(), 40u);
    }
    EXPECT_FALSE(server.WaitForRequests(1, 0.2));
}

} // namespace

namespace {

TEST(VersionCheck, ANewerVersionIsLoggedAndFailuresStaySilent)
{
    const struct
    {
        CTestHttpServer::EAnswer answer;
        const char* offered;
        const char* newer;
    } rows[] = {
        {CTestHttpServer::EAnswer::Ok, "2.10.0\n", "2.10.0"},
        {CTestHttpServer::EAnswer::Ok, "2.9", ""},
        {CTestHttpServer::EAnswer::Ok, "<html>", ""},
        {CTestHttpServer::EAnswer::ServerError, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.offered);
        CTestHttpServer server(row.answer, row.offered);
        CLogCapture log;
        CVersionCheck check;
        check.m_url = server.Url("/version");
        check.m_current = "2.9.1";
        check.Start();
        // A silent answer can only be waited out.
        const int tries = *row.newer ? 1000 : 100;
        for (int i = 0; i < tries && check.m_newer.empty(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            check.Poll();
        }
        EXPECT_EQ(check.m_newer, row.newer);
        EXPECT_EQ(log.Messages().size(), *row.newer ? 1u : 0u);
    }
}

} // namespace
