// Cost of building the bolts of the Lightning node in one frame: the script
// for every bolt, the subdivision with default branching and the volume
// lines' quads, with no device.

#include "benchnode.h"

#include <string>

namespace {

void BM_Lightning(benchmark::State& state)
{
    PullNodeFrames(state, "Lightning", {{"NumBolts", std::to_string(state.range(0))}});
}

} // namespace

BENCHMARK(BM_Lightning)->Arg(1)->Arg(10)->Arg(50)->Unit(benchmark::kMicrosecond);
