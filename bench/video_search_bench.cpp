// What hgvtool search --all and hgvtool scan do over H.264 camera videos next to the floor: the
// ffmpeg command line decoding the same frames to BGR on one thread (-threads 1), with the same
// exact conversion as the program's pictures, in the same run.
// The video is 1280x720 H.264 of the made-up scene with an animal walking through, so that the
// searches stop on results and go on as they do over real footage. Each figure is the best of a
// few rounds, the rounds alternating between the floor and the program.
//
// The last lines are "search_vs_ffmpeg threads=N RATIO" and "scan_vs_ffmpeg jobs=N RATIO": the
// program's frames per second over those of the floor.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "app/hgvtool_commands.h"
#include "tests/support/video_maker.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFrames = 600;
constexpr int kVideos = 4;
constexpr int kRounds = 3;

double secondsOf(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string makeVideo(const std::filesystem::path& folder) {
  const std::string path = (folder / "yard720.mp4").string();
  if (std::filesystem::exists(path)) return path;
  testing_support::VideoRecipe recipe;
  recipe.width = 1280;
  recipe.height = 720;
  recipe.frames = kFrames;
  recipe.gop = 50;
  recipe.bframes = 2;
  recipe.rateNum = 25;
  recipe.preset = "veryfast";
  recipe.threads = 2;
  recipe.scene.enterFrame = kFrames / 4;
  recipe.scene.leaveFrame = kFrames / 2;
  testing_support::makeVideo(path, recipe);
  return path;
}

double ffmpegSeconds(const std::vector<std::string>& videos) {
  return secondsOf([&] {
    for (const std::string& video : videos) {
      // The same conversion as the program's pictures (the flags count only after -i), all of it
      // on one thread: -threads 1 is the decoder's, the scale filter has threads of its own.
      const std::string command =
          "ffmpeg -v error -threads 1 -filter_threads 1 -i '" + video +
          "' -sws_flags bicubic+accurate_rnd+bitexact+full_chroma_int -map 0:v:0 -fps_mode "
          "passthrough -f rawvideo -pix_fmt bgr24 -y /dev/null";
      if (std::system(command.c_str()) != 0) std::fprintf(stderr, "ffmpeg failed\n");
    }
  });
}

double searchSeconds(const std::string& video, int threads) {
  return secondsOf([&] {
    std::ostringstream out, err;
    app::runSearch({video, "--all", "--threads", std::to_string(threads)}, out, err);
  });
}

double scanSeconds(const std::string& folder, int jobs) {
  return secondsOf([&] {
    std::ostringstream out, err;
    app::runScan({folder, "--jobs", std::to_string(jobs)}, out, err);
  });
}

}  // namespace

int main() {
  testing_support::quietLibav();
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) {
    std::printf("the ffmpeg command line is not installed: no floor to measure against\n");
    return 0;
  }
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "hg-video-bench";
  std::filesystem::create_directories(folder / "card");
  const std::string video = makeVideo(folder);
  std::vector<std::string> card;
  for (int k = 0; k < kVideos; ++k) {
    const auto copy = folder / "card" / ("yard" + std::to_string(k) + ".mp4");
    if (!std::filesystem::exists(copy)) std::filesystem::copy_file(video, copy);
    card.push_back(copy.string());
  }
  const int cores = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  double floor = 1e9, cardFloor = 1e9, one = 1e9, all = 1e9, scanOne = 1e9, scanAll = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    floor = std::min(floor, ffmpegSeconds({video}));
    one = std::min(one, searchSeconds(video, 1));
    all = std::min(all, searchSeconds(video, cores));
    cardFloor = std::min(cardFloor, ffmpegSeconds(card));
    scanOne = std::min(scanOne, scanSeconds((folder / "card").string(), 1));
    scanAll = std::min(scanAll, scanSeconds((folder / "card").string(), cores));
  }
  std::printf("1280x720 H.264, %d frames, %d cores\n", kFrames, cores);
  std::printf("ffmpeg -threads 1, exact bgr24: %.3f s (%.0f frames/s)\n", floor, kFrames / floor);
  std::printf("search --all, 1 thread:     %.3f s (%.0f frames/s)\n", one, kFrames / one);
  std::printf("search --all, %d threads:    %.3f s (%.0f frames/s)\n", cores, all, kFrames / all);
  std::printf("scan of %d videos, floor:   %.3f s\n", kVideos, cardFloor);
  std::printf("scan --jobs 1:              %.3f s\n", scanOne);
  std::printf("scan --jobs %d:              %.3f s\n", cores, scanAll);
  std::printf("search_vs_ffmpeg threads=1 %.2f\n", floor / one);
  std::printf("search_vs_ffmpeg threads=%d %.2f\n", cores, floor / all);
  std::printf("scan_vs_ffmpeg jobs=1 %.2f\n", cardFloor / scanOne);
  std::printf("scan_vs_ffmpeg jobs=%d %.2f\n", cores, cardFloor / scanAll);
  return 0;
}
