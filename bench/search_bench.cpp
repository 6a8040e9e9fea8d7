// What one step of a motion search costs next to plain decoding of the same pictures. A search
// step extracts the frame to "Temp.jpg", converts it to "1.bmp", reads the bitmap, computes the
// brightness and the cell means and compares them with the frame before; its floor is the JPEG
// decoding inside the conversion. Both are timed in the same run, in alternating rounds, and the
// best round of each counts, since the machine is shared.
//
// Then the whole search through the window's driver, on Qt's offscreen platform: a forward search
// over a 1280x720 clip, with an area in which nothing changes so that it runs to the end, with
// its yields, bar updates and scratch files.
//
// The last lines are "search_vs_decode WxH RATIO", the search's frames per second divided by
// those of decoding alone, and "driver_vs_decode 1280x720 RATIO" for the whole search.

#include <turbojpeg.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "clip/clip_writer.h"
#include "clip/separate_mjpg.h"
#include "search/core/analyse_bmp.h"
#include "search/core/cell_sums.h"
#include "skin/windows.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/widgets/testing.h"
#include "toolkit/writers/synthetic_scene.h"

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

  // A search from frame 0 to the end, as the drivers call the two modules: the priming pass,
  // then each step into the buffer that holds the older frame.
  double searchPass(clip::SeparateMJPG& clip, search::AnalyseBMP& analyse) {
    const search::FrameInputs rest{m_width, m_height, kTrue, kTrue};
    bool phaseA = true, phaseB = false;
    m_changedFrames = 0;
    const auto start = Clock::now();
    analyse.StoreInA = kTrue;
    analyse.StoreInB = kFalse;
    analyse.AnalyseFrame(clip.ExtractCurrentJpg(m_clipPath, 0), 16, rest);
    for (int k = 1; k < m_frames; ++k) {
      const bool intoA = !phaseA;
      analyse.StoreInA = toolkit::toBoolean(intoA);
      analyse.StoreInB = toolkit::toBoolean(!intoA);
      phaseA = !phaseA;
      phaseB = !phaseB;
      const std::string jpg = clip.ExtractCurrentJpg(m_clipPath, k);
      if (analyse.AnalyseFrame(
              jpg, 16,
              {m_width, m_height, toolkit::toBoolean(phaseA), toolkit::toBoolean(phaseB)}) > 0) {
        ++m_changedFrames;
      }
    }
    return m_frames / secondsSince(start);
  }

  Figures run() {
    clip::SeparateMJPG clip(m_platform);
    clip.InitialAviInfo(m_clipPath);
    clip.SaveAviChunk(m_clipPath);
    search::AnalyseBMP analyse(m_platform);
    Figures best;
    for (int round = 0; round < kRounds; ++round) {
      best.decodeFps = std::max(best.decodeFps, decodePass());
      best.searchFps = std::max(best.searchFps, searchPass(clip, analyse));
    }
    if (!m_sink.boxes().empty())
      std::printf("  unexpected box: %s\n", m_sink.boxes()[0].text.c_str());
    return best;
  }

  // Where a step's time goes: each part alone, best of a few passes, in milliseconds a frame.
  // Reading 1.bmp back is not needed in a search: the bitmap just written is reduced from memory.
  void sections() {
    clip::SeparateMJPG clip(m_platform);
    clip.InitialAviInfo(m_clipPath);
    clip.SaveAviChunk(m_clipPath);
    toolkit::JpgToBmpConverter converter(m_fs);
    const std::string jpg = m_folder + "/Temp.jpg", bmp = m_folder + "/1.bmp";
    std::vector<float> luma(static_cast<std::size_t>(m_width) * m_height);
    std::vector<float> sums(static_cast<std::size_t>(m_width / 16) * (m_height / 16));
    double extract = 1e9, decode = 1e9, write = 1e9, reread = 1e9, cells = 1e9, cellsScalar = 1e9;
    const auto time = [this](double& best, const auto& f) {
      const auto t = Clock::now();
      for (int k = 0; k < m_frames; ++k) f();
      best = std::min(best, secondsSince(t));
    };
    for (int pass = 0; pass < 3; ++pass) {
      time(extract, [&] { clip.ExtractCurrentJpg(m_clipPath, m_frames / 2); });
      // The converter does not decode the same bytes twice in a row; the decoder inside it does.
      const std::string bytes = toolkit::readWholeFile(m_fs, jpg);
      toolkit::JpegBitmapDecoder decoder;
      std::vector<std::uint8_t> decoded;
      time(decode, [&] {
        decoder.decode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()},
                       decoded);
      });
      converter.decode(jpg);
      time(write, [&] { converter.write(bmp); });
      time(reread, [&] { toolkit::readWholeFile(m_fs, bmp); });
      const auto bitmap = converter.bitmap();
      const search::BgrRows rows{bitmap.data() + 54,
                                 static_cast<std::size_t>(toolkit::bmpRowBytes(m_width)), m_width,
                                 m_height};
      time(cells, [&] { search::lumaAndCellSums(rows, 16, luma.data(), sums.data()); });
      time(cellsScalar, [&] {
        search::lumaAndCellSums(rows, 16, luma.data(), sums.data(), search::CellSumPath::kScalar);
      });
    }
    const auto ms = [this](double total) { return total / m_frames * 1e3; };
    std::printf("  extract to Temp.jpg          %7.3f ms\n", ms(extract));
    std::printf("  decode Temp.jpg              %7.3f ms\n", ms(decode));
    std::printf("  write 1.bmp                  %7.3f ms\n", ms(write));
    std::printf("  read 1.bmp back (not needed) %7.3f ms\n", ms(reread));
    std::printf("  brightness and cell sums     %7.3f ms   (plain loop %.3f ms)\n", ms(cells),
                ms(cellsScalar));
  }

  int changedFrames() const { return m_changedFrames; }

  // The whole search through the window, from frame 0 to the end, against decoding.
  Figures runDriver(const std::filesystem::path& folder, int threads) {
    toolkit::testing::TestHost host(folder.string());
    review::Session session(host.platform);
    skin::Windows windows(host.host, session);
    skin::Form1& form = windows.Form1;
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
      session.DrawRectangle.SearchArea = {-100, -100, -50, -50};
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

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
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
