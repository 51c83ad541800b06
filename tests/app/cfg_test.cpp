#include "app/cfg.h"
#include "support/diskfull.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <ostream>
#include <string>
#include <sys/resource.h>
#include <vector>

void PrintTo(const CCfg& c, std::ostream* out)
{
    *out << "{\"" << c.Playlist << "\" flags=" << c.SendAnonymousUsageInfo << c.CheckForNewVersion
         << c.AutoGotoNextScene << c.RandomizeScene << c.CaptureSound << " silence="
         << c.MaxSilenceTime << " run=" << c.MinRunTime << "-" << c.MaxRunTime << " time=" << c.Time
         << " scale=" << c.SceneFromScale << "/" << c.SceneToScale
         << " post=" << c.PostProcessingProbability << " target=" << c.RenderTargetRelative << ":"
         << c.RenderTargetWidth << "x" << c.RenderTargetHeight << " run-only=" << c.StartScene
         << c.SongFile << c.MovieFile;
    for (const CCfgScreen& s : c.Screens)
        *out << " [" << s.Id << " " << s.LeaveBlack << " " << s.SectionX << "," << s.SectionY << ","
             << s.SectionWidth << "," << s.SectionHeight << "]";
    *out << "}";
}

namespace {

// Every stored setting off its default (pixel target, screens), and the never-stored fields set.
CCfg Customised()
{
    CCfg cfg;
    cfg.Playlist = "[userpath]playlists/Nächte & \"Tage\".lmp";
    cfg.SendAnonymousUsageInfo = cfg.CheckForNewVersion = cfg.AutoGotoNextScene = false;
    cfg.RandomizeScene = cfg.CaptureSound = false;
    cfg.MaxSilenceTime = 25;
    cfg.AudioSource = "alsa_output.usb-Mixer.analog-stereo.monitor";
    cfg.MinRunTime = 4;
    cfg.MaxRunTime = 60;
    cfg.Time = 2.5f;
    cfg.SceneFromScale = 0.75f;
    cfg.SceneToScale = 0.25f;
    cfg.PostProcessingProbability = 0.53f; // 52.9999995 percent underneath
    cfg.RenderTargetRelative = false;
    cfg.RenderTargetWidth = 1920;
    cfg.RenderTargetHeight = 1080;
    cfg.Screens = {{"DP-1", false, 0.0, 0.0, 0.5, 1.0}, {"HDMI-2", true, 0.0, 0.0, 0.0, 0.0},
                   {"DVI-3", false, 0.5, 0.125, 0.5, 0.75}};
    cfg.StartScene = cfg.SongFile = cfg.MovieFile = "run-only";
    return cfg;
}

} // namespace

TEST(Cfg, SaveAndLoadKeepEveryStoredSettingAndNoRunOnlyField)
{
    CCfg relative = Customised();
    relative.RenderTargetRelative = true;
    relative.RenderTargetWidth = 0.75;
    relative.RenderTargetHeight = 0.5;
    relative.Screens.clear();
    for (const CCfg& saved : {Customised(), relative}) {
        SCOPED_TRACE(saved.RenderTargetRelative ? "relative target" : "pixel target");
        CTempDir dir;
        const std::string path = dir.File("config.xml");
        ASSERT_TRUE(saved.Save(path));
        EXPECT_EQ(ReadFile(path).find("run-only"), std::string::npos);
        CCfg loaded; // its screens must go when the saved list is empty
        loaded.Screens = {{"old", true, 0, 0, 1, 1}};
        loaded.StartScene = loaded.SongFile = loaded.MovieFile = "kept";
        ASSERT_TRUE(loaded.Load(path));
        CCfg expected = saved;
        expected.StartScene = expected.SongFile = expected.MovieFile = "kept";
        EXPECT_EQ(loaded, expected);
    }
}

TEST(Cfg, ReadingRulesAndTheFormWrittenBack)
{
    const std::string on = "<Screensaver AutoGotoNextScene=\"1\" RandomizeScene=\"1\" "
                           "CaptureSound=\"1\" MaxSilenceTime=\"10\"";
    struct SCase
    {
        const char* name;
        std::string body;
        std::function<void(CCfg&)> expect; // applied to the defaults
        const char* written = nullptr;     // part of the file saved from what was read
    };
    const SCase cases[] = {
        {"missing Transition keeps Time 3", on + "/>", [](CCfg&) {}},
        {"empty Transition reads zeros", on + "><Transition/></Screensaver>",
         [](CCfg& c) { c.Time = c.SceneFromScale = c.SceneToScale = 0.0f; }},
        {"a percent width makes both relative",
         on + "><Renderer RenderTargetWidth=\"100%\" RenderTargetHeight=\"50\"/></Screensaver>",
         [](CCfg& c) { c.RenderTargetHeight = 0.5; },
         "RenderTargetWidth=\"100%\" RenderTargetHeight=\"50%\""},
        {"plain numbers are pixels",
         on + "><Renderer RenderTargetWidth=\"1280\" RenderTargetHeight=\"720\"/></Screensaver>",
         [](CCfg& c) {
             c.RenderTargetRelative = false;
             c.RenderTargetWidth = 1280;
             c.RenderTargetHeight = 720;
         },
         "RenderTargetWidth=\"1280\" RenderTargetHeight=\"720\""},
        {"screens that show nothing are dropped",
         on + "><Renderer><RenderOGL>"
              "<Screen Id=\"a\" LeaveBlack=\"0\" SectionWidth=\"0\" SectionHeight=\"0\"/>"
              "<Screen Id=\"b\" LeaveBlack=\"0\" SectionWidth=\"1\" SectionHeight=\"0\"/>"
              "<Screen Id=\"c\" LeaveBlack=\"true\" SectionWidth=\"1\" SectionHeight=\"1\"/>"
              "<Screen Id=\"d\" LeaveBlack=\"1\"/></RenderOGL></Renderer></Screensaver>",
         [](CCfg& c) { c.Screens = {{"c", false, 0, 0, 1, 1}, {"d", true, 0, 0, 0, 0}}; }},
        {"Screensaver flags are integers equal to 1, Config flags the text \"1\"",
         "<Screensaver AutoGotoNextScene=\"01\" RandomizeScene=\"1\" CaptureSound=\"2\" "
         "MaxSilenceTime=\"10\"/><Config CheckForNewVersion=\"01\" SendAnonymousUsageInfo=\"1\"/>",
         [](CCfg& c) {
             c.CaptureSound = c.CheckForNewVersion = false;
             c.SendAnonymousUsageInfo = true;
         }},
        {"whole percents of post-processing only",
         on + "><Scene MinRunTime=\"9\" MaxRunTime=\"14\" PostProcessingProbability=\"33.9%\"/>"
              "</Screensaver>",
         [](CCfg& c) { c.PostProcessingProbability = 0.33f; }, "PostProcessingProbability=\"33%\""},
        {"unknown elements are skipped with what they hold",
         "<Unknown><Screensaver/></Unknown>" + on +
             "><Unknown><Transition/></Unknown></Screensaver>",
         [](CCfg&) {}},
    };
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(path, "<Lumora>" + c.body + "</Lumora>");
        CCfg loaded;
        ASSERT_TRUE(loaded.Load(path));
        CCfg expected;
        c.expect(expected);
        EXPECT_EQ(loaded, expected);
        if (c.written) {
            ASSERT_TRUE(loaded.Save(path));
            EXPECT_NE(ReadFile(path).find(c.written), std::string::npos) << ReadFile(path);
        }
    }
}

TEST(Cfg, BrokenFileIsSetAsideAMissingOneIsQuietAndNoRegularFileIsRefused)
{
    const std::pair<const char*, std::string> cases[] = {
        {"empty", ""},
        {"truncated", "<Lumora><Screensaver MaxSilenceTime=\"3\"/><Config CheckForNe"},
        {"malformed", "<Lumora><Screensaver MaxSilenceTime=\"3\"></Scene></Lumora>"},
        {"wrong root", "<Settings><Screensaver MaxSilenceTime=\"3\"/></Settings>"},
    };
    for (const auto& [name, content] : cases) {
        SCOPED_TRACE(name);
        CTempDir dir;
        const std::string path = dir.File("config.xml");
        WriteFile(path, content);
        WriteFile(path + ".bad", "an older broken file");
        CLogCapture log;
        CCfg cfg = Customised();
        EXPECT_FALSE(cfg.Load(path));
        EXPECT_EQ(cfg, Customised());
        const std::vector<std::string> messages = log.Messages();
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_TRUE(messages[0].starts_with("!ERROR! : Failed to read config file")) << messages[0];
        EXPECT_FALSE(FileExists(path));
        EXPECT_EQ(ReadFile(path + ".bad"), content);
    }

    CTempDir dir;
    CLogCapture log;
    CCfg cfg = Customised();
    EXPECT_FALSE(cfg.Load(dir.File("config.xml")));
    EXPECT_EQ(cfg, Customised());
    EXPECT_TRUE(log.Messages().empty());
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));

    // No regular file: said, and left where it is. Nothing writes to the FIFO.
    MakeFifo(dir.File("fifo.xml"));
    std::filesystem::create_directory(dir.File("folder.xml"));
    for (const char* name : {"fifo.xml", "folder.xml"}) {
        SCOPED_TRACE(name);
        CHangGuard guard;
        CLogCapture refused;
        EXPECT_FALSE(cfg.Load(dir.File(name)));
        EXPECT_EQ(cfg, Customised());
        ASSERT_EQ(refused.Messages().size(), 1u);
        EXPECT_TRUE(refused.Messages()[0].ends_with("; the defaults apply")) << refused.Messages()[0];
        EXPECT_TRUE(FileExists(dir.File(name)));
    }
}

TEST(Cfg, FailedSaveLeavesThePreviousFileByteIdentical)
{
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    const std::string old = "<?xml version=\"1.0\"?>\n<Lumora><Config/></Lumora>\n";
    WriteFile(path, old);
    CLogCapture log;
    const bool written = [&] {
        CDiskFull full(64);
        return Customised().Save(path);
    }();
    EXPECT_FALSE(written);
    EXPECT_EQ(ReadFile(path), old);
    EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator(dir.Path())), 1);
    EXPECT_EQ(log.Messages(),
              std::vector<std::string>{"!ERROR! : Failed to write config file \"" + path + "\""});
}
