#include "platform/ffmpegsongdecoder.h"

#include "support/soundfixtures.h"
#include "support/tempdir.h"

#include <benchmark/benchmark.h>

#include <array>

namespace {

// A song made once per format: music-like enough that the codec works as on
// real files (a tone over noise), long enough that opening costs little.
const std::string& Song(const char* extension)
{
    static const CTempDir dir;
    static std::string paths[2];
    std::string& path = paths[std::string(extension) == ".ogg"];
    if (path.empty()) {
        const std::string file = dir.File(std::string("song") + extension);
        const std::vector<std::string> sox{"sox", "-D", "-n", "-r", "44100", "-c", "2", file, "synth", "20",
                                           "sine", "440", "whitenoise", "vol", "0.4"};
        if (RunProgram(sox))
            path = file;
    }
    return path;
}

// Seconds of song decoded per second of work, the whole file each time, as
// the sound object asks for it: block by block.
void BM_Sound_Decode(benchmark::State& state, const char* extension)
{
    const std::string& path = Song(extension);
    if (path.empty()) {
        state.SkipWithError("sox could not make the song");
        return;
    }
    std::array<float, CSongDecoder::BlockFloats> block;
    double seconds = 0.0;
    for (auto _ : state) {
        CFfmpegSongDecoder decoder;
        if (!decoder.Open(path)) {
            state.SkipWithError("the song did not open");
            return;
        }
        while (decoder.Decode(block) > 0)
            benchmark::DoNotOptimize(block.data());
        seconds += decoder.Position();
    }
    state.counters["song_s_per_s"] = benchmark::Counter(seconds, benchmark::Counter::kIsRate);
}
BENCHMARK_CAPTURE(BM_Sound_Decode, wav, ".wav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Sound_Decode, ogg, ".ogg")->Unit(benchmark::kMillisecond);

} // namespace
