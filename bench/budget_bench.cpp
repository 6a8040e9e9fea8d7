// Peak memory and time of the real hgvtool, each command in a process of its own, on a clip of the
// largest pictures there are: 8K UHD frames of a flat field at low quality, about 400 pixels to a
// byte, so that a clip of a few megabytes decodes to gigabytes. The frames change level every two
// frames, so the searches stop on results and mark them. A clip of a camera's 1280x720 scene is
// measured beside it.
//
// Usage: budget_bench [THREADS [HGVTOOL]]   (THREADS: the --threads of the search and --jobs of
// the scan, default 8; HGVTOOL: another build's hgvtool to measure instead, for a comparison)

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "clip/clip_writer.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/writers/synthetic_scene.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr int kHugeWidth = 7680;
constexpr int kHugeHeight = 4320;

struct Figures {
  int status = -1;
  double peakMb = 0;
  double seconds = 0;
};

// `tool` with `args`, its output thrown away: its exit status, peak resident set and time.
Figures runTool(std::string tool, const std::vector<std::string>& args) {
  std::vector<char*> argv;
  argv.push_back(tool.data());
  std::vector<std::string> copies = args;
  for (std::string& a : copies) argv.push_back(a.data());
  argv.push_back(nullptr);
  const auto start = Clock::now();
  const pid_t child = ::fork();
  if (child == 0) {
    std::FILE* null = std::fopen("/dev/null", "w");
    if (null) {
      ::dup2(::fileno(null), STDOUT_FILENO);
      ::dup2(::fileno(null), STDERR_FILENO);
    }
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  struct rusage usage {};
  ::wait4(child, &status, 0, &usage);
  Figures f;
  f.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  f.peakMb = usage.ru_maxrss / 1024.0;
  f.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return f;
}

void print(const char* what, const Figures& f) {
  std::printf("  %-44s peak %7.1f MB  %6.2f s  (exit %d)\n", what, f.peakMb, f.seconds, f.status);
}

// `frames` frames of a flat field, the level changing every two frames.
std::string hugeClip(const std::filesystem::path& folder, toolkit::PosixFileSystem& fs,
                     int frames) {
  std::vector<Bytes> levels;
  for (std::uint8_t level : {70, 170}) {
    const toolkit::RgbImage flat{
        kHugeWidth, kHugeHeight,
        Bytes(static_cast<std::size_t>(kHugeWidth) * kHugeHeight * 3, level)};
    levels.push_back(toolkit::encodeJpeg(flat, 5));
  }
  std::vector<Bytes> jpegs;
  for (int i = 0; i < frames; ++i) jpegs.push_back(levels[static_cast<std::size_t>(i / 2 % 2)]);
  const std::string path = (folder / "huge" / "huge.hgv").string();
  clip::writeClip(fs, path, kHugeWidth, kHugeHeight, jpegs);
  std::printf("%d frames of %dx%d, %.0f KB a frame, %.1f MB in all\n", frames, kHugeWidth,
              kHugeHeight, levels[0].size() / 1024.0,
              static_cast<double>(std::filesystem::file_size(path)) / (1 << 20));
  return path;
}

std::string sceneClip(const std::filesystem::path& folder, toolkit::PosixFileSystem& fs) {
  const toolkit::SyntheticScene scene({1280, 720, 3, 10, 40, 2});
  std::vector<Bytes> jpegs;
  for (int i = 0; i < 60; ++i) jpegs.push_back(toolkit::encodeJpeg(scene.frame(i)));
  const std::string path = (folder / "scene.hgv").string();
  clip::writeClip(fs, path, 1280, 720, jpegs);
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string threads = argc > 1 ? argv[1] : "8";
  const std::string tool = argc > 2 ? argv[2] : HG_HGVTOOL;
  const auto run = [&](const std::vector<std::string>& args) { return runTool(tool, args); };
  std::printf("%s\n", tool.c_str());
  const auto folder = std::filesystem::temp_directory_path() /
                      ("hg-budget-bench-" + std::to_string(static_cast<long>(::getpid())));
  std::filesystem::create_directories(folder / "huge");
  toolkit::PosixFileSystem fs;
  const std::string huge = hugeClip(folder, fs, 17);
  const std::string png = (folder / "thumb.png").string();
  print("hgvtool thumbnail (256)", run({"thumbnail", huge, png, "256"}));
  print("hgvtool thumbnail (4096)", run({"thumbnail", huge, png, "4096"}));
  print(("hgvtool search --all --threads " + threads).c_str(),
        run({"search", huge, "--all", "--threads", threads}));
  print("hgvtool search --all --threads 1", run({"search", huge, "--all", "--threads", "1"}));
  // Two clips side by side: each clip's search has threads of its own beside the other's.
  std::filesystem::copy_file(huge, folder / "huge" / "again.hgv");
  print(("hgvtool scan --jobs " + threads + " (2 clips)").c_str(),
        run({"scan", (folder / "huge").string(), "--jobs", threads}));

  const std::string scene = sceneClip(folder, fs);
  std::printf("60 frames of 1280x720, the made-up scene\n");
  print("hgvtool thumbnail (256)", run({"thumbnail", scene, png, "256"}));
  print(("hgvtool search --all --threads " + threads).c_str(),
        run({"search", scene, "--all", "--threads", threads}));
  std::error_code ec;
  std::filesystem::remove_all(folder, ec);
  return 0;
}
