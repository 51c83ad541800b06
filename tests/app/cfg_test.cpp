#include "app/cfg.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <sys/resource.h>
#include <vector>

void PrintTo(const CCfg& cfg, std::ostream* out)
{
    *out << "{Playlist=\"" << cfg.Playlist << "\" Usage=" << cfg.SendAnonymousUsageInfo
         << " Version=" << cfg.CheckForNewVersion << " AutoGoto=" << cfg.AutoGotoNextScene
         << " Randomize=" << cfg.RandomizeScene << " Capture=" << cfg.CaptureSound
         << " Silence=" << cfg.MaxSilenceTime << " RunTime=" << cfg.MinRunTime << "-"
         << cfg.MaxRunTime << " Time=" << cfg.Time << " From=" << cfg.SceneFromScale
         << " To=" << cfg.SceneToScale << " Post=" << cfg.PostProcessingProbability
         << " Target=" << cfg.RenderTargetRelative << ":" << cfg.RenderTargetWidth << "x"
         << cfg.RenderTargetHeight << " Screens=";
    for (const CCfgScreen& s : cfg.Screens)
        *out << "[" << s.Id << " " << s.LeaveBlack << " " << s.SectionX << "," << s.SectionY
             << "," << s.SectionWidth << "," << s.SectionHeight << "]";
    *out << " Start=\"" << cfg.StartScene << "\" Song=\"" << cfg.SongFile << "\" Movie=\""
         << cfg.MovieFile << "\"}";
}

namespace {

std::string Document(const std::string& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Lumora>" + body + "</Lumora>\n";
}

// Every stored setting away from its default.
CCfg Customised()
{
    CCfg cfg;
    cfg.Playlist = "[userpath]playlists/Nächte & \"Tage\".lmp";
    cfg.SendAnonymousUsageInfo = false;
    cfg.CheckForNewVersion = false;
    cfg.AutoGotoNextScene = false;
    cfg.RandomizeScene = false;
    cfg.CaptureSound = false;
    cfg.MaxSilenceTime = 25;
    cfg.MinRunTime = 4;
    cfg.MaxRunTime = 60;
    cfg.Time = 2.5f;
    cfg.SceneFromScale = 0.75f;
    cfg.SceneToScale = 0.25f;
    cfg.PostProcessingProbability = 0.53f;
    cfg.RenderTargetRelative = false;
    cfg.RenderTargetWidth = 1920;
    cfg.RenderTargetHeight = 1080;
    cfg.Screens = {{"DP-1", false, 0.0, 0.0, 0.5, 1.0},
                   {"HDMI-2", true, 0.0, 0.0, 0.0, 0.0},
                   {"DVI-3", false, 0.5, 0.125, 0.5, 0.75}};
    return cfg;
}

// "Failed to read config file "<reader's error>" at <line>, <column>", as an error.
bool IsReadFailure(const std::string& message)
{
    const std::string prefix = "!ERROR! : Failed to read config file \"";
    const size_t at = message.rfind("\" at ");
    int line = 0, column = 0;
    char rest = 0;
    return message.starts_with(prefix) && at != std::string::npos && at > prefix.size() &&
           std::sscanf(message.c_str() + at + 5, "%d, %d%c", &line, &column, &rest) == 2;
}

CCfg WithRunFields(CCfg cfg, const char* startScene, const char* songFile, const char* movieFile)
{
    cfg.StartScene = startScene;
    cfg.SongFile = songFile;
    cfg.MovieFile = movieFile;
    return cfg;
}

} // namespace

TEST(Cfg, SaveAndLoadKeepEverySettingButNeverTouchTheRunTimeFields)
{
    CCfg relative = Customised();
    relative.RenderTargetRelative = true;
    relative.RenderTargetWidth = 0.75;
    relative.RenderTargetHeight = 0.5;
    relative.Screens.clear();
    for (const CCfg& saved : {Customised(), relative}) {
        SCOPED_TRACE(saved.RenderTargetRelative ? "relative" : "absolute");
        CTempDir dir;
        const std::string path = dir.File("config.xml");
        ASSERT_TRUE(WithRunFields(saved, "start.lms", "song.ogg", "movie.mkv").Save(path));
        const std::string text = ReadFile(path);
        for (const char* runValue : {"start.lms", "song.ogg", "movie.mkv"})
            EXPECT_EQ(text.find(runValue), std::string::npos) << runValue;

        // Holds screens that an empty saved list must clear.
        CCfg loaded = WithRunFields(CCfg(), "keep.lmc", "keep.mp3", "keep.avi");
        loaded.Screens = {{"old", true, 0, 0, 1, 1}};
        ASSERT_TRUE(loaded.Load(path));
        EXPECT_EQ(loaded, WithRunFields(saved, "keep.lmc", "keep.mp3", "keep.avi"));

        ASSERT_TRUE(loaded.Save(path));
        EXPECT_EQ(ReadFile(path), text) << "a second save must write the same file";
    }
}

TEST(Cfg, FileHasTheSharedLayoutAndNumberForms)
{
    CTempDir dir;
    CCfg cfg = Customised();
    cfg.Screens.resize(1);
    cfg.Playlist = "a&b";
    ASSERT_TRUE(cfg.Save(dir.File("config.xml")));
    EXPECT_EQ(ReadFile(dir.File("config.xml")),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<Lumora>\n"
              "    <Screensaver Playlist=\"a&amp;b\" AutoGotoNextScene=\"0\" RandomizeScene=\"0\" "
              "CaptureSound=\"0\" MaxSilenceTime=\"25\">\n"
              "        <Scene MinRunTime=\"4\" MaxRunTime=\"60\" PostProcessingProbability=\"53%\"/>\n"
              "        <Transition Time=\"2.5\" SceneFromScale=\"75%\" SceneToScale=\"25%\"/>\n"
              "        <Renderer RenderTargetWidth=\"1920\" RenderTargetHeight=\"1080\">\n"
              "            <RenderOGL>\n"
              "                <Screen Id=\"DP-1\" LeaveBlack=\"0\" SectionX=\"0\" SectionY=\"0\" "
              "SectionWidth=\"0.5\" SectionHeight=\"1\"/>\n"
              "            </RenderOGL>\n"
              "        </Renderer>\n"
              "    </Screensaver>\n"
              "    <Config CheckForNewVersion=\"0\" SendAnonymousUsageInfo=\"0\"/>\n"
              "</Lumora>\n");
}

TEST(Cfg, ReadingRules)
{
    const std::string kept = "<Screensaver Playlist=\"p\" AutoGotoNextScene=\"1\" "
                             "RandomizeScene=\"1\" CaptureSound=\"1\" MaxSilenceTime=\"10\">";
    struct SCase
    {
        const char* name;
        std::string body;
        std::function<void(CCfg&)> expect; // applied to the defaults
    };
    const SCase cases[] = {
        {"missing Transition keeps the defaults", kept + "</Screensaver>",
         [](CCfg& c) { c.Playlist = "p"; }},
        {"empty Transition gives zeros", kept + "<Transition/></Screensaver>",
         [](CCfg& c) {
             c.Playlist = "p";
             c.Time = 0.0f;
             c.SceneFromScale = 0.0f;
             c.SceneToScale = 0.0f;
         }},
        {"Screensaver without attributes", "<Screensaver/>",
         [](CCfg& c) {
             c.AutoGotoNextScene = c.RandomizeScene = c.CaptureSound = false;
             c.MaxSilenceTime = 0;
         }},
        {"flags of Screensaver are integers, of Config texts",
         "<Screensaver Playlist=\"p\" AutoGotoNextScene=\"01\" RandomizeScene=\"true\" "
         "CaptureSound=\"2\" MaxSilenceTime=\"7.5\"/><Config CheckForNewVersion=\"01\" "
         "SendAnonymousUsageInfo=\"1\"/>",
         [](CCfg& c) {
             c.Playlist = "p";
             c.RandomizeScene = c.CaptureSound = c.CheckForNewVersion = false;
             c.MaxSilenceTime = 0;
         }},
        {"percents", kept + "<Scene MinRunTime=\"3\" PostProcessingProbability=\"33.9%\"/>"
                            "<Transition Time=\"1.25\" SceneFromScale=\"8%0\" SceneToScale=\"20\"/>"
                            "</Screensaver>",
         [](CCfg& c) {
             c.Playlist = "p";
             c.MinRunTime = 3;
             c.MaxRunTime = 0;
             c.PostProcessingProbability = 0.33f;
             c.Time = 1.25f;
             c.SceneFromScale = 0.8f;
             c.SceneToScale = 0.2f;
         }},
        {"relative target, the width decides",
         kept + "<Renderer RenderTargetWidth=\"100%\" RenderTargetHeight=\"50\"/></Screensaver>",
         [](CCfg& c) {
             c.Playlist = "p";
             c.RenderTargetHeight = 0.5;
         }},
        {"absolute target, the width decides",
         kept + "<Renderer RenderTargetWidth=\"1280\" RenderTargetHeight=\"72%0\"/></Screensaver>",
         [](CCfg& c) {
             c.Playlist = "p";
             c.RenderTargetRelative = false;
             c.RenderTargetWidth = 1280;
             c.RenderTargetHeight = 720;
         }},
        {"half a target size changes nothing",
         kept + "<Renderer RenderTargetWidth=\"1280\"/></Screensaver>",
         [](CCfg& c) { c.Playlist = "p"; }},
        {"screens that show nothing are dropped",
         kept + "<Renderer><RenderOGL>"
                "<Screen Id=\"a\" LeaveBlack=\"0\" SectionWidth=\"0\" SectionHeight=\"0\"/>"
                "<Screen Id=\"b\" LeaveBlack=\"0\" SectionWidth=\"1\" SectionHeight=\"0\"/>"
                "<Screen Id=\"c\" LeaveBlack=\"1\"/>"
                "<Monitor Id=\"d\" LeaveBlack=\"1\"/>"
                "<Screen Id=\"e\" LeaveBlack=\"true\" SectionX=\"0.5\" SectionWidth=\"0.5\" "
                "SectionHeight=\"1\"><Extra/></Screen>"
                "</RenderOGL><RenderOGL><Screen Id=\"f\" LeaveBlack=\"1\"/></RenderOGL>"
                "</Renderer></Screensaver>",
         [](CCfg& c) {
             c.Playlist = "p";
             c.Screens = {{"c", true, 0, 0, 0, 0}, {"e", false, 0.5, 0, 0.5, 1}};
         }},
        {"only a first RenderOGL counts",
         kept + "<Renderer><Other/><RenderOGL><Screen Id=\"a\" LeaveBlack=\"1\"/></RenderOGL>"
                "</Renderer></Screensaver>",
         [](CCfg& c) { c.Playlist = "p"; }},
        {"unknown elements are skipped with their subtree",
         "<Unknown><Screensaver/><Config/></Unknown>" + kept +
             "<Unknown><Transition/></Unknown></Screensaver><Config CheckForNewVersion=\"1\" "
             "SendAnonymousUsageInfo=\"1\"><Unknown/></Config>",
         [](CCfg& c) { c.Playlist = "p"; }},
    };
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        WriteFile(path, Document(c.body));
        CCfg loaded;
        ASSERT_TRUE(loaded.Load(path));
        CCfg expected;
        c.expect(expected);
        EXPECT_EQ(loaded, expected);
    }
}

TEST(Cfg, TargetSizeIsWrittenBackInTheFormItWasRead)
{
    struct SCase
    {
        const char* width;
        const char* height;
        const char* writtenWidth;
        const char* writtenHeight;
    };
    const SCase cases[] = {
        {"100%", "50", "100%", "50%"},
        {"1280", "720", "1280", "720"},
        {"12345678", "1", "1.23457e+07", "1"}, // precision 6 loses digits of huge targets
    };
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.width);
        WriteFile(path, Document(std::string("<Screensaver><Renderer RenderTargetWidth=\"") +
                                 c.width + "\" RenderTargetHeight=\"" + c.height +
                                 "\"/></Screensaver>"));
        CCfg cfg;
        ASSERT_TRUE(cfg.Load(path));
        ASSERT_TRUE(cfg.Save(path));
        const std::string expected = std::string("RenderTargetWidth=\"") + c.writtenWidth +
                                     "\" RenderTargetHeight=\"" + c.writtenHeight + "\"";
        EXPECT_NE(ReadFile(path).find(expected), std::string::npos) << ReadFile(path);
    }
}

TEST(Cfg, WholePercentsSurviveEverySave)
{
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    for (int percent = 0; percent <= 100; ++percent) {
        CCfg cfg;
        cfg.PostProcessingProbability = static_cast<float>(percent / 100.0);
        for (int round = 0; round < 2; ++round) {
            ASSERT_TRUE(cfg.Save(path));
            ASSERT_TRUE(cfg.Load(path));
        }
        const std::string written = "PostProcessingProbability=\"" + std::to_string(percent) + "%\"";
        EXPECT_NE(ReadFile(path).find(written), std::string::npos) << written;
        EXPECT_EQ(cfg.PostProcessingProbability, static_cast<float>(percent / 100.0));
    }
}

TEST(Cfg, LoadLogsTheSettings)
{
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    CCfg saved = Customised();
    saved.Screens.resize(2);
    ASSERT_TRUE(saved.Save(path));
    CLogCapture log;
    CCfg cfg;
    ASSERT_TRUE(cfg.Load(path));
    cfg.RenderTargetRelative = true;
    cfg.RenderTargetWidth = 0.5;
    cfg.RenderTargetHeight = 0.25;
    cfg.Screens.clear();
    ASSERT_TRUE(cfg.Save(path));
    ASSERT_TRUE(cfg.Load(path));

    const std::string summary = "Configuration. RandomizeScene:0 AutoGoto:0 RunTime:4-60 "
                                "CaptureSound:0 MaxSilence:25 TransitionTime:2.50 ScaleFrom:0.75 "
                                "ScaleTo:0.25 PostProcessingProbability: 0.53";
    const std::string playlist = "\tPlaylist requested \"" + saved.Playlist + "\"";
    const std::vector<std::string> expected = {
        summary, playlist, "\tRender target size: 1920px 1080px",
        "\tScreen \"DP-1\" LeaveBlack: 0 SectionToRender:0,0,0.5,1",
        "\tScreen \"HDMI-2\" LeaveBlack: 1 SectionToRender:0,0,0,0",
        summary, playlist, "\tRender target size: 50.00% 25.00%"};
    EXPECT_EQ(log.Messages(), expected);
}

TEST(Cfg, MissingFileFailsQuietlyAndChangesNothing)
{
    CTempDir dir;
    CLogCapture log;
    CCfg cfg = Customised();
    EXPECT_FALSE(cfg.Load(dir.File("config.xml")));
    EXPECT_EQ(cfg, Customised());
    EXPECT_TRUE(log.Messages().empty());
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
}

TEST(Cfg, BrokenFileKeepsTheSettingsAndIsSetAside)
{
    CTempDir source;
    ASSERT_TRUE(Customised().Save(source.File("config.xml")));
    const std::string valid = ReadFile(source.File("config.xml"));
    const size_t configAt = valid.find("<Config");
    ASSERT_NE(configAt, std::string::npos);

    const std::pair<const char*, std::string> cases[] = {
        {"empty", ""},
        {"only the declaration", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"},
        {"cut after the screensaver settings", valid.substr(0, configAt + 10)},
        {"mismatched tags", Document("<Screensaver MaxSilenceTime=\"3\"></Scene>")},
        {"junk behind the root", Document("<Screensaver MaxSilenceTime=\"3\"/>") + "<Lumora/>"},
        {"other root", "<Settings><Screensaver MaxSilenceTime=\"3\"/></Settings>"},
    };
    for (const auto& [name, content] : cases) {
        SCOPED_TRACE(name);
        CTempDir dir;
        const std::string path = dir.File("config.xml");
        WriteFile(path, content);
        WriteFile(path + ".bad", "an older broken file");
        CLogCapture log;
        for (const CCfg& before : {CCfg(), Customised()}) {
            CCfg cfg = before;
            EXPECT_FALSE(cfg.Load(path));
            EXPECT_EQ(cfg, before);
            WriteFile(path, content); // the first load moved it aside
        }
        const std::vector<std::string> messages = log.Messages();
        ASSERT_EQ(messages.size(), 2u);
        for (const std::string& message : messages)
            EXPECT_TRUE(IsReadFailure(message)) << message;
        EXPECT_EQ(ReadFile(path + ".bad"), content);
    }
}

namespace {

// Limits the size of any file this process writes, as a full disk would;
// root is bound by it too, unlike by permissions.
class CFileSizeLimit
{
public:
    explicit CFileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_saved);
        m_savedHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_saved;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_savedHandler);
    }

private:
    rlimit m_saved{};
    void (*m_savedHandler)(int);
};

std::vector<std::string> Entries(const std::string& dir)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir))
        names.push_back(entry.path().filename().string());
    return names;
}

} // namespace

TEST(Cfg, FailedSaveLeavesThePreviousFileIntact)
{
    CTempDir dir;
    const std::string path = dir.File("config.xml");
    const std::string old = "<?xml version=\"1.0\"?>\n<Lumora><Config/></Lumora>\n";
    WriteFile(path, old);
    CLogCapture log;
    {
        CFileSizeLimit diskFull(64);
        EXPECT_FALSE(Customised().Save(path));
    }
    EXPECT_EQ(ReadFile(path), old);
    EXPECT_EQ(Entries(dir.Path()), std::vector<std::string>{"config.xml"});
    const std::vector<std::string> messages = log.Messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "!ERROR! : Failed to write config file \"" + path + "\"");

    // Places that can't be opened at all fail without a log line.
    const std::string notADirectory = dir.File("config.xml/config.xml");
    EXPECT_FALSE(Customised().Save(notADirectory));
    std::filesystem::create_directory(dir.File("folder"));
    EXPECT_FALSE(Customised().Save(dir.File("folder")));
    EXPECT_EQ(ReadFile(path), old);
    EXPECT_TRUE(std::filesystem::is_directory(dir.File("folder")));
    EXPECT_TRUE(std::filesystem::is_empty(dir.File("folder")));
    EXPECT_EQ(log.Messages().size(), 1u);

    ASSERT_TRUE(Customised().Save(path));
    CCfg cfg;
    ASSERT_TRUE(cfg.Load(path));
    EXPECT_EQ(cfg, Customised());
}
