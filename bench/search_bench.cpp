// What one step of a motion search costs next to plain decoding of the same pictures. A search
// step reads the frame from the clip as a value, decodes it to the converter's bitmap, sums the
// brightness of its cells and compares them with the frame before; its floor is the JPEG
// decoding. Both are timed in the same run, in alternating rounds, and the best round of each
// counts, since the machine is shared.
//
// Then the whole search through the window's driver, on Qt's offscreen platform: a forward search
// over a 1280x720 clip, with an area in which nothing changes so that it runs to the end, with
// its yields, bar updates and scratch files.
//
// The last lines are "search_vs_decode WxH RATIO", the search's frames per second divided by
// those of decoding alone, and "driver_vs_decode 1280x720 threads=N RATIO" for the whole search.
//
// Given clips (search_bench CLIP...), it times hgvtool search --all over each instead:
// "tool_vs_decode NAME threads=N RATIO".

#include <turbojpeg.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "clip/clip_writer.h"
#include "clip/separate_mjpg.h"
#include "search/core/analyse_bmp.h"
#include "search/core/cell_sums.h"
#include "search/core/frame_decoder.h"
#include "search/driver/tool_search.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/widgets/testing.h"
#include "toolkit/writers/synthetic_scene.h"
#include "window/windows.h"

namespace {

using Clock = std::chrono::steady_clock;
using toolkit::kFalse;
using toolkit::kTrue;

constexpr int kStepFrames = 48;
// A search through the driver runs longer, so that threads that decode ahead reach their pace.
constexpr int kDriverFrames = 150;
constexpr int kRounds = 7;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Figures {
  double decodeFps = 0;
  double searchFps = 0;
  double parallelDecodeFps = 0;  // the same frames decoded on the search's thread count
};

class Bench {
 public:
  Bench(int width, int height, int frames, const std::filesystem::path& folder)
      : m_frames(frames),
        m_width(width),
        m_height(height),
        m_folder(folder.string()),
        m_platform{m_fs, m_sink, m_folder} {
    // The animal is in the picture for most of the frames, so the comparison has work to do.
    const toolkit::SyntheticScene scene({width, height, 11, 6, m_frames - 4, 2});
    for (int i = 0; i < m_frames; ++i) m_jpegs.push_back(toolkit::encodeJpeg(scene.frame(i)));
    m_clipPath = m_folder + "/bench.hgv";
    clip::writeClip(m_fs, m_clipPath, width, height, m_jpegs);
    m_tj = tjInitDecompress();
    m_rgb.resize(static_cast<std::size_t>(width) * height * 3);
  }
  ~Bench() { tjDestroy(m_tj); }

  double decodePass() {
    const auto start = Clock::now();
    for (auto& jpeg : m_jpegs) {
      tjDecompress2(m_tj, jpeg.data(), jpeg.size(), m_rgb.data(), m_width, 0, m_height, TJPF_RGB,
                    0);
    }
    return m_frames / secondsSince(start);
  }

  // The same decoding shared out over `threads` threads: the ceiling of any search that decodes
  // on that many threads.
  double parallelDecodePass(int threads) {
    std::vector<std::thread> pool;
    const auto start = Clock::now();
    for (int t = 0; t < threads; ++t) {
      pool.emplace_back([&, t] {
        tjhandle tj = tjInitDecompress();
        std::vector<std::uint8_t> rgb(m_rgb.size());
        for (std::size_t i = static_cast<std::size_t>(t); i < m_jpegs.size();
             i += static_cast<std::size_t>(threads)) {
          tjDecompress2(tj, m_jpegs[i].data(), m_jpegs[i].size(), rgb.data(), m_width, 0, m_height,
                        TJPF_RGB, 0);
        }
        tjDestroy(tj);
      });
    }
    for (std::thread& t : pool) t.join();
    return m_frames / secondsSince(start);
  }

  // A search from frame 0 to the end, as the drivers call the modules: the priming pass, then
  // each step into the buffer that holds the older frame.
  double searchPass(clip::SeparateMJPG& clip, search::AnalyseBMP& analyse) {
    search::FrameDecoder decoder;
    m_changedFrames = 0;
    const auto start = Clock::now();
    const auto step = [&](int k, bool intoA, bool phaseA, bool phaseB) {
      clip.ExtractCurrentJpg(m_clipPath, k);
      const clip::FramePtr& frame = clip.lastExtracted();
      decoder.decodeAsScratch(*frame, clip.scratch().jpegFile(), 16);
      analyse.StoreInA = toolkit::toBoolean(intoA);
      analyse.StoreInB = toolkit::toBoolean(!intoA);
      return analyse.AnalyseFrame(frame, 16, toolkit::toBoolean(phaseA), toolkit::toBoolean(phaseB))
          .changed;
    };
    step(0, true, true, true);
    bool phaseA = true;
    for (int k = 1; k < m_frames; ++k) {
      const bool intoA = !phaseA;
      phaseA = !phaseA;
      if (step(k, intoA, phaseA, !phaseA) > 0) ++m_changedFrames;
    }
    return m_frames / secondsSince(start);
  }

  Figures run() {
    clip::SeparateMJPG clip(m_platform);
    clip.InitialAviInfo(m_clipPath);
    clip.SaveAviChunk(m_clipPath);
    clip.scratch().setMode(clip::ScratchFiles::Mode::Memory);
    search::AnalyseBMP analyse;
    Figures best;
    for (int round = 0; round < kRounds; ++round) {
      best.decodeFps = std::max(best.decodeFps, decodePass());
      best.searchFps = std::max(best.searchFps, searchPass(clip, analyse));
    }
    return best;
  }

  // Where a step's time goes: each part alone, best of a few passes, in milliseconds a frame.
  void sections() {
    clip::SeparateMJPG clip(m_platform);
    clip.InitialAviInfo(m_clipPath);
    clip.SaveAviChunk(m_clipPath);
    clip.scratch().setMode(clip::ScratchFiles::Mode::Memory);
    std::vector<float> luma(static_cast<std::size_t>(m_width) * m_height);
    std::vector<float> sums(static_cast<std::size_t>(m_width / 16) * (m_height / 16));
    double extract = 1e9, decode = 1e9, cells = 1e9, cellsScalar = 1e9, lumaAll = 1e9;
    const auto time = [this](double& best, const auto& f) {
      const auto t = Clock::now();
      for (int k = 0; k < m_frames; ++k) f();
      best = std::min(best, secondsSince(t));
    };
    for (int pass = 0; pass < 3; ++pass) {
      time(extract, [&] { clip.ExtractCurrentJpg(m_clipPath, m_frames / 2); });
      const clip::FramePtr frame = clip.lastExtracted();
      toolkit::JpegBitmapDecoder decoder;
      std::vector<std::uint8_t> bitmap;
      time(decode, [&] { decoder.decode(frame->jpeg, bitmap); });
      const search::BgrRows rows{bitmap.data() + toolkit::kBmpHeaderBytes,
                                 static_cast<std::size_t>(decoder.header().rowBytes()), m_width,
                                 m_height};
      time(cells, [&] { search::cellSums(rows, 16, sums.data()); });
      time(cellsScalar,
           [&] { search::cellSums(rows, 16, sums.data(), search::CellSumPath::kScalar); });
      time(lumaAll, [&] { search::lumaPixels(rows, luma.data()); });
    }
    const auto ms = [this](double total) { return total / m_frames * 1e3; };
    std::printf("  read the frame from the clip %7.3f ms\n", ms(extract));
    std::printf("  decode                       %7.3f ms\n", ms(decode));
    std::printf("  brightness and cell sums     %7.3f ms   (plain loop %.3f ms)\n", ms(cells),
                ms(cellsScalar));
    std::printf("  brightness of every pixel    %7.3f ms   (not in a search)\n", ms(lumaAll));
  }

  int changedFrames() const { return m_changedFrames; }

  // The whole search through the window, from frame 0 to the end, against decoding.
  Figures runDriver(const std::filesystem::path& folder, int threads) {
    toolkit::testing::TestHost host(folder.string());
    review::Session session(host.platform);
    window::Windows windows(host.host, session);
    window::Form1& form = windows.Form1;
    form.setDecodeThreads(threads);
    form.Show();
    host.dialogs.answer(m_clipPath);
    form.imgFile_Click();
    QApplication::processEvents();
    int comparisons = 0;
    form.searchDriver().onFinished = [&](const search::SearchOutcome& o) {
      comparisons = o.comparisons;
    };
    Figures best;
    for (int round = 0; round < kRounds; ++round) {
      best.decodeFps = std::max(best.decodeFps, decodePass());
      best.parallelDecodeFps = std::max(best.parallelDecodeFps, parallelDecodePass(threads));
      form.imgBegin_Click();
      QApplication::processEvents();
      // A corner no cell's point reaches: every change lies outside, and the search runs on.
      form.DrawRectangle.SearchArea = {-100, -100, -50, -50};
      const auto start = Clock::now();
      form.imgRightSearch_Click();
      best.searchFps = std::max(best.searchFps, m_frames / secondsSince(start));
    }
    if (comparisons != m_frames - 1) std::printf("  the search made %d comparisons\n", comparisons);
    if (!host.messages.boxes().empty())
      std::printf("  unexpected box: %s\n", host.messages.boxes()[0].text.c_str());
    return best;
  }

 private:
  int m_frames;
  int m_width, m_height;
  std::string m_folder;
  toolkit::PosixFileSystem m_fs;
  toolkit::RecordingMessageSink m_sink;
  toolkit::Platform m_platform;
  std::string m_clipPath;
  std::vector<std::vector<std::uint8_t>> m_jpegs;
  tjhandle m_tj = nullptr;
  std::vector<std::uint8_t> m_rgb;
  int m_changedFrames = 0;
};

// hgvtool search --all over a clip (real footage, say) against one-thread decoding of the same
// frames, both in this run: the searches go on from each result to the end of the run, with the
// marked pictures and scratch files that hgvtool leaves.
class ClipBench {
 public:
  explicit ClipBench(std::string path) : m_path(std::move(path)) {
    toolkit::PosixFileSystem fs;
    toolkit::RecordingMessageSink sink;
    toolkit::Platform platform{fs, sink, std::filesystem::temp_directory_path().string()};
    clip::SeparateMJPG clip(platform);
    if (clip.InitialAviInfo(m_path) == kFalse) return;
    const int frames = clip.SaveAviChunk(m_path).value();
    auto file = fs.openRead(m_path);
    for (int k = 0; k < frames; ++k) {
      std::vector<std::uint8_t> bytes;
      clip::readFrameBytes(*file, clip.placeOf(k), bytes);
      m_jpegs.push_back(std::move(bytes));
    }
    m_width = clip.ClipWidth.value();
    m_height = clip.ClipHeight.value();
  }

  bool ok() const { return !m_jpegs.empty(); }
  int frames() const { return static_cast<int>(m_jpegs.size()); }

  double decodeFps() {
    tjhandle tj = tjInitDecompress();
    std::vector<std::uint8_t> rgb(static_cast<std::size_t>(m_width) * m_height * 3);
    const auto start = Clock::now();
    for (auto& jpeg : m_jpegs) {
      tjDecompress2(tj, jpeg.data(), jpeg.size(), rgb.data(), m_width, 0, m_height, TJPF_RGB, 0);
    }
    tjDestroy(tj);
    return frames() / secondsSince(start);
  }

  // Returns frames per second and counts the results.
  double searchFps(int threads, int& results) {
    std::ostringstream quiet;
    search::ToolSession tool(quiet);
    if (!tool.openClip(m_path)) return 0;
    search::SearchOptions options;
    options.all = true;
    options.threads = threads;
    results = 0;
    const auto start = Clock::now();
    search::runSearches(tool, options, [&](const search::SearchRecord& r) {
      if (r.outcome.ended == search::SearchOutcome::Ended::Found) ++results;
    });
    return frames() / secondsSince(start);
  }

 private:
  std::string m_path;
  std::vector<std::vector<std::uint8_t>> m_jpegs;
  int m_width = 0, m_height = 0;
};

void benchClips(const std::vector<std::string>& paths) {
  const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  std::vector<std::string> lines;
  for (const std::string& path : paths) {
    ClipBench bench(path);
    if (!bench.ok()) {
      std::printf("%s: not a clip\n", path.c_str());
      continue;
    }
    const std::string name = std::filesystem::path(path).filename().string();
    for (int threads : {1, cores}) {
      double decode = 0, search = 0;
      int results = 0;
      for (int round = 0; round < 3; ++round) {
        decode = std::max(decode, bench.decodeFps());
        search = std::max(search, bench.searchFps(threads, results));
      }
      std::printf(
          "%s, %d frames, threads=%d: decode %.1f fps, hgvtool search --all %.1f fps, "
          "%d results\n",
          name.c_str(), bench.frames(), threads, decode, search, results);
      char line[256];
      std::snprintf(line, sizeof line, "tool_vs_decode %s threads=%d %.3f", name.c_str(), threads,
                    search / decode);
      lines.push_back(line);
      if (cores == 1) break;
    }
  }
  for (const std::string& line : lines) std::printf("%s\n", line.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  if (argc > 1) {
    benchClips(std::vector<std::string>(argv + 1, argv + argc));
    return 0;
  }
  const auto folder = std::filesystem::temp_directory_path() /
                      ("hg-search-bench-" + std::to_string(static_cast<long>(::getpid())));
  std::filesystem::create_directories(folder);
  std::vector<std::pair<std::string, double>> ratios;
  for (auto [w, h] : {std::pair{640, 480}, std::pair{1280, 720}}) {
    const std::string size = std::to_string(w) + "x" + std::to_string(h);
    Bench bench(w, h, kStepFrames, folder);
    const Figures f = bench.run();
    std::printf("%s, %d frames, best of %d rounds\n", size.c_str(), kStepFrames, kRounds);
    std::printf("  decode only                  %7.1f fps\n", f.decodeFps);
    std::printf("  search step                  %7.1f fps   (%d of %d steps found changed cells)\n",
                f.searchFps, bench.changedFrames(), kStepFrames - 1);
    bench.sections();
    ratios.emplace_back(size, f.searchFps / f.decodeFps);
  }
  // Threads: 1 decodes in the search's own order of work; more decode ahead.
  std::vector<std::pair<int, double>> driverRatios;
  std::vector<std::pair<int, double>> parallelRatios;
  {
    Bench bench(1280, 720, kDriverFrames, folder);
    const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    std::vector<int> counts = {1, 2};
    if (cores > 2) counts.push_back(cores);
    for (int threads : counts) {
      const Figures f = bench.runDriver(folder, threads);
      std::printf(
          "1280x720 through the window's driver, threads=%d, %d frames, best of %d rounds\n",
          threads, kDriverFrames, kRounds);
      std::printf("  decode only                  %7.1f fps\n", f.decodeFps);
      std::printf("  decoding alone on %d threads  %7.1f fps\n", threads, f.parallelDecodeFps);
      std::printf("  whole search                 %7.1f fps\n", f.searchFps);
      driverRatios.emplace_back(threads, f.searchFps / f.decodeFps);
      parallelRatios.emplace_back(threads, f.parallelDecodeFps / f.decodeFps);
    }
  }
  std::error_code ec;
  std::filesystem::remove_all(folder, ec);
  for (const auto& [size, ratio] : ratios) {
    std::printf("search_vs_decode %s %.3f\n", size.c_str(), ratio);
  }
  for (const auto& [threads, ratio] : parallelRatios) {
    std::printf("decode_on_threads_vs_decode 1280x720 threads=%d %.3f\n", threads, ratio);
  }
  for (const auto& [threads, ratio] : driverRatios) {
    std::printf("driver_vs_decode 1280x720 threads=%d %.3f\n", threads, ratio);
  }
  return 0;
}
