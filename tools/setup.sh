#!/usr/bin/env bash
# Installs every Debian package Lumora builds, runs and tests with.
# Idempotent: when everything is present it prints nothing and exits at once.
set -euo pipefail

packages=(
  # toolchain
  build-essential cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev
  # Qt 6 and the QML modules the front end loads at run time
  qt6-base-dev qt6-base-dev-tools qt6-declarative-dev
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-templates qml6-module-qtquick-window qml6-module-qtqml
  qml6-module-qtqml-workerscript qml6-module-qttest
  # scene containers, GL, windows, images, physics
  libquazip1-qt6-dev libglew-dev libgl-dev libegl-dev libsdl2-dev libfreeimage-dev libbullet-dev
  # sound capture and song files, movies
  libpulse-dev pulseaudio pulseaudio-utils
  libavformat-dev libavcodec-dev libswresample-dev libswscale-dev libavutil-dev ffmpeg
  # statistics upload
  libcurl4-openssl-dev
  # effect compiler
  glslang-dev glslang-tools spirv-tools libspirv-cross-c-shared-dev spirv-cross
  # fuzzing, benchmark peers
  clang libmuparser-dev
  # headless display and GL
  xvfb xauth libgl1-mesa-dri libegl-mesa0
  # test fixtures
  sox fonts-dejavu-core
  # process tools the run tests use (pgrep)
  procps
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${#missing[@]} packages: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
