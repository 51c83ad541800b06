// The games and the line nodes in scenes played headless, compared with
// their reference frames. References are made anew on purpose only:
//     LUMORA_UPDATE_REFERENCE=1 ctest --test-dir build -R GameScenes

#include "app/paths.h"
#include "app/player/headlessrun.h"
#include "renderogl/renderogl.h"
#include "services/picturesequencewriter.h"
#include "support/logcapture.h"
#include "support/picturecompare.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

class GameScenes : public ::testing::TestWithParam<std::string>
{
};

TEST_P(GameScenes, PlayHeadlessAsTheirReferenceFrames)
{
    CTempDir home;
    setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
    setenv("LUMORA_APPPATH", LUMORA_DATA_DIR, 1);
    g_paths.Setup();
    const std::string data = std::getenv("LUMORA_TEST_DATA");
    CLogCapture log;
    SHeadlessOptions options;
    options.m_scenePath = data + "/scenes/" + GetParam() + ".lms";
    options.m_outDirectory = home.File("frames");
    options.m_width = 160;
    options.m_height = 90;
    options.m_seconds = 2.0f;
    options.m_seeded = true;
    options.m_seed = 3;
    ASSERT_EQ(RunHeadless(options, MakeRenderOGL), 0);
    for (const std::string& line : log.Messages())
        EXPECT_EQ(line.find("!ERROR!"), std::string::npos) << line;

    for (int frame : {30, 60}) {
        const std::string name = CPictureSequenceWriter::FrameName(frame);
        const std::string picture = options.m_outDirectory + "/" + name;
        // Lines and small quads cover little of the picture: a blank frame
        // would match a blank reference, so some pixels must be lit.
        int lit = 0;
        for (int y = 0; y < 90; y += 2)
            for (int x = 0; x < 160; x += 2) {
                const SPixel p = PixelAt(picture, x, y);
                lit += p.r + p.g + p.b > 150 ? 1 : 0;
            }
        EXPECT_GT(lit, 10) << name;
        EXPECT_EQ(MatchReference(picture, data + "/reference/" + GetParam() + "-" + name, 8, 0.02), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Scenes, GameScenes, ::testing::Values("games", "lines"));
