#!/usr/bin/env bash
# Installs what is missing, builds the program, writes a sample clip to sample/ and starts the
# program. Open sample/garden.HGV with the folder button.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DHG_BUILD_TESTS=OFF
cmake --build build/release
mkdir -p sample
[ -f sample/garden.HGV ] || build/release/app/hgvtool sample sample/garden.HGV
exec build/release/app/harrowglen "$@"
