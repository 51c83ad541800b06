#!/usr/bin/env bash
# Builds the scene fuzz target with clang and runs it on one process.
#   tests/scene/fuzz/run.sh [seconds] [build dir]
# Without clang it says so and does nothing. New inputs that libFuzzer finds
# go to <build dir>/corpus; a crash is written to <build dir>/artifacts and
# ends the run with a non-zero status.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
seconds="${1:-300}"
build="${2:-$here/../../../build-fuzz-scene}"

clangxx="$(command -v clang++ || command -v clang++-14 || true)"
if [ -z "$clangxx" ]; then
  echo "fuzz: clang++ not found, nothing to do"
  exit 0
fi

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$clangxx" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j 2
mkdir -p "$build/corpus" "$build/artifacts"
exec "$build/fuzz_scene" "$build/corpus" "$here/corpus" \
  -max_total_time="$seconds" -max_len=16384 -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$build/artifacts/" -print_final_stats=1
