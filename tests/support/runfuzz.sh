#!/usr/bin/env bash
# Builds a fuzz target with clang (the main build with LUMORA_FUZZ) and runs
# it for longer than the tests do; the run.sh of each fuzz folder calls this.
#   runfuzz.sh <fuzz dir> <target> <max input length> [seconds] [build dir]
# Without clang it says so and does nothing. New inputs that libFuzzer finds
# go to <build dir>/corpus-<target>; a crash is written to
# <build dir>/artifacts-<target> and ends the run with a non-zero status.
set -euo pipefail
dir="$1"
target="$2"
maxlen="$3"
seconds="${4:-300}"
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="${5:-$root/build-fuzz}"

if ! command -v clang++ >/dev/null; then
  echo "fuzz: clang++ not found, nothing to do"
  exit 0
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DLUMORA_FUZZ=ON -DLUMORA_BUILD_TESTS=OFF -DLUMORA_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" --target "$target" -j 2
mkdir -p "$build/corpus-$target" "$build/artifacts-$target"
exec "$build/bin/$target" "$build/corpus-$target" "$dir/corpus" \
  -max_total_time="$seconds" -max_len="$maxlen" -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$build/artifacts-$target/" -print_final_stats=1
