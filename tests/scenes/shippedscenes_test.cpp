// Every scene that ships: it loads without an error, its effect compiles, and
// rendered headless with a song it shows a picture that is not flat, that
// moves with music and without it, and that matches its reference frames.
// References are made anew on purpose only:
//     LUMORA_UPDATE_REFERENCE=1 ctest --test-dir build -R ShippedScene

#include "app/director/playlist.h"
#include "app/paths.h"
#include "app/player/headlessrun.h"
#include "nodes/nodetypes.h"
#include "platform/audiosources.h"
#include "renderogl/renderogl.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "services/picturesequencewriter.h"
#include "support/logcapture.h"
#include "support/picturecompare.h"
#include "support/soundfixtures.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

const std::string kData = LUMORA_DATA_DIR;

std::vector<std::string> ShippedScenes()
{
    std::vector<std::string> scenes;
    const std::filesystem::path root = std::filesystem::path(kData) / "scenes";
    if (!std::filesystem::exists(root))
        return scenes;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.path().extension() == ".lmc")
            scenes.push_back(std::filesystem::relative(entry.path(), kData).string());
    std::sort(scenes.begin(), scenes.end());
    return scenes;
}

// How much a picture varies: the spread of green over a coarse grid.
int Spread(const std::string& picture)
{
    int low = 255, high = 0;
    for (int y = 5; y < 90; y += 10)
        for (int x = 5; x < 160; x += 10) {
            // One channel: palettes of even brightness vary in hue only.
            const int v = PixelAt(picture, x, y).g;
            low = std::min(low, v);
            high = std::max(high, v);
        }
    return high - low;
}

// Mean absolute channel difference, in levels of 255, that a scene's picture
// with music must keep from its picture in silence at the same moment.
constexpr double kMusicTellsApart = 4.0;

int Difference(const std::string& a, const std::string& b)
{
    return ComparePictures(a, b, 2).m_differing;
}

class ShippedScene : public ::testing::TestWithParam<std::string>
{
protected:
    static void SetUpTestSuite()
    {
        s_factory = CNodeFactory::Get();
        s_factory->Init(NodeTypes());
        RegisterSoundSources();
        s_home = new CTempDir;
        setenv("XDG_CONFIG_HOME", s_home->Path().c_str(), 1);
        setenv("LUMORA_APPPATH", kData.c_str(), 1);
        g_paths.Setup();
        // Pink noise that swells twice a second: a spectrum everywhere and a
        // beat; the same noise each time (-R), as the references need.
        ASSERT_TRUE(RunProgram({"sox", "-R", "-n", "-r", "44100", "-c", "2", s_home->File("music.wav"), "synth", "3",
                                "pinknoise", "tremolo", "2", "90"}));
    }
    static void TearDownTestSuite()
    {
        delete s_home;
        s_home = nullptr;
        s_factory->Release();
    }

    SHeadlessOptions Options(const std::string& song, const std::string& out) const
    {
        SHeadlessOptions options;
        options.m_scenePath = kData + "/" + GetParam();
        options.m_outDirectory = out;
        options.m_songPath = song;
        options.m_width = 160;
        options.m_height = 90;
        options.m_fps = 30;
        options.m_seconds = 1.0f;
        options.m_seeded = true;
        options.m_seed = 3;
        return options;
    }

    static inline CTempDir* s_home = nullptr;
    static inline CNodeFactory* s_factory = nullptr;
};

std::string Frame(const std::string& dir, int number)
{
    return dir + "/" + CPictureSequenceWriter::FrameName(number);
}

} // namespace

TEST(ShippedScenes, TheLibraryHasItsScenesTransitionsAndSpecialScenes)
{
    const std::vector<std::string> scenes = ShippedScenes();
    const auto count = [&](const std::string& folder) {
        return std::count_if(scenes.begin(), scenes.end(),
                             [&](const std::string& s) { return s.rfind(folder, 0) == 0 && s.find('/', folder.size()) == std::string::npos; });
    };
    EXPECT_GE(count("scenes/"), 12);
    EXPECT_GE(count("scenes/transitions/"), 3);
    for (const char* special : {"scenes/special/PostprocessingBackground.lmc", "scenes/special/TransitionToExample.lmc",
                                "scenes/special/TransitionFromExample.lmc"})
        EXPECT_NE(std::find(scenes.begin(), scenes.end(), special), scenes.end()) << special;
    EXPECT_TRUE(std::filesystem::exists(kData + "/playlists/Default.lmp"));
}

TEST_P(ShippedScene, LoadsCompilesAndMovesWithTheMusic)
{
    CLogCapture log;
    {
        CScene scene;
        ASSERT_TRUE(scene.Load(kData + "/" + GetParam(), true));
        EXPECT_FALSE(scene.m_author.empty());
        EXPECT_FALSE(scene.m_desc.empty());
        EXPECT_FALSE(scene.m_tags.empty());
        EXPECT_FALSE(CScene::GetLicenseText(scene.m_licenseType).empty()) << scene.m_licenseType;
    }
    const std::string name = std::filesystem::path(GetParam()).stem().string();
    const std::string music = s_home->File(name + "-music");
    ASSERT_EQ(RunHeadless(Options(s_home->File("music.wav"), music), MakeRenderOGL), 0);
    for (const std::string& line : log.Messages())
        EXPECT_EQ(line.find("!ERROR!"), std::string::npos) << line;

    const auto in = [&](const char* folder) { return GetParam().find(folder) != std::string::npos; };
    // Postprocessing shows what is below it, which alone is nothing; the
    // special scenes are test pictures meant to stand still.
    const bool still = in("special/") || in("post/");
    if (!still) {
        EXPECT_GT(Spread(Frame(music, 15)), 8) << "a flat picture";
        EXPECT_GT(Difference(Frame(music, 10), Frame(music, 25)), 50) << "nothing moves with music";
    }
    if (!still && !in("transitions/")) {
        const std::string quiet = s_home->File(name + "-silence");
        // Without a song a headless run hears nothing: the scenes' no-music inputs.
        ASSERT_EQ(RunHeadless(Options("", quiet), MakeRenderOGL), 0);
        EXPECT_GT(Difference(Frame(quiet, 10), Frame(quiet, 25)), 50) << "nothing moves in silence";
        // The same moments with and without music must look clearly apart.
        // Rounding between runs stays far below 1 level; a scene that took
        // the music only as a faint flicker of brightness would reach 2 or
        // so; each shipped scene reacts with several times that.
        for (int frame : {15, 30}) {
            const double apart = ComparePictures(Frame(music, frame), Frame(quiet, frame), 0).m_meanAbsolute;
            EXPECT_GT(apart, kMusicTellsApart) << "frame " << frame << " hardly changes with the music";
        }
    }
    for (int frame : {15, 30}) {
        const std::string reference = std::string(std::getenv("LUMORA_TEST_DATA")) + "/reference/" + name + "-" +
                                      CPictureSequenceWriter::FrameName(frame);
        EXPECT_EQ(MatchReference(Frame(music, frame), reference, 6, 0.02), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Library, ShippedScene, ::testing::ValuesIn(ShippedScenes()),
                         [](const ::testing::TestParamInfo<std::string>& row) {
                             std::string name = row.param;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ShippedScene);

TEST(ShippedScenes, APlaylistOfThemPlaysThroughATransitionAndEndsCleanlyInTheMiddleOfOne)
{
    CTempDir home;
    setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
    setenv("LUMORA_APPPATH", kData.c_str(), 1);
    g_paths.Setup();
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    {
        CPlaylist playlist;
        playlist.Add(playlist.m_scenes, "[apppath]scenes/Plasma.lmc", {}, 1.0f);
        playlist.Add(playlist.m_scenes, "[apppath]scenes/Tunnel.lmc", {}, 1.0f);
        playlist.Add(playlist.m_transitions, "[apppath]scenes/transitions/Wipe.lmc", {}, 3.0f);
        ASSERT_TRUE(playlist.Save(home.File("two.lmp")));
        SHeadlessOptions options;
        options.m_scenePath = home.File("two.lmp");
        options.m_outDirectory = home.File("frames");
        options.m_width = 64;
        options.m_height = 36;
        options.m_seconds = 2.5f;
        options.m_seeded = true;
        options.m_seed = 5;
        CLogCapture log;
        // The run ends while the wipe plays: every scene gives its device
        // objects back before the device goes.
        EXPECT_EQ(RunHeadless(options, MakeRenderOGL), 0);
        EXPECT_TRUE(log.Contains("Transition '"));
        EXPECT_FALSE(log.Contains("Transition done"));
    }
    factory->Release();
}
