// hgvtool scan: the activity list of many clips, clips side by side on the cores.

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <mutex>
#include <ostream>
#include <thread>

#include "app/clip_scan.h"
#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "search/driver/decode_ahead.h"

namespace app {
namespace {

constexpr const char* kUsage =
    "usage: hgvtool scan CLIP_OR_FOLDER... [--area L,T,R,B] [--sensitivity TEXT] [--jobs N]\n"
    "                    [--out DIR] [--json]\n";

struct ScanCommand {
  std::vector<std::string> paths;
  ScanOptions scan;
  int jobs = search::defaultDecodeThreads();
  std::string out;
  bool json = false;
};

bool parseScan(const Args& args, ScanCommand& c) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    long long n = 0;
    if (a == "--json") {
      c.json = true;
    } else if (a == "--jobs" && hasValue && parseInt(args[i + 1], n) && n >= 1 && n <= 256) {
      c.jobs = static_cast<int>(n);
      ++i;
    } else if (a == "--area" && hasValue) {
      toolkit::Rect area;
      if (!parseArea(args[++i], area)) return false;
      c.scan.area = area;
    } else if (a == "--sensitivity" && hasValue) {
      c.scan.sensitivity = args[++i];
    } else if (a == "--out" && hasValue) {
      c.out = args[++i];
    } else if (a.rfind("--", 0) != 0) {
      c.paths.push_back(a);
    } else {
      return false;
    }
  }
  return !c.paths.empty();
}

// Letters, digits, '-' and '_' of a clip's name: a thumbnail's name needs no escaping anywhere.
std::string safeStem(const std::string& path) {
  std::string stem;
  for (char ch : std::filesystem::path(path).stem().string()) {
    const auto u = static_cast<unsigned char>(ch);
    stem += (std::isalnum(u) || ch == '-' || ch == '_') ? ch : '_';
  }
  return stem.substr(0, 40);
}

void printText(const ClipScan& scan, std::ostream& out) {
  out << scan.clip << ": ";
  if (!scan.opened) {
    out << "not opened";
  } else {
    out << scan.totalFrames << " frames, " << scan.events.size()
        << (scan.events.size() == 1 ? " event" : " events");
    if (scan.broke) out << ", stopped by an error";
  }
  if (!scan.boxes.empty()) out << "\n  " << scanMessage(scan);
  out << "\n";
  for (const ScanEvent& e : scan.events) {
    char line[96];
    std::snprintf(line, sizeof line, "  motion at frame %d (%.2f s), %zu %s\n", e.frame + 1,
                  e.seconds, e.marked.size(), e.marked.size() == 1 ? "cell" : "cells");
    out << line;
  }
}

// Clips done, frames per second and the time left, on a terminal.
class ScanProgressLine {
 public:
  ScanProgressLine(std::ostream& err, const std::vector<std::string>& clips,
                   const std::vector<ScanProgress>& progress)
      : m_line(err), m_progress(progress) {
    for (const std::string& clip : clips) {
      std::error_code ec;
      const auto size = std::filesystem::file_size(clip, ec);
      m_sizes.push_back(ec ? 0.0 : static_cast<double>(size));
      m_totalSize += m_sizes.back();
    }
  }
  void show() {
    if (!m_line.on()) return;
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    long long frames = 0;
    std::size_t done = 0;
    double share = 0;  // of the bytes of all clips, what is scanned
    for (std::size_t i = 0; i < m_progress.size(); ++i) {
      const ScanProgress& p = m_progress[i];
      frames += p.frames;
      if (p.done) {
        ++done;
        share += m_sizes[i];
      } else if (p.totalFrames > 0) {
        share += m_sizes[i] * std::min(1.0, static_cast<double>(p.frames) / p.totalFrames);
      }
    }
    char line[160];
    const int written =
        std::snprintf(line, sizeof line, "scanning: %zu of %zu clips, %.0f frames/s", done,
                      m_progress.size(), elapsed > 0 ? frames / elapsed : 0.0);
    std::string text(line, static_cast<std::size_t>(std::max(0, written)));
    if (share > 0 && m_totalSize > 0 && elapsed > 1) {
      const long long left = std::llround(elapsed * (m_totalSize - share) / share);
      std::snprintf(line, sizeof line, ", about %lld:%02lld left", left / 60, left % 60);
      text += line;
    }
    m_line.show(text);
  }

 private:
  TerminalLine m_line;
  const std::vector<ScanProgress>& m_progress;
  std::vector<double> m_sizes;
  double m_totalSize = 0;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace

int runScan(const Args& args, std::ostream& out, std::ostream& err) {
  ScanCommand c;
  if (!parseScan(args, c)) {
    err << kUsage;
    return 2;
  }
  const std::vector<std::string> clips = findClips(c.paths);
  if (clips.empty()) {
    err << "hgvtool: no .hgv clips found\n";
    return 1;
  }
  if (!c.out.empty()) {
    std::error_code ec;
    std::filesystem::create_directories(c.out, ec);
    if (ec || !std::filesystem::is_directory(c.out)) {
      err << "hgvtool: cannot make the folder \"" << c.out << "\": " << ec.message() << "\n";
      return 1;
    }
  }
  // Clips side by side first; the cores left over decode ahead inside each clip's search.
  const int jobs = std::min<int>(c.jobs, static_cast<int>(clips.size()));
  const int threads = std::max(1, search::defaultDecodeThreads() / jobs);

  std::vector<ClipScan> scans(clips.size());
  std::vector<ScanProgress> progress(clips.size());
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t next = 0, printed = 0, finished = 0;
  std::vector<bool> ready(clips.size(), false);
  const auto printReady = [&] {
    // In the clips' order, whatever order they finish in.
    for (; printed < clips.size() && ready[printed]; ++printed) {
      if (c.json) {
        out << scanJson(scans[printed]) << "\n";
      } else if (c.out.empty()) {
        printText(scans[printed], out);
      }
    }
    out << std::flush;
  };
  const auto work = [&] {
    for (;;) {
      std::size_t i;
      {
        std::lock_guard lock(mutex);
        if (next == clips.size()) return;
        i = next++;
      }
      ScanOptions options = c.scan;
      options.threads = threads;
      if (!c.out.empty()) {
        char number[16];
        std::snprintf(number, sizeof number, "%03zu", i + 1);
        options.thumbnailFolder = c.out;
        options.thumbnailPrefix = std::string(number) + "-" + safeStem(clips[i]) + "-";
      }
      ClipScan scan;
      try {
        scan = scanClip(clips[i], options, &progress[i]);
      } catch (const std::exception& e) {
        // Out of memory or the like: this clip is lost, the others go on.
        scan.clip = clips[i];
        scan.broke = true;
        scan.boxes.push_back(toolkit::MessageBoxRequest::critical(e.what()));
        progress[i].done = true;
      }
      std::lock_guard lock(mutex);
      scans[i] = std::move(scan);
      ready[i] = true;
      ++finished;
      printReady();
      changed.notify_all();
    }
  };
  {
    ScanProgressLine line(err, clips, progress);
    std::vector<std::thread> pool;
    for (int k = 0; k < jobs; ++k) pool.emplace_back(work);
    {
      std::unique_lock lock(mutex);
      while (finished < clips.size()) {
        changed.wait_for(lock, std::chrono::milliseconds(250));
        line.show();
      }
    }
    for (std::thread& t : pool) t.join();
  }

  bool complete = true;
  for (const ClipScan& scan : scans) complete = complete && scan.opened && !scan.broke;
  if (!c.out.empty()) {
    if (!writeScanReport(c.out, scans, err)) return 1;
    if (!c.json) {
      std::size_t events = 0;
      for (const ClipScan& scan : scans) events += scan.events.size();
      out << clips.size() << (clips.size() == 1 ? " clip, " : " clips, ") << events
          << (events == 1 ? " event" : " events") << ": "
          << (std::filesystem::path(c.out) / "index.html").string() << "\n";
    }
  }
  return complete ? 0 : 1;
}

}  // namespace app
