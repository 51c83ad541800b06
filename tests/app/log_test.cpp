#include "app/check.h"
#include "app/log.h"
#include "app/trace.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <memory>
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

std::string Message(const std::string& line)
{
    return LogMessage(line);
}

void WriteLine(CLog& log, bool isError, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    log.Write(isError, format, args);
    va_end(args);
}

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
    const int depthBefore = g_traceStack.m_depth;
    std::vector<std::string> lines;
    {
        CLogCapture log;
        {
            TRACE_LOG("COuter::Run");
            {
                TRACE("CQuiet::Step");
                TRACE_LOG("CInner::Work");
                Log("inside");
            }
        }
        lines = log.Messages();
    }
    EXPECT_EQ(g_traceStack.m_depth, depthBefore);

    ASSERT_EQ(lines.size(), 5u);
    const std::string base(depthBefore, ' ');
    EXPECT_EQ(lines[0], base + " >COuter::Run");
    EXPECT_EQ(lines[1], base + "   >CInner::Work");
    EXPECT_EQ(lines[2], "inside");
    EXPECT_EQ(lines[3], base + "   <CInner::Work");
    EXPECT_EQ(lines[4], base + " <COuter::Run");
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
long g_checkLine = 0;

bool GuardedStep(bool deviceObjectMade)
{
    g_checkLine = __LINE__ + 1;
    CHECK(deviceObjectMade);
    return true;
}
} // namespace

TEST(Check, FailureLogsExpressionSourceAndLineAndReturnsFalse)
{
    CLogCapture log;
    EXPECT_TRUE(GuardedStep(true));
    EXPECT_FALSE(GuardedStep(false));
    const std::string file = __FILE__;
    const std::string stem = file.substr(0, file.rfind('.')); // the log leaves the extension out
    EXPECT_EQ(log.Messages(), (std::vector<std::string>{"FAILED : \"deviceObjectMade\" in \"" + stem + "\"(" +
                                                        std::to_string(g_checkLine) + ")"}));
}
