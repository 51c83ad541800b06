#!/usr/bin/env bash
# Builds a fuzz target with clang and runs it on one process; the run.sh of
# each fuzz folder calls this.
#   runfuzz.sh <fuzz dir> <target> <max input length> [seconds] [build dir]
# Without clang it says so and does nothing. New inputs that libFuzzer finds
# go to <build dir>/corpus; a crash is written to <build dir>/artifacts and
# ends the run with a non-zero status.
set -euo pipefail
dir="$1"
target="$2"
maxlen="$3"
seconds="${4:-300}"
build="${5:-$dir/../../../build-$target}"

clangxx="$(command -v clang++ || command -v clang++-14 || true)"
if [ -z "$clangxx" ]; then
  echo "fuzz: clang++ not found, nothing to do"
  exit 0
fi

cmake -S "$dir" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$clangxx" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j 2
mkdir -p "$build/corpus" "$build/artifacts"
exec "$build/$target" "$build/corpus" "$dir/corpus" \
  -max_total_time="$seconds" -max_len="$maxlen" -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$build/artifacts/" -print_final_stats=1
