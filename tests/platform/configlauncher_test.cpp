#include "platform/configlauncher.h"

#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

// The configuration program starts in a process group of its own, so that
// closing the visualizer leaves it running; a missing one is only logged.
TEST(ConfigLauncher, StartsTheProgramDetachedOrSaysItIsMissing)
{
    CTempDir dir;
    const std::string program = dir.File("lumora-config");
    CLogCapture log;
    EXPECT_FALSE(LaunchConfigProgram(dir.Path()));
    EXPECT_TRUE(log.Contains("Failed to launch the configuration: \"" + program + "\" is not there"));

    // The stand-in notes its process group, the fifth field of its stat line.
    const std::string marker = dir.File("group");
    WriteFile(program, "#!/bin/sh\nawk '{print $5}' /proc/$$/stat > \"" + marker + ".part\" && mv \"" + marker +
                           ".part\" \"" + marker + "\"\n");
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    EXPECT_TRUE(LaunchConfigProgram(dir.Path()));
    EXPECT_TRUE(log.Contains("Started the configuration \"" + program + "\""));
    for (int wait = 0; wait < 1000 && !FileExists(marker); ++wait)
        usleep(10000);
    ASSERT_TRUE(FileExists(marker));
    EXPECT_NE(std::stol(ReadFile(marker)), long(getpgrp()));
}
