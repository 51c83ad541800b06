#include "app/log.h"
#include "app/trace.h"
#include "platform/crashhandler.h"
#include "support/tempdir.h"

#include <csignal>
#include <gtest/gtest.h>

namespace {

[[noreturn]] void CrashInside(const std::string& directory, int signal)
{
    CCrashHandler handler(directory);
    SetLogFile((directory + "/log.txt").c_str());
    Log("last words before the crash");
    TRACE("CDirector::Update");
    TRACE("CScene::Update");
    raise(signal);
    _exit(0); // not reached when the handler re-raises
}

} // namespace

TEST(CrashHandler, WritesReportAndCompleteLogThenDiesOfTheSameSignal)
{
    // Forked, so that the child writes into this test's directory.
    GTEST_FLAG_SET(death_test_style, "fast");
    for (int signal : {SIGSEGV, SIGABRT, SIGFPE}) {
        CTempDir dir;
        EXPECT_EXIT(CrashInside(dir.Path(), signal), ::testing::KilledBySignal(signal), "");
        const std::string report = ReadFile(dir.File("crash.txt"));
        EXPECT_NE(report.find("signal " + std::to_string(signal)), std::string::npos) << report;
        EXPECT_NE(report.find("  CDirector::Update\n  CScene::Update\n"), std::string::npos) << report;
        EXPECT_NE(report.find("Backtrace:"), std::string::npos);
        EXPECT_NE(ReadFile(dir.File("log.txt")).find("last words before the crash"), std::string::npos);
    }
}

TEST(CrashHandler, UninstallsWhenItGoes)
{
    struct sigaction before{}, after{};
    sigaction(SIGSEGV, nullptr, &before);
    {
        CTempDir dir;
        CCrashHandler handler(dir.Path());
        struct sigaction during{};
        sigaction(SIGSEGV, nullptr, &during);
        EXPECT_NE(during.sa_handler, before.sa_handler);
    }
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
}
