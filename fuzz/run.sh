#!/usr/bin/env bash
# Builds the clip reader's libFuzzer target with clang and runs it. Usage: fuzz/run.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-120}
scripts/install-deps.sh
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DHG_FUZZ=ON -DHG_SANITIZE=ON -DHG_BUILD_TESTS=ON >/dev/null
cmake --build build/fuzz --target clip_reader_fuzzer clip_test
mkdir -p build/fuzz/corpus
HG_WRITE_FUZZ_CORPUS=build/fuzz/corpus build/fuzz/tests/clip/clip_test \
  --gtest_filter='FuzzReplayTest.*' >/dev/null
# The largest input is 64 KiB; the reader may hold at most that much beside its fixed tables.
build/fuzz/fuzz/clip_reader_fuzzer build/fuzz/corpus -max_len=65536 -malloc_limit_mb=64 \
  -rss_limit_mb=1024 -timeout=5 -max_total_time="$seconds" -print_final_stats=1
