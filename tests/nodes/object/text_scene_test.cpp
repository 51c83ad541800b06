// The title, clock and spectrum scene played headless with a song, on a
// clock that always says 22:31:42, compared with its reference frames.
// References are made anew on purpose only:
//     LUMORA_UPDATE_REFERENCE=1 ctest --test-dir build -R TextScene

#include "app/paths.h"
#include "app/player/headlessrun.h"
#include "nodes/object/clocknode.h"
#include "platform/audiosources.h"
#include "renderogl/renderogl.h"
#include "services/picturesequencewriter.h"
#include "support/logcapture.h"
#include "support/picturecompare.h"
#include "support/soundfixtures.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

std::tm FakeTime()
{
    std::tm time{};
    time.tm_hour = 22;
    time.tm_min = 31;
    time.tm_sec = 42;
    return time;
}

} // namespace

TEST(TextScene, PlaysHeadlessAsItsReferenceFrames)
{
    CTempDir home;
    setenv("XDG_CONFIG_HOME", home.Path().c_str(), 1);
    setenv("LUMORA_APPPATH", LUMORA_DATA_DIR, 1);
    g_paths.Setup();
    RegisterSoundSources();
    CClockNode::s_localTime = &FakeTime;
    // Pink noise that swells twice a second, the same each time (-R).
    ASSERT_TRUE(RunProgram({"sox", "-R", "-n", "-r", "44100", "-c", "2", home.File("music.wav"), "synth", "3",
                            "pinknoise", "tremolo", "2", "90"}));
    CLogCapture log;
    SHeadlessOptions options;
    options.m_scenePath = std::string(LUMORA_SHARED_TEST_DATA) + "/scenes/titleclockbars.lms";
    options.m_outDirectory = home.File("frames");
    options.m_songPath = home.File("music.wav");
    options.m_width = 320;
    options.m_height = 180;
    options.m_seconds = 2.0f;
    options.m_seeded = true;
    options.m_seed = 3;
    ASSERT_EQ(RunHeadless(options, MakeRenderOGL), 0);
    CClockNode::s_localTime = &CClockNode::SystemLocalTime;
    for (const std::string& line : log.Messages())
        EXPECT_EQ(line.find("!ERROR!"), std::string::npos) << line;

    const std::string data = std::getenv("LUMORA_TEST_DATA");
    for (int frame : {20, 60}) {
        const std::string name = CPictureSequenceWriter::FrameName(frame);
        const std::string picture = options.m_outDirectory + "/" + name;
        // The clock's digits light the middle band: a blank frame would
        // match a blank reference.
        int lit = 0;
        for (int y = 70; y < 100; ++y)
            for (int x = 100; x < 220; ++x)
                lit += PixelAt(picture, x, y).g > 120 ? 1 : 0;
        EXPECT_GT(lit, 100) << name;
        EXPECT_EQ(MatchReference(picture, data + "/reference/titleclockbars-" + name, 8, 0.02), "");
    }
}
