#include "app/check.h"
#include "app/log.h"
#include "app/trace.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

TEST(Log, LinesCarryStampAndErrorMarkerAndRunIsCappedAt1251Lines)
{
    CLogCapture log;
    Log("plain %d", 1);
    Error("first %s", "problem");
    EXPECT_FALSE(Error("second problem"));
    EXPECT_EQ(log.Messages(), (Lines{"plain 1", "!ERROR! : first problem", "!ERROR! : second problem"}));

    const std::string longText(5000, 'x');
    Log("%s", longText.c_str());
    for (int i = 4; i < CLog::MaxLines; ++i)
        Log("line %d", i);
    Error("late error");
    const Lines lines = log.Messages();
    ASSERT_EQ(lines.size(), 1251u);
    EXPECT_EQ(lines[3], std::string(CLog::MaxTextLength, 'x'));
    EXPECT_EQ(lines.back(), "line 1250");
    EXPECT_STREQ(log.Get().GetFirstError(), "first problem");

    // An error past the cap is not written but is kept when it is the first.
    CLogCapture fresh;
    for (int i = 0; i < CLog::MaxLines; ++i)
        Log("filler");
    Error("%s", longText.c_str());
    EXPECT_EQ(fresh.Messages().size(), 1251u);
    EXPECT_EQ(std::string(fresh.Get().GetFirstError()), std::string(510, 'x'));
}

TEST(Log, LargeFileStartsOverAndUnusableFilesTurnLoggingOff)
{
    CTempDir dir;
    WriteFile(dir.File("big.txt"), std::string(100001, 'a'));
    WriteFile(dir.File("limit.txt"), std::string(100000, 'a'));
    CLog log;
    log.SetLogFile(dir.File("big.txt").c_str());
    EXPECT_FALSE(FileExists(dir.File("big.txt")));
    log.SetLogFile(dir.File("limit.txt").c_str());
    EXPECT_EQ(ReadFile(dir.File("limit.txt")).size(), 100000u);

    log.SetLogFile((dir.Path() + "/" + std::string(CLog::FileNameSize, 'n')).c_str());
    EXPECT_STREQ(log.GetFileName(), dir.File("limit.txt").c_str()) << "too long a path is ignored";
    log.SetLogFile(dir.File("missing-dir/log.txt").c_str());
    log.WriteText(true, "nowhere to go");
    EXPECT_STREQ(log.GetFileName(), "");
    EXPECT_STREQ(log.GetFirstError(), "nowhere to go");
}

TEST(Trace, LoggedMarkersIndentTheLogAndDepthStaysBounded)
{
    ASSERT_EQ(g_traceStack.m_depth, 0);
    CLogCapture log;
    {
        TRACE_LOG("COuter::Run");
        TRACE("CQuiet::Step");
        TRACE_LOG("CInner::Work");
        Log("inside");
    }
    EXPECT_EQ(log.Messages(), (Lines{" >COuter::Run", "   >CInner::Work", "inside", "   <CInner::Work", " <COuter::Run"}));

    std::vector<std::unique_ptr<CTraceScope>> scopes;
    for (int i = 0; i < 100; ++i)
        scopes.push_back(std::make_unique<CTraceScope>("CDeep::Call"));
    EXPECT_EQ(g_traceStack.m_depth, STraceStack::MaxDepth);
    scopes.clear();
    EXPECT_EQ(g_traceStack.m_depth, 0);
    EXPECT_EQ(std::string(g_traceStack.m_indent), std::string(STraceStack::MaxDepth, ' '));
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
    EXPECT_EQ(log.Messages(),
              (Lines{"FAILED : \"deviceObjectMade\" in \"" + stem + "\"(" + std::to_string(g_checkLine) + ")"}));
}
