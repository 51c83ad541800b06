// What the command fuzzer keeps in its corpus runs here too, on every build.

#include "fuzz/commandfuzzinput.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(CommandFuzzCorpus, EveryKeptInputIsAnsweredWithWellFormedXml)
{
    CLogCapture log; // bad inputs log plenty
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(LUMORA_COMMAND_FUZZ_CORPUS)) {
        const std::string bytes = ReadFile(entry.path().string());
        EXPECT_TRUE(CommandInputAnswersWellFormed(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()))
            << entry.path().filename();
        ++inputs;
    }
    EXPECT_GE(inputs, 10);
}
