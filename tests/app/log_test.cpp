#include "app/check.h"
#include "app/log.h"
#include "app/trace.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The text of a log line, after its time stamp.
std::string Message(const std::string& line)
{
    static const std::regex stamp(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}: )");
    EXPECT_TRUE(std::regex_search(line, stamp)) << line;
    return std::regex_replace(line, stamp, "");
}

void WriteLine(CLog& log, bool isError, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    log.Write(isError, format, args);
    va_end(args);
}

// Routes the global log into a file of the test's own for the test's lifetime.
class GlobalLogToFile
{
public:
    explicit GlobalLogToFile(const std::string& path) : m_saved(g_log)
    {
        g_log = &m_log;
        m_log.SetLogFile(path.c_str());
    }
    ~GlobalLogToFile() { g_log = m_saved; }
    CLog& Get() { return m_log; }

private:
    CLog m_log;
    CLog* m_saved;
};

} // namespace

TEST(Log, LinesCarryTimeStampAndErrorMarkerAndFirstErrorIsKept)
{
    CTempDir dir;
    CLog log;
    log.SetLogFile(dir.File("log.txt").c_str());
    WriteLine(log, false, "plain %d", 1);
    WriteLine(log, true, "first %s", "problem");
    WriteLine(log, true, "second problem");
    log.CloseLog();

    const auto lines = Lines(ReadFile(dir.File("log.txt")));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(Message(lines[0]), "plain 1");
    EXPECT_EQ(Message(lines[1]), "!ERROR! : first problem");
    EXPECT_EQ(Message(lines[2]), "!ERROR! : second problem");
    EXPECT_STREQ(log.GetFirstError(), "first problem");
}

TEST(Log, RunIsCappedAt1251LinesButFirstErrorIsStillKept)
{
    CTempDir dir;
    CLog log;
    log.SetLogFile(dir.File("log.txt").c_str());
    for (int i = 0; i < 1251; ++i)
        WriteLine(log, false, "line %d", i);
    WriteLine(log, true, "late error");
    log.CloseLog();

    const auto lines = Lines(ReadFile(dir.File("log.txt")));
    EXPECT_EQ(lines.size(), 1251u);
    EXPECT_EQ(Message(lines.back()), "line 1250");
    EXPECT_STREQ(log.GetFirstError(), "late error");
}

TEST(Log, LongTextsAreCut)
{
    CTempDir dir;
    CLog log;
    log.SetLogFile(dir.File("log.txt").c_str());
    const std::string longText(5000, 'x');
    WriteLine(log, true, "%s", longText.c_str());
    log.CloseLog();

    const auto lines = Lines(ReadFile(dir.File("log.txt")));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(Message(lines[0]), "!ERROR! : " + std::string(CLog::MaxTextLength, 'x'));
    EXPECT_EQ(std::string(log.GetFirstError()), std::string(510, 'x'));
}

TEST(Log, LargeFileStartsOverAtSetLogFile)
{
    CTempDir dir;
    const std::string big = dir.File("big.txt"), limit = dir.File("limit.txt");
    WriteFile(big, std::string(100001, 'a'));
    WriteFile(limit, std::string(100000, 'a'));

    CLog log;
    log.SetLogFile(big.c_str());
    EXPECT_FALSE(FileExists(big));
    log.SetLogFile(limit.c_str());
    EXPECT_EQ(ReadFile(limit).size(), 100000u);
}

TEST(Log, UnusableFileNamesTurnLoggingOffQuietly)
{
    CTempDir dir;
    CLog log;
    const std::string tooLong = dir.Path() + "/" + std::string(CLog::FileNameSize, 'n');
    log.SetLogFile(tooLong.c_str());
    EXPECT_STREQ(log.GetFileName(), "");

    log.SetLogFile((dir.Path() + "/missing-dir/log.txt").c_str());
    WriteLine(log, true, "nowhere to go");
    EXPECT_STREQ(log.GetFileName(), "");
    EXPECT_STREQ(log.GetFirstError(), "nowhere to go");
}

TEST(Trace, LoggedMarkersIndentTheLogAsACallTree)
{
    CTempDir dir;
    const int depthBefore = g_traceStack.m_depth;
    {
        GlobalLogToFile log(dir.File("log.txt"));
        {
            TRACE_LOG("COuter::Run");
            {
                TRACE("CQuiet::Step");
                TRACE_LOG("CInner::Work");
                Log("inside");
            }
        }
        log.Get().CloseLog();
    }
    EXPECT_EQ(g_traceStack.m_depth, depthBefore);

    const auto lines = Lines(ReadFile(dir.File("log.txt")));
    ASSERT_EQ(lines.size(), 5u);
    const std::string base(depthBefore, ' ');
    EXPECT_EQ(Message(lines[0]), base + " >COuter::Run");
    EXPECT_EQ(Message(lines[1]), base + "   >CInner::Work");
    EXPECT_EQ(Message(lines[2]), "inside");
    EXPECT_EQ(Message(lines[3]), base + "   <CInner::Work");
    EXPECT_EQ(Message(lines[4]), base + " <COuter::Run");
}

TEST(Trace, DepthPast64IsToleratedAndBalances)
{
    ASSERT_EQ(g_traceStack.m_depth, 0);
    std::vector<std::unique_ptr<CTraceScope>> scopes;
    for (int i = 0; i < 100; ++i)
        scopes.push_back(std::make_unique<CTraceScope>("CDeep::Call"));
    EXPECT_EQ(g_traceStack.m_depth, STraceStack::MaxDepth);
    while (!scopes.empty())
        scopes.pop_back();
    EXPECT_EQ(g_traceStack.m_depth, 0);
    EXPECT_EQ(g_traceStack.m_indent[0], ' ');
    EXPECT_EQ(g_traceStack.m_indent[STraceStack::MaxDepth], '\0');
}

namespace {
bool GuardedStep(bool deviceObjectMade)
{
    CHECK(deviceObjectMade);
    return true;
}
} // namespace

TEST(Check, FailureLogsExpressionSourceAndLineAndReturnsFalse)
{
    CTempDir dir;
    {
        GlobalLogToFile log(dir.File("log.txt"));
        EXPECT_TRUE(GuardedStep(true));
        EXPECT_FALSE(GuardedStep(false));
        log.Get().CloseLog();
    }
    const auto lines = Lines(ReadFile(dir.File("log.txt")));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(std::regex_match(Message(lines[0]),
                                 std::regex(R"(FAILED : "deviceObjectMade" in "[^"]*app/log_test"\(\d+\))")))
        << lines[0];
}
