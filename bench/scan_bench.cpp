// What hgvtool scan does over a folder of clips next to plain decoding of the same frames. The
// folder holds a few 1280x720 clips of the made-up scene, each with an animal walking through, so
// that the searches stop on results and go on as they do over a real card, and each clip's motion
// makes an event with a thumbnail. The scan runs as the
// command runs, clips side by side on the cores (--jobs), against one thread of libjpeg-turbo
// decoding every frame once; both in alternating rounds, the best round of each counting.
//
// The last lines are "scan_vs_decode 1280x720 jobs=N RATIO": the scan's frames per second over
// those of decoding alone, for one job and for all cores.

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
#include "app/json_value.h"
#include "clip/clip_writer.h"
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

}  // namespace

int main() {
  const auto folder = std::filesystem::temp_directory_path() /
                      ("hg-scan-bench-" + std::to_string(static_cast<long>(::getpid())));
  std::filesystem::create_directories(folder / "card");
  toolkit::PosixFileSystem fs;
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
      if (const auto object = app::JsonValue::parse(line)) {
        events += (*object)["events"].array().size();
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
