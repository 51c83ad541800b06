#!/usr/bin/env bash
# How fast the visualizer starts and how much memory a show holds, in a
# window under a private X server with the default playlist:
#   tools/measure-run.sh [seconds]
# prints the time from start to the first frame drawn (the whole run of
# --frames 1, so exit included) and the resident memory after `seconds` of
# the show (default 300), with its peak. Needs a Release build in build/.
set -euo pipefail
cd "$(dirname "$0")/.."
home="$(mktemp -d)"
trap 'rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home" MESA_SHADER_CACHE_DIR="$home/mesa"

xvfb-run -a -s "-screen 0 1920x1080x24" bash -c '
  lumora="$0"; seconds="$1"
  start=$(date +%s%N)
  "$lumora" --window --frames 1 >/dev/null 2>&1
  end=$(date +%s%N)
  echo "start to first frame: $(( (end - start) / 1000000 )) ms"
  "$lumora" --window >/dev/null 2>&1 &
  pid=$!
  sleep "$seconds"
  grep -E "VmRSS|VmHWM" /proc/$pid/status
  kill $pid
  wait $pid || true
' "$PWD/build/bin/lumora" "${1:-300}"
