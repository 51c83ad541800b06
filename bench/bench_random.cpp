#include "app/random.h"

#include <benchmark/benchmark.h>

namespace {

void BM_RandomNextUnit(benchmark::State& state)
{
    CRandom random(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(random.NextUnit());
}
BENCHMARK(BM_RandomNextUnit);

} // namespace
