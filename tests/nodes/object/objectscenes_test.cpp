// Scenes of object nodes played headless and compared with their reference
// frames: a particle fountain, the self-playing games, the line nodes,
// Lightning and Driftcrest.
// References are made anew on purpose only:
//     LUMORA_UPDATE_REFERENCE=1 ctest --test-dir build -R "ParticleScene|GameScenes"

#include "app/paths.h"
#include "app/player/headlessrun.h"
#include "renderogl/renderogl.h"
#include "services/picturesequencewriter.h"
#include "support/logcapture.h"
#include "support/picturecompare.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace {

// Plays tests' scene `name` for `seconds` at 160x90 on seed 3 and checks
// `frames` against the references "name-frame-n.png". Objects cover only
// part of the picture and a blank frame would match a blank reference, so
// more than `minLit` of every other pixel must pass `lit`.
void PlayAsReferences(const std::string& name, float seconds, std::initializer_list<int> frames,
                      const std::function<bool(const SPixel&)>& lit, int minLit)
{
    CTempDir home;
    setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
    setenv("LUMORA_APPPATH", LUMORA_DATA_DIR, 1);
    g_paths.Setup();
    const std::string data = std::getenv("LUMORA_TEST_DATA");
    CLogCapture log;
    SHeadlessOptions options;
    options.m_scenePath = data + "/scenes/" + name + ".lms";
    options.m_outDirectory = home.File("frames");
    options.m_width = 160;
    options.m_height = 90;
    options.m_seconds = seconds;
    options.m_seeded = true;
    options.m_seed = 3;
    ASSERT_EQ(RunHeadless(options, MakeRenderOGL), 0);
    for (const std::string& line : log.Messages())
        EXPECT_EQ(line.find("!ERROR!"), std::string::npos) << line;

    for (int frame : frames) {
        const std::string picture = CPictureSequenceWriter::FrameName(frame);
        const std::string path = options.m_outDirectory + "/" + picture;
        int count = 0;
        for (int y = 0; y < 90; y += 2)
            for (int x = 0; x < 160; x += 2)
                count += lit(PixelAt(path, x, y)) ? 1 : 0;
        EXPECT_GT(count, minLit) << picture;
        EXPECT_EQ(MatchReference(path, data + "/reference/" + name + "-" + picture, 8, 0.02), "");
    }
}

} // namespace

TEST(ParticleScene, PlaysHeadlessAsItsReferenceFrames)
{
    // A fountain with trails in a flow field.
    PlayAsReferences("particles", 1.0f, {15, 30}, [](const SPixel& p) { return p.g > 60; }, 20);
}

class GameScenes : public ::testing::TestWithParam<std::string>
{
};

TEST_P(GameScenes, PlayHeadlessAsTheirReferenceFrames)
{
    PlayAsReferences(GetParam(), 2.0f, {30, 60}, [](const SPixel& p) { return p.r + p.g + p.b > 150; }, 10);
}

// A maze walk under asteroids and ping pong; character trails, bouncing
// loops and turning lines; bolts of lightning; a twisting stack of plates.
INSTANTIATE_TEST_SUITE_P(Scenes, GameScenes, ::testing::Values("games", "lines", "lightning", "driftcrest"));
