#include "support/logcapture.h"
#include "support/picturecompare.h"
#include "support/pulseserver.h"
#include "support/soundfixtures.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Runs the lumora executable headless with its own user directory.
// With `terminateAfter` it is sent `signal` that many seconds after its log
// appeared, which is after it has begun to watch for signals; a run that
// dies of a signal gives 128 plus its number. A run that hangs is killed
// after five minutes and one that runs out of bounds stops at 4 GB, so that
// a regression fails the test and not the machine. The signal goes to
// lumora itself, the child of `timeout`.
int RunLumora(const CTempDir& home, const std::string& arguments, const char* terminateAfter = nullptr,
              const std::string& environment = "", const char* signal = "TERM", const std::string& limits = "")
{
    std::string command = LUMORA_RUN_ENVIRONMENT " " + environment + " SDL_VIDEODRIVER=offscreen XDG_CONFIG_HOME='" +
                          home.Path() + "' MESA_SHADER_CACHE_DIR='" + home.Path() + "' timeout -s KILL 300 '" +
                          LUMORA_EXECUTABLE "' " + arguments + " >'" + home.File("stdout.txt") + "' 2>'" +
                          home.File("stderr.txt") + "'";
    if (terminateAfter)
        command = "(" + command + " & while kill -0 $! 2>/dev/null && [ ! -e '" + home.File("lumora/log.txt") +
                  "' ]; do sleep 0.02; done; sleep " + terminateAfter + "; kill -" + signal +
                  " $(pgrep -P $!); wait $!)";
    command = LUMORA_RUN_LIMITS " " + limits + " " + command;
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs it as a user at a console would: no display server, no video driver
// chosen, no runtime directory.
int RunWithoutDisplay(const CTempDir& home, const std::string& arguments, const std::string& environment = "")
{
    const std::string command = "env -u DISPLAY -u WAYLAND_DISPLAY -u SDL_VIDEODRIVER -u XDG_RUNTIME_DIR " LUMORA_RUN_ENVIRONMENT
                                " " + environment + " XDG_CONFIG_HOME='" + home.Path() + "' MESA_SHADER_CACHE_DIR='" +
                                home.Path() + "' '" LUMORA_EXECUTABLE "' " + arguments + " >'" +
                                home.File("stdout.txt") + "' 2>'" + home.File("stderr.txt") + "'";
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

namespace {

// A scene of one clear colour in the XML form that older files have.
void WriteClearScene(const std::string& path, const char* rgba)
{
    WriteFile(path, std::string("<?xml version=\"1.0\"?>\n<LumoraScene Id=\"clear00001\" SceneType=\"256\">\n"
                                "<Nodes><Node Type=\"Clear\" Name=\"Clear1\"><Port Id=\"Color\" Value=\"") +
                        rgba +
                        "\"/></Node><Node Type=\"Screen\" Name=\"Screen1\"/></Nodes>\n"
                        "<Connections><Connection Out=\"Clear1.Render\" In=\"Screen1.Render\"/></Connections>\n"
                        "</LumoraScene>\n");
}

// A scene that draws one rectangle over the whole picture with `colour`, a
// pixel shader expression; `tex1` is the picture of the layers below.
void WriteRectScene(const std::string& path, const char* colour)
{
    const bool readsBelow = std::string(colour).find("tex1") != std::string::npos;
    WriteFile(path, std::string("<?xml version=\"1.0\"?>\n<LumoraScene Id=\"rect00001\" SceneType=\"0\">\n<Nodes>"
                                "<Node Type=\"Screen\" Name=\"Screen1\"/><Node Type=\"RenderRect\" Name=\"RenderRect1\"/>"
                                "<Node Type=\"Shader\" Name=\"Shader1\"><Port Id=\"CullMode\" Value=\"0\"/>"
                                "<Port Id=\"DepthTest\" Value=\"false\"/><Port Id=\"Shader\"><Value>"
                                "struct PSInput { float4 hpos : POSITION; float2 tex : TEXCOORD0; };\n"
                                "PSInput VS_Program(VSInput vi) { PSInput pi; pi.hpos = float4(vi.pos.xyz, 1.0); "
                                "pi.tex = vi.tex; return pi; }\n"
                                "float4 PS_Program(PSInput pi) : COLOR { return ") +
                        colour + "; }\n</Value></Port></Node>" +
                        (readsBelow ? "<Node Type=\"PreviousLayer\" Name=\"PreviousLayer1\"/>" : "") +
                        "</Nodes>\n<Connections><Connection Out=\"RenderRect1.Render\" In=\"Screen1.Render\"/>"
                        "<Connection Out=\"Shader1.Effect\" In=\"RenderRect1.Effect\"/>" +
                        (readsBelow ? "<Connection Out=\"PreviousLayer1.Color\" In=\"Shader1.Texture1\"/>" : "") +
                        "</Connections>\n</LumoraScene>\n");
}

std::string FrameNameOf(int number)
{
    char name[32];
    snprintf(name, sizeof name, "frame-%05d.png", number);
    return name;
}

} // namespace

TEST(LumoraRun, WindowRunEndsAfterItsFramesWithStartAndStopInOrder)
{
    CTempDir home;
    WriteClearScene(home.File("black.lms"), "0 0 0 1");
    ASSERT_EQ(RunLumora(home, "--window --frames 5 -f '" + home.File("black.lms") + "'"), 0);
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
    WriteClearScene(home.File("black.lms"), "0 0 0 1");
    const std::string scene = " -f '" + home.File("black.lms") + "'";
    ASSERT_EQ(RunLumora(home, "--fullscreen --frames 2" + scene), 0);
    const std::vector<std::string> messages = LogMessages(home);
    EXPECT_GE(Find(messages, "Creating full screen window. MonitorNr:1"), 0);
    EXPECT_GE(Find(messages, "Monitor: \"DISPLAY1\""), 0);

    // A run without an end of its own closes cleanly on SIGTERM.
    CTempDir signalled;
    EXPECT_EQ(RunLumora(signalled, "--window" + scene, "0.5"), 0);
    EXPECT_GE(Find(LogMessages(signalled), "Received WM_CLOSE"), 0);

    // Too old an OpenGL is a clear line in the log and an exit code.
    CTempDir oldGL;
    EXPECT_EQ(RunLumora(oldGL, "--window --frames 2" + scene, nullptr, "MESA_GL_VERSION_OVERRIDE=1.4"), 4);
    EXPECT_GE(Find(LogMessages(oldGL), "!ERROR! : This program needs a graphics card with drivers that supports at least OpenGL 2.0"), 0);

    // So is one whose shading language is too old for the effects.
    CTempDir oldGLSL;
    EXPECT_EQ(RunLumora(oldGLSL, "--window --frames 2" + scene, nullptr,
                        "MESA_GL_VERSION_OVERRIDE=3.0COMPAT MESA_GLSL_VERSION_OVERRIDE=130"),
              4);
    const std::vector<std::string> glslMessages = LogMessages(oldGLSL);
    EXPECT_GE(Find(glslMessages, "!ERROR! : Effects need GLSL 3.30, and this context offers GLSL 1.30"), 0);
    EXPECT_GE(Find(glslMessages, "!ERROR! : Failed to init the FxManager"), 0);
    EXPECT_GE(Find(glslMessages, "Lumora stopped with exit code 4"), 0);

    CTempDir other;
    EXPECT_EQ(RunLumora(other, "--frames"), 2);
    EXPECT_EQ(RunLumora(other, "--frames 0"), 2);
    EXPECT_EQ(RunLumora(other, "--bogus"), 2);
}


TEST(LumoraRun, WithoutADisplayAWindowRunSaysSoAndEnds)
{
    CTempDir home;
    WriteClearScene(home.File("black.lms"), "0 0 0 1");
    const std::string scene = " -f '" + home.File("black.lms") + "'";
    // A frame budget, so that a run that plays to nobody still ends.
    for (const std::string mode : {"", "--window", "--fullscreen"}) {
        SCOPED_TRACE(mode);
        EXPECT_EQ(RunWithoutDisplay(home, mode + " --frames 30" + scene), 4);
        const std::string said = ReadFile(home.File("stderr.txt"));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        EXPECT_NE(said.find("lumora: no display to show the visualizer on"), std::string::npos) << said;
        EXPECT_NE(said.find("--headless"), std::string::npos) << said;
    }
    EXPECT_GE(Find(LogMessages(home), "!ERROR! : no display to show the visualizer on"), 0);

    // Recording needs no screen, and a driver the user chose is taken as meant.
    EXPECT_EQ(RunWithoutDisplay(home, "--headless --size 32x18 --seconds 0.1 --out '" + home.File("f") + "'" + scene),
              0);
    EXPECT_EQ(RunWithoutDisplay(home, "--window --frames 2" + scene, "SDL_VIDEODRIVER=offscreen"), 0);
    EXPECT_EQ(RunWithoutDisplay(home, "--list-node-types"), 0);
}

TEST(LumoraRun, ACrashLeavesAReportThatNamesTheFunctions)
{
    CTempDir home;
    WriteClearScene(home.File("black.lms"), "0 0 0 1");
    EXPECT_EQ(RunLumora(home, "--window -f '" + home.File("black.lms") + "'", "2", "", "SEGV"), 128 + SIGSEGV);
    const std::string report = ReadFile(home.File("lumora/crash.txt"));
    EXPECT_NE(report.find("Lumora " LUMORA_VERSION " crashed with signal 11 (SEGV)\nScene: "), std::string::npos)
        << report;
    // The executable exports its symbols, so even its own frames have names.
    EXPECT_NE(report.find("  main + 0x"), std::string::npos) << report;
    EXPECT_NE(report.find(" in lumora\n"), std::string::npos) << report;
}

TEST(LumoraRun, HeadlessRunWritesEveryFrameAndSaysWhatItDid)
{
    CTempDir home;
    WriteClearScene(home.File("orange.lms"), "1 0.5 0 1");
    const std::string out = home.File("frames");
    ASSERT_EQ(RunLumora(home, "--headless -f '" + home.File("orange.lms") +
                                  "' --size 64x36 --fps 10 --seconds 0.5 --seed 3 --out '" + out + "'"),
              0)
        << ReadFile(home.File("stderr.txt"));
    for (int frame = 1; frame <= 5; ++frame) {
        const std::string name = out + "/frame-0000" + std::to_string(frame) + ".png";
        ASSERT_TRUE(FileExists(name)) << name;
        EXPECT_EQ(PixelAt(name, 63, 35), (SPixel{255, 128, 0})) << name;
    }
    EXPECT_FALSE(FileExists(out + "/frame-00006.png"));
    const std::string summary = ReadFile(home.File("stdout.txt"));
    EXPECT_NE(summary.find("5 frames of 64x36"), std::string::npos) << summary;
    EXPECT_EQ(std::count(summary.begin(), summary.end(), '\n'), 1) << "one summary line";
    EXPECT_EQ(ReadFile(home.File("stderr.txt")), "") << "no progress line when stderr is not a terminal";

    // Pictures larger than the disk allows end the run with 5 and say so.
    WriteRectScene(home.File("gradient.lms"), "float4(pi.tex.x, pi.tex.y, 0.5, 1)");
    EXPECT_EQ(RunLumora(home, "--headless -f '" + home.File("gradient.lms") + "' --size 320x180 --seconds 1 --out '" +
                                  home.File("full") + "'", nullptr, "", "TERM", "ulimit -f 1 &&"),
              5);
    EXPECT_NE(ReadFile(home.File("stderr.txt")).find("pictures could be written"), std::string::npos)
        << ReadFile(home.File("stderr.txt"));

    // The same scene plays in a window.
    CTempDir windowed;
    EXPECT_EQ(RunLumora(windowed, "--window --frames 3 -f '" + home.File("orange.lms") + "'"), 0);
    EXPECT_GE(Find(LogMessages(windowed), "Playing scene"), 0);
}

// The form the front end passes for previews: background, foreground and
// postprocessing scene, any of them left out.
TEST(LumoraRun, ALayeredEntryPlaysItsLayersInOrder)
{
    CTempDir home;
    WriteClearScene(home.File("red.lms"), "1 0 0 1");
    WriteRectScene(home.File("green.lms"), "float4(0, 1, 0, 1)");
    WriteRectScene(home.File("invert.lms"), "float4(1 - tex2D(tex1, pi.tex).rgb, 1)");
    const auto file = [&home](const char* name) { return name[0] ? home.File(name) : std::string(); };
    struct SCase
    {
        const char* background;
        const char* foreground;
        const char* postprocessing;
        SPixel expected;
    };
    for (const SCase& c : {SCase{"red.lms", "", "invert.lms", {0, 255, 255}},
                           SCase{"red.lms", "green.lms", "invert.lms", {255, 0, 255}},
                           SCase{"", "green.lms", "", {0, 255, 0}}}) {
        const std::string entry = file(c.background) + ";" + file(c.foreground) + ";" + file(c.postprocessing);
        const std::string out = home.File("frames");
        ASSERT_EQ(RunLumora(home, "--headless --size 32x18 --seconds 0.1 --out '" + out + "' -f '" + entry + "'"), 0)
            << entry << "\n" << ReadFile(home.File("stderr.txt"));
        EXPECT_EQ(PixelAt(out + "/frame-00001.png", 16, 9), c.expected) << entry;
    }

    const std::string full = home.File("red.lms") + ";" + home.File("green.lms") + ";" + home.File("invert.lms");
    ASSERT_EQ(RunLumora(home, "--window --frames 3 -f '" + full + "'"), 0) << ReadFile(home.File("stderr.txt"));
    EXPECT_GE(Find(LogMessages(home), "Playing layered scene \"" + full + "\""), 0);

    // A layer that cannot play is named, and nothing plays.
    WriteFile(home.File("broken.lmc"), "PK\x03\x04 truncated");
    struct SRefused
    {
        std::string entry;
        const char* said;
    };
    for (const SRefused& r : {SRefused{home.File("red.lms") + ";" + home.File("gone.lms") + ";",
                                       "the foreground scene file \""},
                              SRefused{";;" + home.File("broken.lmc"), "the postprocessing scene file \""},
                              SRefused{";;", "names no scene"},
                              SRefused{home.File("red.lms") + ";", "needs three parts"}}) {
        EXPECT_EQ(RunLumora(home, "--window --frames 3 -f '" + r.entry + "'"), 1) << r.entry;
        EXPECT_NE(ReadFile(home.File("stderr.txt")).find(r.said), std::string::npos)
            << ReadFile(home.File("stderr.txt"));
    }
}

TEST(LumoraRun, HeadlessRunRefusesMissingScenesAndIncompleteOptions)
{
    CTempDir home;
    // Without -f the default playlist plays; where it is missing, it is named.
    EXPECT_EQ(RunLumora(home, "--window --frames 2", nullptr, "LUMORA_APPPATH='" + home.Path() + "'"), 1);
    EXPECT_NE(ReadFile(home.File("stderr.txt")).find("playlists/Default.lmp\" does not exist"), std::string::npos)
        << ReadFile(home.File("stderr.txt"));

    EXPECT_EQ(RunLumora(home, "--headless -f '" + home.File("nothere.lmc") + "' --out '" + home.File("f") + "'"), 1);
    EXPECT_NE(ReadFile(home.File("stderr.txt")).find("does not exist"), std::string::npos);
    EXPECT_FALSE(FileExists(home.File("f")));

    WriteFile(home.File("broken.lmc"), "PK\x03\x04 truncated");
    EXPECT_EQ(RunLumora(home, "--headless -f '" + home.File("broken.lmc") + "' --out '" + home.File("f") + "'"), 1);
    EXPECT_NE(ReadFile(home.File("stderr.txt")).find("cannot be opened"), std::string::npos);
    EXPECT_EQ(RunLumora(home, "--window --frames 2 -f '" + home.File("broken.lmc") + "'"), 1);

    WriteClearScene(home.File("ok.lms"), "0 0 0 1");
    const std::string scene = " -f '" + home.File("ok.lms") + "'";
    EXPECT_EQ(RunLumora(home, "--headless" + scene), 2) << "no --out";
    EXPECT_EQ(RunLumora(home, "--headless --out x", nullptr, "LUMORA_APPPATH='" + home.Path() + "'"), 1)
        << "without -f the default playlist, missing here";
    EXPECT_NE(ReadFile(home.File("stderr.txt")).find("Default.lmp"), std::string::npos);
    EXPECT_EQ(RunLumora(home, "--headless --out x --size 0x10" + scene), 2);
    EXPECT_EQ(RunLumora(home, "--headless --out x --size 640" + scene), 2);
    EXPECT_EQ(RunLumora(home, "--headless --out x --fps 0" + scene), 2);
    EXPECT_EQ(RunLumora(home, "--headless --out x --seconds -1" + scene), 2);
    EXPECT_EQ(RunLumora(home, "--headless --out x --seed -4" + scene), 2);
}

TEST(LumoraRun, PlaylistsPlayHeadlessAndInAWindowThroughTheirTransitions)
{
    const std::string playlist = std::string(LUMORA_SHARED_TEST_DATA) + "/playlists/colours.lmp";
    CTempDir home;
    ASSERT_EQ(RunLumora(home, "--headless -f '" + playlist + "' --size 64x36 --seconds 8 --fps 30 --seed 1 --out '" +
                                  home.File("frames") + "'"),
              0)
        << ReadFile(home.File("stderr.txt"));
    EXPECT_TRUE(FileExists(home.File("frames/frame-00240.png")));
    const std::vector<std::string> messages = LogMessages(home);
    EXPECT_GE(Find(messages, "Scene count. Standalone: 3 Background: 0 Foreground: 0 Postprocessing: 0 Transition: 1"), 0);
    const int transition = Find(messages, "Transition '");
    EXPECT_GE(transition, 0);
    EXPECT_GT(Find(messages, "Transition done"), transition);
    // Red first for its 5 s, in playlist order, the grey transition for 2 s,
    // then blue.
    EXPECT_EQ(PixelAt(home.File("frames/frame-00030.png"), 32, 18), (SPixel{255, 0, 0}));
    EXPECT_EQ(PixelAt(home.File("frames/frame-00180.png"), 32, 18), (SPixel{128, 128, 128}));
    EXPECT_EQ(PixelAt(home.File("frames/frame-00240.png"), 32, 18), (SPixel{0, 0, 255}));

    CTempDir windowed;
    EXPECT_EQ(RunLumora(windowed, "--window --frames 30 -f '" + playlist + "'"), 0);
    EXPECT_GE(Find(LogMessages(windowed), "New scene: '"), 0);

    // A playlist of which nothing loads ends at once with a clear message.
    CTempDir empty;
    WriteFile(empty.File("none.lmp"), "<Lumora><Scenes><Scene File=\"gone.lmc\"/></Scenes></Lumora>");
    EXPECT_EQ(RunLumora(empty, "--window --frames 30 -f '" + empty.File("none.lmp") + "'"), 1);
    EXPECT_NE(ReadFile(empty.File("stderr.txt")).find("nothing in the playlist"), std::string::npos);
}

TEST(LumoraRun, ASongDrivesTheBeatFrameByFrame)
{
    CTempDir home;
    const std::string clicks = home.File("clicks.wav");
    ASSERT_TRUE(MakeClicks(clicks, 120.0, 12.0));
    const std::string scene = std::string(LUMORA_SHARED_TEST_DATA) + "/scenes/beatflash.lms";
    const std::string out = home.File("beat");
    ASSERT_EQ(RunLumora(home, "--headless -f '" + scene + "' --song '" + clicks +
                                  "' --size 160x90 --seconds 10 --fps 30 --seed 1 --out '" + out + "'"),
              0)
        << ReadFile(home.File("stderr.txt"));
    // Clicks every 0.5 s, the first at 0: frame n shows the time n / 30.
    std::vector<int> brightness;
    for (int frame = 1; frame <= 300; ++frame)
        brightness.push_back(PixelAt(out + "/" + FrameNameOf(frame), 80, 45).g);
    int onBeat = 0, offBeat = 0, onCount = 0, offCount = 0;
    for (int frame = 30; frame < 300; ++frame) {
        const double phase = std::fmod(frame / 30.0, 0.5);
        if (phase < 0.05) {
            onBeat += brightness[size_t(frame - 1)];
            ++onCount;
        } else if (phase > 0.25 && phase < 0.45) {
            offBeat += brightness[size_t(frame - 1)];
            ++offCount;
        }
    }
    ASSERT_GT(onCount, 0);
    ASSERT_GT(offCount, 0);
    EXPECT_GT(onBeat / onCount, offBeat / offCount + 40)
        << "mean on the beat " << onBeat / onCount << ", between beats " << offBeat / offCount << "; frames: "
        << testing::PrintToString(std::vector<int>(brightness.begin() + 30, brightness.begin() + 60));

    // The same command gives the same pictures.
    const std::string again = home.File("again");
    ASSERT_EQ(RunLumora(home, "--headless -f '" + scene + "' --song '" + clicks +
                                  "' --size 160x90 --seconds 2 --fps 30 --seed 1 --out '" + again + "'"),
              0);
    for (int frame = 1; frame <= 60; ++frame)
        EXPECT_EQ(PixelAt(again + "/" + FrameNameOf(frame), 80, 45).g, brightness[size_t(frame - 1)]) << frame;
}

TEST(LumoraRun, ListsTheSoundSourcesOfTheServer)
{
    CTempDir home;
    EXPECT_EQ(RunLumora(home, "--list-audio-sources", nullptr, "PULSE_SERVER=unix:/nonexistent/socket"), 1);
    EXPECT_NE(ReadFile(home.File("stderr.txt")).find("no sound server"), std::string::npos);

    CPulseServer server;
    ASSERT_TRUE(server.Start()) << server.Output();
    EXPECT_EQ(RunLumora(home, "--list-audio-sources"), 0) << ReadFile(home.File("stderr.txt"));
    EXPECT_NE(ReadFile(home.File("stdout.txt")).find(server.MonitorName()), std::string::npos)
        << ReadFile(home.File("stdout.txt"));
}

TEST(LumoraRun, TheDefaultPlaylistGivesAVariedShow)
{
    // A window on the default playlist of the data directory.
    CTempDir windowed;
    ASSERT_EQ(RunLumora(windowed, "--window --frames 60"), 0) << ReadFile(windowed.File("stderr.txt"));
    EXPECT_GE(Find(LogMessages(windowed), "Scene count. Standalone: "), 0);

    // A minute of it headless with a song: scenes and transitions take turns.
    CTempDir home;
    const std::string song = home.File("song.wav");
    ASSERT_TRUE(RunProgram({"sox", "-R", "-n", "-r", "44100", "-c", "2", song, "synth", "60", "pinknoise", "tremolo",
                            "2", "90"}));
    ASSERT_EQ(RunLumora(home, "--headless --size 96x54 --seconds 60 --fps 30 --seed 7 --song '" + song + "' --out '" +
                                  home.File("show") + "'"),
              0)
        << ReadFile(home.File("stderr.txt"));
    std::set<std::string> scenes;
    int transitions = 0;
    const auto quoted = [](const std::string& text, size_t from) {
        const size_t start = text.find('\'', from) + 1;
        return text.substr(start, text.find('\'', start) - start);
    };
    for (const std::string& message : LogMessages(home)) {
        if (message.find("Transition '") != std::string::npos)
            ++transitions;
        for (const char* marker : {"then new scene '", "New scene: '"}) {
            const size_t at = message.find(marker);
            if (at != std::string::npos)
                scenes.insert(quoted(message, at + std::string(marker).size() - 1));
        }
    }
    EXPECT_GE(scenes.size(), 4u);
    EXPECT_GE(transitions, 3);
    EXPECT_TRUE(FileExists(home.File("show/frame-01800.png")));
}

TEST(LumoraRun, NamesOfNoRegularFileAreSkippedInPlaylistsAndRefusedByF)
{
    CTempDir home;
    // Nothing writes to the FIFOs; /dev/zero never ends; /proc files lie about their size.
    MakeFifo(home.File("fifo.lms"));
    MakeFifo(home.File("fifo.lmc"));
    std::filesystem::create_directory(home.File("folder.lmc"));
    const std::string red = std::string(LUMORA_SHARED_TEST_DATA) + "/scenes/red.lms";
    const std::pair<std::string, const char*> refused[] = {
        {"/dev/zero", "is a device, not a regular file"},
        {home.File("fifo.lms"), "is a FIFO, not a regular file"},
        {home.File("fifo.lmc"), "is a FIFO, not a regular file"},
        {home.File("folder.lmc"), "is a directory"},
        {"/proc/self/status", "is a file of the kernel, not a regular file"},
    };
    std::string playlist = "<Lumora><Scenes>";
    for (const auto& [path, why] : refused)
        playlist += "<Scene File=\"" + path + "\"/>";
    WriteFile(home.File("mixed.lmp"), playlist + "<Scene File=\"" + red + "\"/></Scenes></Lumora>");
    ASSERT_EQ(RunLumora(home, "--window --frames 5 -f '" + home.File("mixed.lmp") + "'"), 0)
        << ReadFile(home.File("stderr.txt"));
    const std::vector<std::string> messages = LogMessages(home);
    for (const auto& [path, why] : refused) {
        EXPECT_GE(Find(messages, "Scene file \"" + path + "\" " + why), 0) << path;
        EXPECT_GE(Find(messages, "Scene '" + path + "' could not be loaded and is left out of the playlist"), 0);
    }
    EXPECT_GE(Find(messages, "New scene: '" + red + "'"), 0);

    // Named alone, each ends the run at once with the reason.
    const std::string modes[] = {"--window --frames 2", "--headless --out '" + home.File("f") + "'"};
    for (const auto& [path, why] : refused) {
        for (const std::string& mode : modes) {
            SCOPED_TRACE(path + " " + mode);
            EXPECT_EQ(RunLumora(home, mode + " -f '" + path + "'"), 1);
            EXPECT_NE(ReadFile(home.File("stderr.txt")).find("\"" + path + "\" " + why), std::string::npos)
                << ReadFile(home.File("stderr.txt"));
        }
    }
}

TEST(LumoraRun, SignalsEndARunTheNormalWayAtAnyMoment)
{
    // A playlist whose loading once waited for ever on a FIFO, and the
    // default playlist, signalled while loading and while playing.
    CTempDir data;
    MakeFifo(data.File("fifo.lms"));
    const std::string red = std::string(LUMORA_SHARED_TEST_DATA) + "/scenes/red.lms";
    WriteFile(data.File("fifo.lmp"), "<Lumora><Scenes><Scene File=\"" + data.File("fifo.lms") + "\"/><Scene File=\"" +
                                         red + "\"/></Scenes></Lumora>");
    const std::string config = "<Lumora><Screensaver MaxSilenceTime=\"3\"/></Lumora>\n";
    for (const std::string& scene : {" -f '" + data.File("fifo.lmp") + "'", std::string()}) {
        for (const char* after : {"0", "0.3", "1.5"}) {
            SCOPED_TRACE(scene + " after " + after);
            CTempDir window;
            std::filesystem::create_directory(window.File("lumora"));
            WriteFile(window.File("lumora/config.xml"), config);
            EXPECT_EQ(RunLumora(window, "--window" + scene, after), 0);
            const std::vector<std::string> messages = LogMessages(window);
            ASSERT_FALSE(messages.empty());
            EXPECT_NE(Find(messages, "Lumora stopped with exit code 0"), -1);
            EXPECT_EQ(ReadFile(window.File("lumora/config.xml")), config);

            // A recording cut short says so and ends with the shell's code for the signal.
            CTempDir recording;
            const std::string headless = "--headless --size 64x36 --seconds 600 --out '" + recording.File("f") + "'";
            EXPECT_EQ(RunLumora(recording, headless + scene, after), 128 + SIGTERM);
            EXPECT_NE(ReadFile(recording.File("stderr.txt")).find("stopped by a signal after "), std::string::npos);
            EXPECT_NE(Find(LogMessages(recording), "Lumora stopped with exit code 143"), -1);
        }
    }
}

namespace {

// What ffprobe says of a movie's streams, one "key=value" a line.
std::string Probe(const CTempDir& home, const std::string& movie)
{
    const std::string out = home.File("probe.txt");
    const std::string command = "ffprobe -v error -show_entries stream=codec_name,width,height,nb_frames,r_frame_rate,"
                                "duration -of default=nw=1 '" + movie + "' >'" + out + "' 2>&1";
    return std::system(command.c_str()) == 0 ? ReadFile(out) : std::string();
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// No movie and no unfinished file beside where it was to go.
bool LeftNothing(const std::string& movie)
{
    const std::filesystem::path path(movie);
    if (std::filesystem::exists(path))
        return false;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(path.parent_path(), error))
        if (entry.path().filename().string().find(".partial") != std::string::npos)
            return false;
    return true;
}

} // namespace

TEST(LumoraRun, HeadlessMoviesHoldEveryFrameAndTheSongAndNeverLookWholeWhenTheyAreNot)
{
    CTempDir home;
    WriteRectScene(home.File("gradient.lms"), "float4(pi.tex.x, pi.tex.y, 0.5, 1)");
    const std::string clicks = home.File("clicks.wav");
    ASSERT_TRUE(MakeClicks(clicks, 120.0, 5.0));
    const std::string scene = " -f '" + home.File("gradient.lms") + "' --size 160x90 --fps 30 --seed 1";
    const std::string movie = home.File("show.mp4");
    ASSERT_EQ(RunLumora(home, "--headless" + scene + " --seconds 3 --song '" + clicks + "' --movie '" + movie + "'"), 0)
        << ReadFile(home.File("stderr.txt"));
    const std::string probe = Probe(home, movie);
    EXPECT_TRUE(Contains(probe, "codec_name=h264\nwidth=160\nheight=90\nr_frame_rate=30/1\nduration=3.000000\n"
                                "nb_frames=90"))
        << probe;
    EXPECT_TRUE(Contains(probe, "codec_name=aac")) << probe;
    const size_t audio = probe.find("codec_name=aac");
    const size_t duration = probe.find("duration=", audio);
    ASSERT_NE(duration, std::string::npos) << probe;
    EXPECT_NEAR(std::stod(probe.substr(duration + 9)), 3.0, 1.0 / 30.0) << "the song, cut to the pictures";

    // A frame read back from the movie is the picture of the same frame.
    ASSERT_EQ(RunLumora(home, "--headless" + scene + " --seconds 2 --out '" + home.File("frames") + "'"), 0);
    const std::string decoded = home.File("decoded.png");
    ASSERT_EQ(std::system(("ffmpeg -v error -i '" + movie + "' -vf 'select=eq(n\\,45)' -frames:v 1 '" + decoded + "'")
                              .c_str()),
              0);
    const SPictureDifference difference = ComparePictures(decoded, home.File("frames/frame-00046.png"), 12);
    EXPECT_TRUE(difference.m_loaded && difference.m_sameSize);
    EXPECT_LT(difference.m_differing, difference.m_pixels / 50) << "largest " << difference.m_largest;

    // Cut short by a signal, the movie still plays what was recorded.
    const std::string cut = home.File("cut.mkv");
    EXPECT_EQ(RunLumora(home, "--headless" + scene + " --seconds 600 --movie '" + cut + "'", "1.5"), 128 + SIGTERM);
    EXPECT_TRUE(Contains(Probe(home, cut), "codec_name=h264")) << ReadFile(home.File("stderr.txt"));

    // What cannot be written says why, ends with 5 and leaves no file.
    struct SFault
    {
        const char* what;
        std::string arguments;
        std::string movie;
        std::string limits;
    };
    for (const SFault& fault :
         {SFault{"unknown container", " --movie '" + home.File("m.xyz") + "'", home.File("m.xyz"), ""},
          SFault{"unknown encoder", " --encoder nosuch --movie '" + home.File("m.mp4") + "'", home.File("m.mp4"), ""},
          SFault{"no such folder", " --movie '" + home.File("none/m.mp4") + "'", home.File("none/m.mp4"), ""},
          SFault{"full disk", " --movie '" + home.File("full.mp4") + "'", home.File("full.mp4"), "ulimit -f 2 &&"}}) {
        SCOPED_TRACE(fault.what);
        EXPECT_EQ(RunLumora(home, "--headless" + scene + " --seconds 2" + fault.arguments, nullptr, "", "TERM",
                            fault.limits),
                  5);
        EXPECT_TRUE(Contains(ReadFile(home.File("stderr.txt")), "lumora: ")) << ReadFile(home.File("stderr.txt"));
        EXPECT_TRUE(LeftNothing(fault.movie));
    }
}
