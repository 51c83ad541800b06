// The editor socket: who may use it, what a crashed run leaves, and clients
// that misbehave while a stand-in frame thread runs the commands.

#include "platform/editorclient.h"
#include "platform/editorserver.h"
#include "services/scriptengine.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

// Answers with its "Say" attribute; "Size" makes the answer that long.
SCommandResult Echo(CScriptEngine& engine, CScriptRequest& request, void*)
{
    request.Begin("Echoed");
    const int size = request.Int("Size");
    request.Attribute("Say", size > 0 ? std::string(size_t(size), 'x') : request.Text("Say"));
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

mode_t Mode(const std::string& path)
{
    struct stat status{};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class EditorServerTest : public ::testing::Test
{
protected:
    EditorServerTest() : m_engine(CScriptEngine::Get())
    {
        m_engine->AddCommand("Echo", Echo, this);
        m_options.m_path = m_dir.File("lumora/editor.sock");
        m_options.m_maxMessage = 4096;
    }
    ~EditorServerTest() override
    {
        m_running = false;
        if (m_frames.joinable())
            m_frames.join();
        m_server.reset();
        m_engine->RemoveCommands(this);
        m_engine->Release();
    }
    bool Start()
    {
        m_server = std::make_unique<CEditorServer>(*m_engine, m_options);
        return m_server->Start();
    }
    // Runs the commands as the director's updates would.
    void RunFrames()
    {
        m_frames = std::thread([this] {
            while (m_running) {
                m_engine->Run(2.0);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    std::string Ask(CEditorClient& client, const std::string& request)
    {
        std::string answer, error;
        EXPECT_TRUE(client.Send(request));
        EXPECT_TRUE(client.Receive(answer, 5000, error)) << error;
        return answer;
    }
    CEditorClient Connected()
    {
        CEditorClient client;
        std::string error;
        EXPECT_TRUE(client.Connect(m_options.m_path, error)) << error;
        return client;
    }

    CLogCapture m_log;
    CTempDir m_dir;
    CHangGuard m_guard{60};
    CScriptEngine* m_engine;
    CEditorServer::SOptions m_options;
    std::unique_ptr<CEditorServer> m_server;
    std::atomic<bool> m_running{true};
    std::thread m_frames;
};

} // namespace

TEST_F(EditorServerTest, OnlyTheUserCanReachTheSocketWhichGoesAtTheEnd)
{
    // What a crashed run leaves: a socket file that nobody listens at.
    ASSERT_EQ(mkdir(m_dir.File("lumora").c_str(), 0755), 0);
    {
        const int stale = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, m_options.m_path.c_str());
        ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        close(stale);
    }
    ASSERT_TRUE(Start());
    EXPECT_EQ(Mode(m_dir.File("lumora")), 0700u);
    EXPECT_EQ(Mode(m_options.m_path), 0600u);
    if (geteuid() == 0) {
        // Another user, for real: the folder's and socket's modes stop it.
        const pid_t child = fork();
        if (child == 0) {
            CEditorClient other;
            std::string error;
            _exit(setuid(65534) == 0 && !other.Connect(m_options.m_path, error) ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }

    // A second run finds the first one listening and leaves it alone.
    CEditorServer second(*m_engine, m_options);
    EXPECT_FALSE(second.Start());
    EXPECT_TRUE(m_log.Contains("another Lumora already listens"));

    m_server.reset();
    EXPECT_FALSE(FileExists(m_options.m_path));

    // A file that is no socket is never deleted.
    WriteFile(m_options.m_path, "mine");
    EXPECT_FALSE(Start());
    EXPECT_EQ(ReadFile(m_options.m_path), "mine");
}

TEST_F(EditorServerTest, AnotherUserIsRefused)
{
    std::vector<uid_t> asked;
    m_options.m_acceptPeer = [&asked](uid_t peer) {
        asked.push_back(peer);
        return false;
    };
    ASSERT_TRUE(Start());
    RunFrames();
    CEditorClient client = Connected();
    std::string answer, error;
    client.Send("<lms><Echo Say=\"hi\"/></lms>");
    EXPECT_FALSE(client.Receive(answer, 5000, error));
    EXPECT_EQ(error, "the connection closed before the answer was complete");
    m_server.reset();
    EXPECT_EQ(asked, std::vector<uid_t>{geteuid()});
    EXPECT_TRUE(m_log.Contains("refused a connection of user"));
}

TEST_F(EditorServerTest, BadClientsGetAnErrorOrLoseTheirConnectionAndOthersGoOn)
{
    ASSERT_TRUE(Start());
    RunFrames();
    CEditorClient good = Connected();
    EXPECT_EQ(Ask(good, "<lms><Echo Say=\"1\"/></lms>"), "<lms>\n<Echoed Say=\"1\"/>\n</lms>");

    // Half a header, then silence: it waits and blocks nobody.
    CEditorClient half = Connected();
    half.SendBytes(std::string_view("\0\0", 2));
    // Malformed XML is answered.
    EXPECT_NE(Ask(good, "<lms><Echo Say=").find("<Request Error=\"Malformed XML: "), std::string::npos);

    // Too long: an error answer, then the connection ends.
    CEditorClient oversized = Connected();
    oversized.SendBytes(std::string("\x00\x10\x00\x00", 4) + std::string(100, 'x'));
    std::string answer, error;
    ASSERT_TRUE(oversized.Receive(answer, 5000, error)) << error;
    EXPECT_EQ(answer, "<lms><Request Error=\"Message too long: 1048576 bytes, at most 4096\"/></lms>");
    EXPECT_FALSE(oversized.Receive(answer, 5000, error));

    // Gone in the middle of its large answer.
    {
        CEditorClient leaving = Connected();
        leaving.Send("<lms><Echo Size=\"8000000\"/></lms>");
        char start[1000];
        EXPECT_GT(recv(leaving.Fd(), start, sizeof start, 0), 0);
    }
    // Several clients at once, each with its own answers, in order.
    std::vector<std::thread> clients;
    std::atomic<int> right{0};
    for (int c = 0; c < 4; ++c) {
        clients.emplace_back([&, c] {
            CEditorClient client = Connected();
            for (int i = 0; i < 25; ++i) {
                const std::string say = std::to_string(c) + "-" + std::to_string(i);
                if (Ask(client, "<lms><Echo Say=\"" + say + "\"/></lms>") == "<lms>\n<Echoed Say=\"" + say + "\"/>\n</lms>")
                    ++right;
            }
        });
    }
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(right, 100);
    EXPECT_EQ(Ask(good, "<lms><Echo Say=\"2\"/></lms>"), "<lms>\n<Echoed Say=\"2\"/>\n</lms>");
}
