#!/usr/bin/env bash
# Sets the machine up if needed, builds Lumora with its tests and runs them
# all, then builds the fuzz targets with clang in build-fuzz and runs each for
# a few seconds. Extra arguments go to ctest (for example: ./test.sh -R Log).
# LUMORA_WERROR=ON turns compiler warnings into errors.
set -euo pipefail
cd "$(dirname "$0")"

bash tools/setup.sh
werror="${LUMORA_WERROR:-OFF}"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DLUMORA_BUILD_TESTS=ON \
  -DLUMORA_WERROR="$werror" >/dev/null
cmake --build build
# libFuzzer comes with clang only; the fuzz build holds just the fuzz targets
# and the libraries they need.
cmake -S . -B build-fuzz -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMORA_FUZZ=ON -DLUMORA_BUILD_TESTS=OFF -DLUMORA_BUILD_BENCH=OFF \
  -DLUMORA_WERROR="$werror" >/dev/null
cmake --build build-fuzz --target lumora_fuzz
# Mesa's shader cache would make runs depend on earlier ones.
export MESA_SHADER_CACHE_DIR="$(mktemp -d)"
trap 'rm -rf "$MESA_SHADER_CACHE_DIR"' EXIT
ctest --test-dir build --output-on-failure -j "$(nproc)" "$@"
ctest --test-dir build-fuzz --output-on-failure -j "$(nproc)" "$@"
