#include "app/stoprequest.h"

#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>

TEST(StopRequest, TheFirstSignalAsksTheRunToEndAndTheSecondEndsItAtOnce)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    const auto twoSignals = [](int signal) {
        InstallStopSignals();
        raise(signal);
        // Still running, with the request noted.
        if (!StopRequested() || StopSignal() != signal)
            _exit(1);
        raise(signal);
        _exit(2);
    };
    EXPECT_EXIT(twoSignals(SIGTERM), testing::ExitedWithCode(128 + SIGTERM), "");
    EXPECT_EXIT(twoSignals(SIGINT), testing::ExitedWithCode(128 + SIGINT), "");
}
