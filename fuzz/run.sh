#!/usr/bin/env bash
# Builds one libFuzzer target with clang and runs it, starting from the seeds its replay test
# writes. Usage: fuzz/run.sh TARGET [SECONDS]
# TARGET: clip_reader, jpeg_frame, handover_request, journal or video_file.
set -euo pipefail
cd "$(dirname "$0")/.."
target=${1:?usage: fuzz/run.sh TARGET [SECONDS]}
seconds=${2:-120}

# Per target: the test executable and filter of its replay test (which writes the seeds), the
# largest input, and how much memory one input may take.
case "$target" in
  clip_reader) tests=clip/clip_test filter='FuzzReplayTest.*' max_len=65536 malloc_mb=64 ;;
  jpeg_frame) tests=search/search_test filter='JpegFrameFuzzReplayTest.*' max_len=32768 malloc_mb=64 ;;
  handover_request) tests=review/review_test filter='HandOverFuzzReplayTest.*' max_len=70000 malloc_mb=64 ;;
  journal) tests=scan/scan_test filter='JournalFuzzReplayTest.*' max_len=65536 malloc_mb=256 ;;
  video_file) tests=video/video_test filter='VideoFuzzReplayTest.*' max_len=65536 malloc_mb=512 ;;
  *) echo "fuzz/run.sh: unknown target $target" >&2; exit 2 ;;
esac

scripts/install-deps.sh
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DHG_FUZZ=ON -DHG_SANITIZE=ON -DHG_BUILD_TESTS=ON >/dev/null
cmake --build build/fuzz --target "${target}_fuzzer" "$(basename "$tests")"
corpus=build/fuzz/corpus/$target
mkdir -p "$corpus"
HG_WRITE_FUZZ_CORPUS=$corpus "build/fuzz/tests/$tests" --gtest_filter="$filter" >/dev/null
"build/fuzz/fuzz/${target}_fuzzer" "$corpus" -max_len="$max_len" -malloc_limit_mb="$malloc_mb" \
  -rss_limit_mb=1024 -timeout=5 -max_total_time="$seconds" -print_final_stats=1
