// What a playback tick costs next to plain decoding of the same frames. A tick extracts the next
// frame to "Temp.jpg", tests the file, decodes it, stretches it into the view and the window
// repaints; its floor is the JPEG decoding. The real handlers run on Qt's offscreen platform, at
// the fit and at six times the opening, in alternating rounds with plain libjpeg-turbo decoding,
// and the best round of each counts, since the machine is shared.
//
// The last lines are "tick_vs_decode WxH fit|zoom6 RATIO": a tick's time over a decode's.

#include <turbojpeg.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "clip/clip_writer.h"
#include "review/session.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/widgets/picture.h"
#include "toolkit/widgets/testing.h"
#include "toolkit/writers/synthetic_scene.h"
#include "window/windows.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFrames = 40;
constexpr int kRounds = 5;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Figures {
  double decodeMs = 1e9;
  double fitMs = 1e9;
  double zoomMs = 1e9;
  double extractMs = 1e9;
  double loadMs = 1e9;
  double paintFitMs = 1e9;
  double paintZoomMs = 1e9;
};

class Bench {
 public:
  Bench(int width, int height, const std::filesystem::path& folder)
      : m_width(width), m_height(height), m_host(folder.string()) {
    const toolkit::SyntheticScene scene({width, height, 5, 4, kFrames - 4, 2});
    for (int i = 0; i < kFrames; ++i) m_jpegs.push_back(toolkit::encodeJpeg(scene.frame(i)));
    m_clip = (folder / "bench.HGV").string();
    clip::writeClip(m_host.files, m_clip, width, height, m_jpegs);
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
    return secondsSince(start) / kFrames * 1e3;
  }

  // Playback from frame 0 to the end: each tick, then the repaint the event loop makes.
  static double playPass(window::Form1& form) {
    form.imgBegin_Click();
    QApplication::processEvents();
    form.imgRightPlay_Click();
    const auto start = Clock::now();
    for (int k = 1; k < kFrames; ++k) {
      form.tmrControlDisplay->tick();
      QApplication::processEvents();
    }
    return secondsSince(start) / (kFrames - 1) * 1e3;
  }

  Figures run() {
    review::Session session(m_host.platform);
    window::Windows windows(m_host.host, session);
    window::Form1& form = windows.Form1;
    form.Show();
    m_host.dialogs.answer(m_clip);
    form.imgFile_Click();
    QApplication::processEvents();
    Figures f;
    for (int round = 0; round < kRounds; ++round) {
      f.decodeMs = std::min(f.decodeMs, decodePass());
      f.fitMs = std::min(f.fitMs, playPass(form));
      for (int i = 0; i < 5; ++i) form.imgZoomIn_Click();
      form.HS1->Value = 333;
      form.VS1->Value = 99;
      QApplication::processEvents();
      f.zoomMs = std::min(f.zoomMs, playPass(form));
      for (int i = 0; i < 6; ++i) form.imgZoomOut_Click();
      sections(form, f);
    }
    if (!m_host.messages.boxes().empty()) {
      std::printf("  unexpected box: %s\n", m_host.messages.boxes()[0].text.c_str());
    }
    form.Unload();
    return f;
  }

 private:
  // Each part of a tick alone, over the same frames.
  void sections(window::Form1& form, Figures& f) {
    auto& clip = form.SeparateMJPG;
    const auto time = [](double& best, const auto& work) {
      const auto start = Clock::now();
      for (int k = 0; k < kFrames; ++k) work(k);
      best = std::min(best, secondsSince(start) / kFrames * 1e3);
    };
    std::string scratch;
    time(f.extractMs, [&](int k) { scratch = clip.ExtractCurrentJpg(m_clip, k); });
    time(f.loadMs, [&](int) { toolkit::LoadPicture(m_host.files, scratch); });
    time(f.paintFitMs, [&](int) { form.window()->repaint(); });
    for (int i = 0; i < 5; ++i) form.imgZoomIn_Click();
    time(f.paintZoomMs, [&](int) { form.window()->repaint(); });
    for (int i = 0; i < 6; ++i) form.imgZoomOut_Click();
  }

  int m_width, m_height;
  toolkit::testing::TestHost m_host;
  std::string m_clip;
  std::vector<std::vector<std::uint8_t>> m_jpegs;
  tjhandle m_tj = nullptr;
  std::vector<std::uint8_t> m_rgb;
};

}  // namespace

int main() {
  toolkit::testing::ensureApplication();
  const auto folder = std::filesystem::temp_directory_path() /
                      ("hg-view-bench-" + std::to_string(static_cast<long>(::getpid())));
  std::filesystem::create_directories(folder);
  std::vector<std::string> lines;
  for (auto [w, h] : {std::pair{1280, 720}, std::pair{1920, 1080}}) {
    const std::string size = std::to_string(w) + "x" + std::to_string(h);
    Figures f;
    {
      Bench bench(w, h, folder);
      f = bench.run();
    }
    std::printf("%s, %d frames, best of %d rounds, ms a frame\n", size.c_str(), kFrames, kRounds);
    std::printf("  plain decoding               %7.2f\n", f.decodeMs);
    std::printf("  tick at the fit              %7.2f\n", f.fitMs);
    std::printf("  tick at six times            %7.2f\n", f.zoomMs);
    std::printf("    extraction to Temp.jpg     %7.2f\n", f.extractMs);
    std::printf("    LoadPicture                %7.2f\n", f.loadMs);
    std::printf("    repaint of the window, fit %7.2f\n", f.paintFitMs);
    std::printf("    repaint at six times       %7.2f\n", f.paintZoomMs);
    char line[128];
    std::snprintf(line, sizeof line, "tick_vs_decode %s fit %.3f", size.c_str(),
                  f.fitMs / f.decodeMs);
    lines.emplace_back(line);
    std::snprintf(line, sizeof line, "tick_vs_decode %s zoom6 %.3f", size.c_str(),
                  f.zoomMs / f.decodeMs);
    lines.emplace_back(line);
  }
  std::error_code ec;
  std::filesystem::remove_all(folder, ec);
  for (const auto& line : lines) std::printf("%s\n", line.c_str());
  return 0;
}
