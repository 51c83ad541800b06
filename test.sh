#!/usr/bin/env bash
# Sets the machine up if needed, builds Lumora with its tests and runs them all.
# Extra arguments go to ctest (for example: ./test.sh -R Log).
set -euo pipefail
cd "$(dirname "$0")"

bash tools/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DLUMORA_BUILD_TESTS=ON >/dev/null
cmake --build build
# Mesa's shader cache would make runs depend on earlier ones.
export MESA_SHADER_CACHE_DIR="$(mktemp -d)"
trap 'rm -rf "$MESA_SHADER_CACHE_DIR"' EXIT
ctest --test-dir build --output-on-failure -j "$(nproc)" "$@"
