#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Runs the lumora executable headless with its own user directory.
// With `terminateAfter` it is sent SIGTERM after that many seconds.
int RunLumora(const CTempDir& home, const std::string& arguments, const char* terminateAfter = nullptr,
              const std::string& environment = "")
{
    std::string command = LUMORA_RUN_ENVIRONMENT " " + environment + " SDL_VIDEODRIVER=offscreen XDG_CONFIG_HOME='" + home.Path() + "' MESA_SHADER_CACHE_DIR='" +
                          home.Path() + "' '" LUMORA_EXECUTABLE "' " + arguments + " >/dev/null 2>&1";
    if (terminateAfter)
        command = "(" + command + " & sleep " + terminateAfter + "; kill -TERM $!; wait $!)";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> LogMessages(const CTempDir& home)
{
    std::vector<std::string> out;
    std::istringstream in(ReadFile(home.File("lumora/log.txt")));
    for (std::string line; std::getline(in, line);)
        out.push_back(LogMessage(line));
    return out;
}

// Index of the first message that starts with `text`, or -1.
int Find(const std::vector<std::string>& messages, const std::string& text)
{
    for (size_t i = 0; i < messages.size(); ++i)
        if (messages[i].find(text) != std::string::npos)
            return static_cast<int>(i);
    return -1;
}

} // namespace

TEST(LumoraRun, WindowRunEndsAfterItsFramesWithStartAndStopInOrder)
{
    CTempDir home;
    ASSERT_EQ(RunLumora(home, "--window --frames 5 -f scenes/some.scene"), 0);
    const std::vector<std::string> messages = LogMessages(home);
    const char* order[] = {"Desktop primary:", "Creating window", "Window(s) created. Current 0,0,1280,720.",
                           "OGLInfo :", "Virtual screen size 0,0 1280x720", "** Entering main message loop **",
                           "Received WM_CLOSE", "Received WM_DESTROY. Do postquit 1", "** Exiting main message loop **",
                           "Lumora stopped with exit code 0"};
    int last = -1;
    for (const char* text : order) {
        const int at = Find(messages, text);
        EXPECT_GT(at, last) << text;
        last = std::max(last, at);
    }
}

TEST(LumoraRun, FullScreenOpensOneWindowPerMonitorAndBadOptionsGiveUsage)
{
    CTempDir home;
    ASSERT_EQ(RunLumora(home, "--fullscreen --frames 2"), 0);
    const std::vector<std::string> messages = LogMessages(home);
    EXPECT_GE(Find(messages, "Creating full screen window. MonitorNr:1"), 0);
    EXPECT_GE(Find(messages, "Monitor: \"DISPLAY1\""), 0);

    // A run without an end of its own closes cleanly on SIGTERM.
    CTempDir signalled;
    EXPECT_EQ(RunLumora(signalled, "--window", "0.5"), 0);
    EXPECT_GE(Find(LogMessages(signalled), "Received WM_CLOSE"), 0);

    // Too old an OpenGL is a clear line in the log and an exit code.
    CTempDir oldGL;
    EXPECT_EQ(RunLumora(oldGL, "--window --frames 2", nullptr, "MESA_GL_VERSION_OVERRIDE=1.4"), 4);
    EXPECT_GE(Find(LogMessages(oldGL), "!ERROR! : This program needs a graphics card with drivers that supports at least OpenGL 2.0"), 0);

    CTempDir other;
    EXPECT_EQ(RunLumora(other, "--frames"), 2);
    EXPECT_EQ(RunLumora(other, "--frames 0"), 2);
    EXPECT_EQ(RunLumora(other, "--bogus"), 2);
}
