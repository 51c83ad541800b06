#!/usr/bin/env bash
# Sets the machine up if needed, builds Lumora (Release) and runs it.
# Arguments go to lumora (for example: ./lumora.sh --window).
set -euo pipefail
cd "$(dirname "$0")"

bash tools/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build --target lumora
exec build/bin/lumora "$@"
