// The video reader on a ten-minute 1080p H.264 video of 30 frames a second in groups of 60, with
// two B-frames between references, as libx264 makes it (ultrafast, a meadow that stays still
// but for the animal's walk): the time to open it, a decode from the start against the ffmpeg
// program's of the same frames, and the decodes each step costs when stepping back through
// several groups. The video is made once and kept (argument 1, else a file in the temp folder).

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>

#include "tests/support/video_maker.h"
#include "video/video_file.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

constexpr int kFrames = 10 * 60 * 30;
constexpr int kDecoded = 600;

std::string makeOnce(const std::string& path) {
  if (std::filesystem::exists(path)) return path;
  testing_support::VideoRecipe recipe;
  recipe.width = 1920;
  recipe.height = 1080;
  recipe.frames = kFrames;
  recipe.rateNum = 30;
  recipe.gop = 60;
  recipe.bframes = 2;
  recipe.threads = static_cast<int>(std::thread::hardware_concurrency());
  recipe.scene.enterFrame = 9000;
  recipe.scene.leaveFrame = 9600;
  const auto start = Clock::now();
  const std::string part = path + ".part";
  testing_support::makeVideo(part, recipe);
  std::filesystem::rename(part, path);
  std::printf("made %s in %.0f s\n", path.c_str(), seconds(Clock::now() - start));
  return path;
}

std::unique_ptr<video::VideoFile> open(const std::string& path, int threads) {
  video::VideoFile::Options options;
  options.threads = threads;
  return video::VideoFile::open(path, options);
}

void timeOpening(const std::string& path) {
  double best = 1e9;
  std::int64_t frames = 0;
  for (int run = 0; run < 3; ++run) {
    const auto start = Clock::now();
    frames = open(path, 1)->facts().frameCount;
    best = std::min(best, seconds(Clock::now() - start));
  }
  std::printf("open: %.3f s (best of 3), %lld frames, %.1f MB\n", best,
              static_cast<long long>(frames),
              static_cast<double>(std::filesystem::file_size(path)) / 1e6);
}

// Frames [from, from + kDecoded) in order, pictures and all.
double timeSequential(const std::string& path, int threads, std::int64_t from) {
  const auto video = open(path, threads);
  const auto start = Clock::now();
  for (std::int64_t i = from; i < from + kDecoded; ++i) video->frame(i);
  return seconds(Clock::now() - start);
}

double timeCommandLine(const std::string& path, std::int64_t from) {
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) return -1;
  const std::string select = from ? " -ss " + std::to_string(from / 30.0) : "";
  const std::string command = "ffmpeg -v error -nostdin -threads 1" + select + " -i '" + path +
                              "' -sws_flags bicubic+accurate_rnd+bitexact+full_chroma_int" +
                              " -frames:v " + std::to_string(kDecoded) +
                              " -fps_mode passthrough -f rawvideo -pix_fmt bgr24 -y /dev/null";
  const auto start = Clock::now();
  if (std::system(command.c_str()) != 0) return -1;
  return seconds(Clock::now() - start);
}

void timeSteppingBack(const std::string& path) {
  const auto video = open(path, 1);
  const std::int64_t last = 9000 + 5 * 60 - 1;
  video->frame(last);
  const std::int64_t before = video->framesDecoded();
  const auto start = Clock::now();
  for (std::int64_t i = last - 1; i >= 9000; --i) video->frame(i);
  const double steps = last - 9000;
  std::printf("stepping back through 5 groups of 60: %.2f decodes and %.1f ms a step\n",
              static_cast<double>(video->framesDecoded() - before) / steps,
              seconds(Clock::now() - start) / steps * 1e3);
}

void timeJumps(const std::string& path) {
  const auto video = open(path, 1);
  std::mt19937 rng(5);
  const int jumps = 20;
  const std::int64_t before = video->framesDecoded();
  const auto start = Clock::now();
  for (int i = 0; i < jumps; ++i) video->frame(static_cast<std::int64_t>(rng() % kFrames));
  std::printf("a jump to a random frame: %.1f ms, %.1f decodes\n",
              seconds(Clock::now() - start) / jumps * 1e3,
              static_cast<double>(video->framesDecoded() - before) / jumps);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string path = makeOnce(
      argc > 1 ? argv[1]
               : (std::filesystem::temp_directory_path() / "hg-video-bench-1080p.mp4").string());
  testing_support::quietLibav();
  timeOpening(path);
  const int cores = static_cast<int>(std::thread::hardware_concurrency());
  for (std::int64_t from : {std::int64_t{0}, std::int64_t{9000}}) {
    const double ours = timeSequential(path, 1, from);
    const double oursThreaded = timeSequential(path, cores, from);
    const double cli = timeCommandLine(path, from);
    std::printf("%d frames from frame %lld: %.2f s (1 thread), %.2f s (%d threads)", kDecoded,
                static_cast<long long>(from), ours, oursThreaded, cores);
    if (cli >= 0) std::printf("; ffmpeg -threads 1: %.2f s", cli);
    std::printf("\n");
  }
  timeSteppingBack(path);
  timeJumps(path);
  return 0;
}
