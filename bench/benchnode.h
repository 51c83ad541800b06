#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

// Makes a node of `type` through the factory, sets `ports` and pulls it once
// per iteration as a scene would at 30 frames a second on a window of
// `aspect`, with no device and g_random on a fixed seed.
void PullNodeFrames(benchmark::State& state, const char* type,
                    const std::vector<std::pair<const char*, std::string>>& ports = {}, float aspect = 1.0f);
