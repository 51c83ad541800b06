#!/usr/bin/env bash
# Fuzzes the editor's command interpreter: tests/app/director/fuzz/run.sh [seconds] [build dir]
here="$(cd "$(dirname "$0")" && pwd)"
exec "$here/../../../support/runfuzz.sh" "$here" fuzz_commands 8192 "$@"
