#!/usr/bin/env bash
# Installs every Debian package the project needs; does nothing when they are all there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config clang libclang-rt-14-dev
  qt6-base-dev qt6-qpa-plugins libturbojpeg0-dev libjpeg62-turbo-dev
  libavcodec-dev libavformat-dev libavutil-dev libswscale-dev zlib1g-dev libpng-dev ffmpeg
  nlohmann-json3-dev libcli11-dev
  googletest libgtest-dev
  xvfb xauth fonts-liberation fonts-dejavu-core
  dpkg-dev file desktop-file-utils appstream shared-mime-info
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -q
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
