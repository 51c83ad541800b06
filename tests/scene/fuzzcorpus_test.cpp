// What the scene fuzzer keeps in its corpus runs here too, on every build,
// so inputs that once reached new code keep loading without a fault.

#include "support/scenefuzzinput.h"
#include "scenenodes.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(SceneFuzzCorpus, EveryKeptInputLoadsAndWritesAFixedPoint)
{
    CSceneTestTypes types;
    CLogCapture log; // bad inputs log plenty
    CTempDir work;
    const std::filesystem::path corpus = std::filesystem::path(LUMORA_SCENE_FUZZ_CORPUS);
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
        const std::string bytes = ReadFile(entry.path().string());
        EXPECT_TRUE(SceneInputLoadsAndRoundTrips(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                                                 work.Path()))
            << entry.path().filename();
        ++inputs;
    }
    EXPECT_GE(inputs, 10);
}
