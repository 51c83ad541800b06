#!/usr/bin/env bash
# Fuzzes scene loading: tests/scene/fuzz/run.sh [seconds] [build dir]
here="$(cd "$(dirname "$0")" && pwd)"
exec "$here/../../support/runfuzz.sh" "$here" fuzz_scene 16384 "$@"
