#!/usr/bin/env bash
# Installs what is missing, builds everything in Debug with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs all tests headless.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DHG_SANITIZE=ON -DHG_WERROR=ON
cmake --build build/test
export QT_QPA_PLATFORM=offscreen
ctest --test-dir build/test --output-on-failure -j "$(nproc)"
