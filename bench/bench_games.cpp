// Per-frame cost of the self-playing games, of the line nodes and of
// Driftcrest at their default settings on a 16:9 window, with no device: the game or simulation
// step and the filling of the batcher. The Maze's first frame generates the
// maze; later frames only walk.

#include "benchnode.h"

namespace {

constexpr float Wide = 16.0f / 9.0f;

void BM_Game(benchmark::State& state, const char* type)
{
    PullNodeFrames(state, type, {}, Wide);
}

void BM_LineNode(benchmark::State& state, const char* type)
{
    PullNodeFrames(state, type, {}, Wide);
}

// Lines at a rate that keeps a hundred lines alive.
void BM_LineNode_Lines100(benchmark::State& state)
{
    PullNodeFrames(state, "Lines", {{"LinesPerSec", "100"}}, Wide);
}

} // namespace

BENCHMARK_CAPTURE(BM_Game, Asteroids, "Asteroids")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Game, PingPong, "PingPong")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Game, Maze, "Maze")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LineNode, MatrixTrails, "MatrixTrails")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LineNode, LineBounce, "LineBounce")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_LineNode, Lines, "Lines")->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LineNode_Lines100)->Unit(benchmark::kMicrosecond);
// Sixteen plates, as the test scene has them; with no effects connected only
// the stack and its quads are built.
void BM_Object_Driftcrest(benchmark::State& state)
{
    PullNodeFrames(state, "Driftcrest",
                   {{"NumObjects", "16"}, {"OutlineCol", "1 1 1 1"}, {"PointCol", "1 1 0 1"}}, 16.0f / 9.0f);
}
BENCHMARK(BM_Object_Driftcrest)->Unit(benchmark::kMicrosecond);
