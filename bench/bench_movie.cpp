// Encoding movie frames: a moving picture through libswscale and libx264
// into a file, per frame, at the sizes a headless run records.

#include "platform/ffmpegmovieencoder.h"
#include "support/tempdir.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace {

void BM_Movie_Encode(benchmark::State& state)
{
    const int width = int(state.range(0)), height = int(state.range(1));
    CTempDir dir;
    CFfmpegMovieEncoder encoder;
    std::string error;
    if (!encoder.Open({dir.File("bench.mp4"), width, height, 30, "", ""}, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    std::vector<uint8_t> picture(size_t(width) * size_t(height) * 3);
    int frame = 0;
    for (auto _ : state) {
        // Bands that move every frame, so that no frame is free to encode.
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                uint8_t* p = &picture[(size_t(y) * size_t(width) + size_t(x)) * 3];
                p[0] = uint8_t(x + frame * 3);
                p[1] = uint8_t(y * 2 - frame);
                p[2] = uint8_t((x ^ y) + frame);
            }
        if (!encoder.AddFrame(picture.data(), error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        ++frame;
    }
    const double bytes = double(encoder.BytesWritten());
    encoder.Finish(error);
    state.counters["bytes_per_frame"] = frame ? bytes / frame : 0.0;
}
BENCHMARK(BM_Movie_Encode)->Args({640, 360})->Args({1280, 720})->Unit(benchmark::kMillisecond);

} // namespace
