#!/usr/bin/env bash
# Fuzzes the expression parser: tests/expression/fuzz/run.sh [seconds] [build dir]
here="$(cd "$(dirname "$0")" && pwd)"
exec "$here/../../support/runfuzz.sh" "$here" fuzz_expression 4096 "$@"
