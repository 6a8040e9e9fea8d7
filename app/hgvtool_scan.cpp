// hgvtool scan: the events of many clips, clips side by side on the cores.

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
#include "app/scan_report.h"
#include "search/driver/decode_ahead.h"

namespace app {
namespace {

constexpr const char* kUsage =
    "usage: hgvtool scan CLIP_OR_FOLDER... [--area L,T,R,B] [--sensitivity TEXT] [--jobs N]\n"
    "                    [--merge-gap D] [--min-event D] [--before D] [--after D]\n"
    "                    [--out DIR [--clips hgv|wmv|mp4]] [--json]\n"
    "       D is seconds (2.5) or frames (5f)\n";

struct ScanCommand {
  std::vector<std::string> paths;
  ScanOptions scan;
  int jobs = search::defaultDecodeThreads();
  std::string out;
  bool json = false;
};

bool parseDuration(const std::string& text, Duration& duration) {
  const std::optional<Duration> parsed = Duration::parse(text);
  if (parsed) duration = *parsed;
  return parsed.has_value();
}

bool parseClips(const std::string& text, EventClips& clips) {
  if (text == "hgv") {
    clips = EventClips::Hgv;
  } else if (text == "wmv") {
    clips = EventClips::Wmv;
  } else if (text == "mp4") {
    clips = EventClips::Mp4;
  } else {
    return false;
  }
  return true;
}

bool parseScan(const Args& args, ScanCommand& c) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    const std::string value = hasValue ? args[i + 1] : std::string();
    long long n = 0;
    EventRules& rules = c.scan.rules;
    bool ok = true;
    if (a == "--json") {
      c.json = true;
      continue;
    }
    if (a.rfind("--", 0) != 0) {
      c.paths.push_back(a);
      continue;
    }
    if (!hasValue) return false;
    if (a == "--jobs") {
      ok = parseInt(value, n) && n >= 1 && n <= 256;
      c.jobs = static_cast<int>(n);
    } else if (a == "--area") {
      toolkit::Rect area;
      ok = parseArea(value, area);
      c.scan.area = area;
    } else if (a == "--sensitivity") {
      c.scan.sensitivity = value;
    } else if (a == "--out") {
      c.out = value;
    } else if (a == "--merge-gap") {
      ok = parseDuration(value, rules.mergeGap);
    } else if (a == "--min-event") {
      ok = parseDuration(value, rules.minEvent);
    } else if (a == "--before") {
      ok = parseDuration(value, rules.before);
    } else if (a == "--after") {
      ok = parseDuration(value, rules.after);
    } else if (a == "--clips") {
      ok = parseClips(value, c.scan.clips);
    } else {
      return false;
    }
    if (!ok) return false;
    ++i;
  }
  // Event clips go beside the report.
  return !c.paths.empty() && (c.scan.clips == EventClips::None || !c.out.empty());
}

// One clip's scan; a clip that fails in any way the scan did not foresee (out of memory, say) is
// reported as broken, and the others go on.
ClipScan scanOneClip(const std::string& clip, const ScanOptions& options, ScanProgress& progress) {
  try {
    return scanClip(clip, options, &progress);
  } catch (const std::exception& e) {
    ClipScan scan;
    scan.clip = clip;
    scan.broke = true;
    scan.boxes.push_back(toolkit::MessageBoxRequest::critical(e.what()));
    progress.done = true;
    return scan;
  }
}

bool makeFolder(const std::string& folder, std::ostream& err) {
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (ec || !std::filesystem::is_directory(folder)) {
    err << "hgvtool: cannot make the folder \"" << folder << "\": " << ec.message() << "\n";
    return false;
  }
  return true;
}

void printReportLine(const std::vector<ClipScan>& scans, const std::string& folder,
                     std::ostream& out) {
  std::size_t events = 0;
  for (const ClipScan& scan : scans) events += scan.events.size();
  out << scans.size() << (scans.size() == 1 ? " clip, " : " clips, ") << events
      << (events == 1 ? " event" : " events") << ": "
      << (std::filesystem::path(folder) / "index.html").string() << "\n";
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

// The scans of `clips`, several side by side: each clip's result printed as soon as it and all
// before it are done, in the clips' order whatever order they finish in.
std::vector<ClipScan> scanAll(const std::vector<std::string>& clips, const ScanCommand& c,
                              std::ostream& out, std::ostream& err) {
  // Clips side by side first; the cores left over decode ahead inside each clip's search.
  const int jobs = std::min<int>(c.jobs, static_cast<int>(clips.size()));
  const int threads = std::max(1, search::defaultDecodeThreads() / jobs);
  std::vector<ClipScan> scans(clips.size());
  std::vector<ScanProgress> progress(clips.size());
  std::vector<bool> ready(clips.size(), false);
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t next = 0, printed = 0, finished = 0;
  const auto printReady = [&] {
    for (; printed < clips.size() && ready[printed]; ++printed) {
      if (c.json) {
        out << scanJson(scans[printed]) << "\n";
      } else {
        printScanText(scans[printed], out);
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
      options.outFolder = c.out;
      ClipScan scan = scanOneClip(clips[i], options, progress[i]);
      std::lock_guard lock(mutex);
      scans[i] = std::move(scan);
      ready[i] = true;
      ++finished;
      printReady();
      changed.notify_all();
    }
  };
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
  return scans;
}

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
  if (!c.out.empty() && !makeFolder(c.out, err)) return 1;
  const auto start = std::chrono::steady_clock::now();
  const std::vector<ClipScan> scans = scanAll(clips, c, out, err);
  ScanTotals totals;
  totals.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  bool complete = true;
  for (const ClipScan& scan : scans) {
    complete = complete && scan.opened && !scan.broke;
    if (scan.opened) totals.frames += scan.totalFrames;
  }
  if (!c.out.empty()) {
    if (!writeScanReport(c.out, scans, totals, err)) return 1;
    if (!c.json) printReportLine(scans, c.out, out);
  }
  return complete ? 0 : 1;
}

}  // namespace app
