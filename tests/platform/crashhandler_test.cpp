#include "app/crashnotes.h"
#include "app/log.h"
#include "app/trace.h"
#include "platform/crashhandler.h"
#include "support/tempdir.h"

#include <csignal>
#include <cstdlib>
#include <thread>
#include <gtest/gtest.h>

// Outside an anonymous namespace, never inlined and with work after the last
// call (no tail call), so that the exported symbols name them in the report.
namespace crashtest {

volatile int g_after = 0;

[[gnu::noinline]] void RaiseFrom(int signal, const char* why)
{
    Log("%s", why);
    raise(signal);
    g_after = 1;
}

// A second free of a block too large for the thread cache makes the C
// library abort inside free, holding the allocator's lock.
[[gnu::noinline]] void FreeTwice()
{
    char* volatile block = static_cast<char*>(malloc(4000));
    free(block);
    free(block);
    g_after = 1;
}

} // namespace crashtest

namespace {

[[noreturn]] void CrashInside(const std::string& directory, int signal)
{
    CCrashHandler handler(directory);
    SetLogFile((directory + "/log.txt").c_str());
    g_crashNotes.SetSceneFile("[apppath]scenes/Tunnel.lmc");
    TRACE("CDirector::Update");
    TRACE("CScene::Update");
    crashtest::RaiseFrom(signal, "last words before the crash");
    _exit(0); // not reached when the handler re-raises
}

[[noreturn]] void CrashInsideTheAllocator(const std::string& directory)
{
    CCrashHandler handler(directory);
    SetLogFile((directory + "/log.txt").c_str());
    Log("before the double free");
    // With a second thread the allocator takes its lock, as in the player.
    std::thread([] {}).join();
    crashtest::FreeTwice();
    _exit(0);
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
        EXPECT_NE(report.find("Lumora " LUMORA_VERSION " crashed with signal " + std::to_string(signal)),
                  std::string::npos)
            << report;
        EXPECT_NE(report.find("Scene: [apppath]scenes/Tunnel.lmc\n"), std::string::npos) << report;
        EXPECT_NE(report.find("  CDirector::Update\n  CScene::Update\n"), std::string::npos) << report;
        // Demangled, with the offset into the function and the file it is in.
        EXPECT_NE(report.find("crashtest::RaiseFrom(int, char const*) + 0x"), std::string::npos) << report;
        EXPECT_NE(report.find(" in lumora_platform_tests\n"), std::string::npos) << report;
        EXPECT_NE(ReadFile(dir.File("log.txt")).find("last words before the crash"), std::string::npos);
    }
}

// A handler that waits for the allocator's lock would hang until its
// watchdog ends the process with SIGALRM.
TEST(CrashHandler, CrashInsideTheAllocatorStillEndsWithAReport)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer reports the double free itself";
#endif
    GTEST_FLAG_SET(death_test_style, "fast");
    CTempDir dir;
    EXPECT_EXIT(CrashInsideTheAllocator(dir.Path()), ::testing::KilledBySignal(SIGABRT), "");
    const std::string report = ReadFile(dir.File("crash.txt"));
    // Not demangled: the demangler would wait for the lock the crash holds.
    EXPECT_NE(report.find("_ZN9crashtest9FreeTwiceEv + 0x"), std::string::npos) << report;
    EXPECT_NE(ReadFile(dir.File("log.txt")).find("before the double free"), std::string::npos);
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
