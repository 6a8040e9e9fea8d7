// What hgvtool scan does over a folder of clips next to plain decoding of the same frames. The
// folder holds a few 1280x720 clips of the made-up scene, each with an animal walking through, so
// that the searches stop on results and go on as they do over a real card, and each clip's motion
// makes an event with a thumbnail. The scan runs as the
// command runs, clips side by side on the cores (--jobs), against one thread of libjpeg-turbo
// decoding every frame once; both in alternating rounds, the best round of each counting.
//
// Then the peak memory of a scan in a process of its own, for a short clip, the longest clip
// there is and a folder of a thousand clips: it must not grow with either.
//
// The last lines are "scan_vs_decode 1280x720 jobs=N RATIO": the scan's frames per second over
// those of decoding alone, for one job and for all cores.

#include <sys/resource.h>
#include <sys/wait.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "app/hgvtool_commands.h"
#include "clip/clip_writer.h"
#include "scan/json_text.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/writers/synthetic_scene.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kClips = 6;
constexpr int kFramesPerClip = 60;
constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kRounds = 3;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// A scan with a report into `out`, in a process of its own, so that its peak memory is its own:
// the peak resident set in MB, and the seconds it took.
std::pair<double, double> scanAlone(const std::string& clips, const std::string& out) {
  const auto start = Clock::now();
  const pid_t child = ::fork();
  if (child == 0) {
    std::ostringstream quiet;
    ::_exit(app::runScan({clips, "--out", out, "--jobs", "2"}, quiet, quiet));
  }
  int status = 0;
  struct rusage usage {};
  ::wait4(child, &status, 0, &usage);
  return {usage.ru_maxrss / 1024.0, secondsSince(start)};
}

// How the scan's memory grows with a clip's length and with the number of clips: a clip of 1,000
// frames, one of 32,767 (the longest there is) and a folder of 1,000 clips of 10 frames.
void memoryFigures(const std::filesystem::path& folder, toolkit::PosixFileSystem& fs) {
  constexpr int kSmall = 160, kSmallHeight = 120;
  std::vector<std::vector<std::uint8_t>> cycle;
  const toolkit::SyntheticScene scene({kSmall, kSmallHeight, 9, 8, 40, 2});
  for (int i = 0; i < 64; ++i) cycle.push_back(toolkit::encodeJpeg(scene.frame(i)));
  const auto clipOf = [&](int frames) {
    std::vector<std::vector<std::uint8_t>> jpegs;
    for (int i = 0; i < frames; ++i) jpegs.push_back(cycle[static_cast<std::size_t>(i) % 64]);
    return jpegs;
  };
  std::filesystem::create_directories(folder / "many");
  clip::writeClip(fs, (folder / "long1000.hgv").string(), kSmall, kSmallHeight, clipOf(1000));
  clip::writeClip(fs, (folder / "long32767.hgv").string(), kSmall, kSmallHeight, clipOf(32767));
  const auto ten = clipOf(10);
  for (int i = 0; i < 1000; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "clip%04d.hgv", i);
    clip::writeClip(fs, (folder / "many" / name).string(), kSmall, kSmallHeight, ten);
  }
  const struct {
    const char* what;
    std::string path;
    long long frames;
  } cases[] = {{"a clip of 1,000 frames", (folder / "long1000.hgv").string(), 1000},
               {"a clip of 32,767 frames", (folder / "long32767.hgv").string(), 32767},
               {"1,000 clips of 10 frames", (folder / "many").string(), 10000}};
  std::printf("%dx%d, --jobs 2, with a report\n", kSmall, kSmallHeight);
  for (const auto& c : cases) {
    const auto [megabytes, seconds] = scanAlone(c.path, (folder / "out").string());
    std::printf("  %-28s peak %6.1f MB  %8.0f frames/s\n", c.what, megabytes, c.frames / seconds);
    std::filesystem::remove_all(folder / "out");
  }
}

}  // namespace

int main() {
  const auto folder = std::filesystem::temp_directory_path() /
                      ("hg-scan-bench-" + std::to_string(static_cast<long>(::getpid())));
  std::filesystem::create_directories(folder / "card");
  toolkit::PosixFileSystem fs;
  // First, while this process is small: a child's peak counts the pages it shares with it.
  memoryFigures(folder / "memory", fs);
  std::vector<std::vector<std::uint8_t>> all;
  for (int c = 0; c < kClips; ++c) {
    toolkit::SceneOptions options;
    options.width = kWidth;
    options.height = kHeight;
    options.seed = static_cast<std::uint32_t>(c + 1);
    options.enterFrame = 10 + 5 * c;
    options.leaveFrame = options.enterFrame + 25;
    const toolkit::SyntheticScene scene(options);
    std::vector<std::vector<std::uint8_t>> jpegs;
    for (int i = 0; i < kFramesPerClip; ++i) jpegs.push_back(toolkit::encodeJpeg(scene.frame(i)));
    clip::writeClip(fs, (folder / "card" / ("clip" + std::to_string(c) + ".HGV")).string(), kWidth,
                    kHeight, jpegs);
    all.insert(all.end(), jpegs.begin(), jpegs.end());
  }

  tjhandle tj = tjInitDecompress();
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(kWidth) * kHeight * 3);
  const auto decodeFps = [&] {
    const auto start = Clock::now();
    for (auto& jpeg : all) {
      tjDecompress2(tj, jpeg.data(), jpeg.size(), rgb.data(), kWidth, 0, kHeight, TJPF_RGB, 0);
    }
    return static_cast<double>(all.size()) / secondsSince(start);
  };
  std::size_t events = 0;
  const auto scanFps = [&](int jobs) {
    std::ostringstream out, err;
    const auto start = Clock::now();
    // With a report: a thumbnail for every event, its peak frame decoded once more.
    const int status = app::runScan({(folder / "card").string(), "--json", "--jobs",
                                     std::to_string(jobs), "--out", (folder / "report").string()},
                                    out, err);
    const double fps = static_cast<double>(all.size()) / secondsSince(start);
    if (status != 0) std::printf("  scan failed: %s\n", err.str().c_str());
    events = 0;
    std::istringstream lines(out.str());
    for (std::string line; std::getline(lines, line);) {
      if (const auto object = scan::parseJson(line)) {
        events += scan::member(*object, "events").size();
      }
    }
    return fps;
  };

  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  std::vector<int> counts = {1};
  if (cores > 1) counts.push_back(cores);
  std::vector<std::pair<int, double>> ratios;
  for (int jobs : counts) {
    double decode = 0, scan = 0;
    for (int round = 0; round < kRounds; ++round) {
      decode = std::max(decode, decodeFps());
      scan = std::max(scan, scanFps(jobs));
    }
    std::printf("%d clips of %d frames, %dx%d, --jobs %d, best of %d rounds\n", kClips,
                kFramesPerClip, kWidth, kHeight, jobs, kRounds);
    std::printf("  decode only                  %7.1f fps\n", decode);
    std::printf("  hgvtool scan                 %7.1f fps   (%zu events)\n", scan, events);
    ratios.emplace_back(jobs, scan / decode);
  }
  tjDestroy(tj);
  std::error_code ec;
  std::filesystem::remove_all(folder, ec);
  for (const auto& [jobs, ratio] : ratios) {
    std::printf("scan_vs_decode %dx%d jobs=%d %.3f\n", kWidth, kHeight, jobs, ratio);
  }
  return 0;
}
