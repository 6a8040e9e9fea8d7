// The run of hgvtool scan over many clips, clips side by side on the cores. With an output
// folder, each clip's result goes to the journal DIR/scan.jsonl the moment it is done, and the
// report is rebuilt from the journal: an interrupted scan loses only the clips in flight, and
// --resume goes on from it.

#include "scan/scan_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <map>
#include <mutex>
#include <numeric>
#include <optional>
#include <ostream>
#include <thread>

#include "clip/separate_mjpg.h"
#include "scan/clip_walk.h"
#include "scan/journal.h"
#include "scan/record.h"
#include "scan/report.h"
#include "scan/terminal.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/runtime_error.h"

namespace scan {
namespace {

// The folders the walk could not look through, and the clips not to scan, by path, with why.
using Problems = std::map<std::string, std::string>;

// The frames of every clip to scan, from the clips' indexes, for the progress line.
long long countFrames(const std::vector<std::string>& clips) {
  toolkit::PosixFileSystem files;
  toolkit::RecordingMessageSink quiet;
  toolkit::Platform platform{files, quiet, ""};
  long long total = 0;
  for (const std::string& path : clips) {
    clip::SeparateMJPG clip(platform);
    if (clip.InitialAviInfo(path) != toolkit::kFalse) total += clip.SaveAviChunk(path).value();
  }
  return total;
}

// Clips and frames done, frames per second and the time left, on a terminal.
class ScanProgressLine {
 public:
  ScanProgressLine(std::ostream& err, const std::vector<std::string>& clips,
                   const std::vector<ScanProgress>& progress)
      : m_line(err), m_progress(progress), m_total(m_line.on() ? countFrames(clips) : 0) {}

  void show() {
    if (!m_line.on()) return;
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    long long frames = 0;
    std::size_t done = 0;
    for (const ScanProgress& p : m_progress) {
      frames += p.done ? p.totalFrames.load() : p.frames.load();
      done += p.done ? 1 : 0;
    }
    const double fps = elapsed > 0 ? frames / elapsed : 0.0;
    char line[200];
    int written = std::snprintf(line, sizeof line,
                                "scanning: %zu of %zu clips, %lld of %lld frames, %.0f frames/s",
                                done, m_progress.size(), frames, m_total, fps);
    if (fps > 0 && m_total > frames && elapsed > 1) {
      const long long left = std::llround((m_total - frames) / fps);
      written +=
          std::snprintf(line + written, sizeof line - static_cast<std::size_t>(written),
                        ", about %lld:%02lld:%02lld left", left / 3600, left / 60 % 60, left % 60);
    }
    m_line.show(std::string(line, static_cast<std::size_t>(std::max(0, written))));
  }

 private:
  TerminalLine m_line;
  const std::vector<ScanProgress>& m_progress;
  long long m_total;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

// A run of scans: the clips to do, several side by side, each printed in the clips' order as soon
// as it and all before it are done, and each done one written to the journal at once.
class ScanRun {
 public:
  ScanRun(const ScanJob& c, const Problems& problems, const ScanEnvironment& env,
          ScanJournal* journal, std::ostream& out)
      : m_c(c), m_problems(problems), m_env(env), m_journal(journal), m_out(out) {}

  // Scans `clips`; stops early at a signal or at a file that cannot be written.
  void run(const std::vector<std::string>& clips, std::ostream& err,
           const std::function<int()>& stopSignal);

  const std::string& writeError() const { return m_writeError; }
  // Every clip of the run opened and ran to its end.
  bool complete() const { return m_complete; }

 private:
  void work(const std::vector<std::string>& clips, const std::function<int()>& stopSignal,
            int threads);
  void finish(std::size_t i, ClipScan scan);
  void printReady();

  const ScanJob& m_c;
  const Problems& m_problems;
  const ScanEnvironment& m_env;
  toolkit::ResourceBudget* m_budget = nullptr;  // while run() runs
  ScanJournal* m_journal;
  std::ostream& m_out;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<ClipScan> m_scans;
  std::vector<bool> m_ready;
  std::vector<ScanProgress> m_progress;
  std::size_t m_next = 0, m_printed = 0, m_finished = 0;
  std::atomic<bool> m_failed{false};
  std::string m_writeError;
  bool m_complete = true;
};

void ScanRun::run(const std::vector<std::string>& clips, std::ostream& err,
                  const std::function<int()>& stopSignal) {
  std::optional<toolkit::ResourceBudget> own;
  m_budget = m_env.budget ? m_env.budget
                          : &own.emplace(toolkit::ResourceBudget::kDefaultPictureBytes,
                                         toolkit::ResourceBudget::machineThreads());
  // Clips side by side first, as many as the budget has threads (a larger --jobs is cut down to
  // them); the threads left over decode ahead inside each clip's search.
  const toolkit::ThreadLease sideBySide(*m_budget,
                                        std::min<int>(m_c.jobs, static_cast<int>(clips.size())));
  const int jobs = std::max(1, sideBySide.count());
  const int threads = std::max(1, m_budget->threads() / jobs);
  m_scans.assign(clips.size(), {});
  m_ready.assign(clips.size(), false);
  m_progress = std::vector<ScanProgress>(clips.size());
  ScanProgressLine line(err, clips, m_progress);
  std::vector<std::thread> pool;
  for (int k = 0; k < jobs; ++k) pool.emplace_back([&] { work(clips, stopSignal, threads); });
  {
    std::unique_lock lock(m_mutex);
    while (m_finished < clips.size() && !(stopSignal() || m_failed)) {
      m_changed.wait_for(lock, std::chrono::milliseconds(250));
      line.show();
    }
  }
  for (std::thread& t : pool) t.join();
}

void ScanRun::work(const std::vector<std::string>& clips, const std::function<int()>& stopSignal,
                   int threads) {
  ScanOptions options = m_c.scan;
  options.threads = threads;
  options.budget = m_budget;
  options.outFolder = m_c.out;
  options.outFiles = m_env.files;
  options.cancelled = [&] { return stopSignal() != 0 || m_failed; };
  for (;;) {
    std::size_t i;
    {
      std::lock_guard lock(m_mutex);
      if (m_next == clips.size() || options.cancelled()) return;
      i = m_next++;
    }
    try {
      const auto problem = m_problems.find(clips[i]);
      finish(i, problem != m_problems.end() ? walkProblem(clips[i], problem->second)
                                            : scanClip(clips[i], options, &m_progress[i]));
    } catch (const ScanWriteError& e) {
      std::lock_guard lock(m_mutex);
      if (!m_failed.exchange(true)) m_writeError = e.what();
      m_changed.notify_all();
      return;
    } catch (const std::exception& e) {
      // Out of memory or the like: this clip is lost, the others go on.
      ClipScan scan;
      scan.clip = clips[i];
      scan.stamp = stampOf(*m_env.files, clips[i]);
      scan.broke = true;
      scan.boxes.push_back(toolkit::MessageBoxRequest::critical(e.what()));
      finish(i, std::move(scan));
    }
  }
}

void ScanRun::finish(std::size_t i, ClipScan scan) {
  std::lock_guard lock(m_mutex);
  m_progress[i].done = true;
  if (scan.interrupted) {
    m_changed.notify_all();
    return;
  }
  if (m_journal) {
    try {
      m_journal->append(scan);
    } catch (const toolkit::RuntimeError& e) {
      if (!m_failed.exchange(true)) {
        m_writeError = "cannot write " + m_journal->path() + ": " + e.description();
      }
      m_changed.notify_all();
      return;
    }
  }
  if (m_env.afterClip) m_env.afterClip(scan);
  m_complete = m_complete && scan.opened && !scan.broke;
  m_scans[i] = std::move(scan);
  m_ready[i] = true;
  ++m_finished;
  printReady();
  m_changed.notify_all();
}

void ScanRun::printReady() {
  for (; m_printed < m_ready.size() && m_ready[m_printed]; ++m_printed) {
    if (m_c.json) {
      m_out << scanJson(m_scans[m_printed]) << "\n";
    } else {
      printScanText(m_scans[m_printed], m_out);
    }
    m_scans[m_printed] = {};  // printed and in the journal: nothing of it need stay
  }
  m_out << std::flush;
}

// The report rebuilt from the journal; what it says of the clips of this run decides the status.
int writeReport(const ScanJob& c, const std::vector<std::string>& clips, toolkit::FileSystem& files,
                std::ostream& out, std::ostream& err) {
  const std::vector<ClipScan> records = readJournal(files, c.out);
  if (!writeScanReport(files, c.out, records, err)) return 1;
  bool complete = true;
  for (const ClipScan& record : records) {
    if (std::binary_search(clips.begin(), clips.end(), record.clip)) {
      complete = complete && record.opened && !record.broke;
    }
  }
  if (!c.json) out << reportSummary(records, c.out) << "\n";
  return complete ? 0 : 1;
}

// Opens the journal in the job's folder and takes from `todo` the clips it holds done; false,
// said on `err`, when the folder or the journal cannot be made.
bool openJournal(const ScanJob& c, toolkit::FileSystem& files, std::optional<ScanJournal>& journal,
                 std::vector<std::string>& todo, Problems& problems, std::ostream& err) {
  if (!makeFolder(files, c.out, err)) return false;
  journal.emplace(files, c.out);
  try {
    journal->open(c.resume);
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: cannot write " << terminalText(journal->path()) << ": " << e.description()
        << "\n";
    return false;
  }
  std::erase_if(todo,
                [&](const std::string& clip) { return journal->done(clip, stampOf(files, clip)); });
  // A clip whose event files would replace another's is listed, not scanned.
  for (const auto& [clip, other] : clipsSharingNames(todo, journal->clips())) {
    problems[clip] = "not scanned: its event files would have the names of those of " + other;
  }
  return true;
}

}  // namespace

std::vector<std::string> shareOf(toolkit::FileSystem& files, const std::vector<std::string>& clips,
                                 int shard, int shards) {
  // The largest clips first, each to the share that holds the fewest bytes so far.
  std::vector<std::size_t> order(clips.size());
  std::iota(order.begin(), order.end(), 0);
  std::vector<std::int64_t> sizes(clips.size());
  for (std::size_t i = 0; i < clips.size(); ++i) {
    sizes[i] = std::max<std::int64_t>(0, stampOf(files, clips[i]).size);
  }
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return sizes[a] > sizes[b]; });
  std::vector<std::int64_t> load(static_cast<std::size_t>(shards), 0);
  std::vector<bool> mine(clips.size(), false);
  for (std::size_t i : order) {
    const auto lightest =
        static_cast<std::size_t>(std::min_element(load.begin(), load.end()) - load.begin());
    load[lightest] += sizes[i] + 1;  // + 1: empty clips are spread too
    mine[i] = static_cast<int>(lightest) == shard - 1;
  }
  std::vector<std::string> share;
  for (std::size_t i = 0; i < clips.size(); ++i) {
    if (mine[i]) share.push_back(clips[i]);
  }
  return share;
}

int runScanJob(const ScanJob& c, const ScanEnvironment& given,
               const std::function<int()>& stopSignal, std::ostream& out, std::ostream& err) {
  toolkit::PosixFileSystem machine;
  ScanEnvironment env = given;
  if (!env.files) env.files = &machine;
  if (const std::optional<std::string> problem = search::tempFolderProblem()) {
    err << "hgvtool: " << *problem << "\n";
    return 1;
  }
  ClipList found = findClips(*env.files, c.paths, c.extensions);
  Problems problems = std::move(found.problems);
  const std::vector<std::string> clips = shareOf(*env.files, found.clips, c.shard, c.shards);
  if (clips.empty()) {
    err << "hgvtool: no .hgv clips found\n";
    return 1;
  }
  std::optional<ScanJournal> journal;
  std::vector<std::string> todo = clips;
  if (!c.out.empty() && !openJournal(c, *env.files, journal, todo, problems, err)) return 1;
  ScanRun run(c, problems, env, journal ? &*journal : nullptr, out);
  run.run(todo, err, stopSignal);
  int status = 0;
  if (journal) status = writeReport(c, clips, *env.files, out, err);
  if (!run.writeError().empty()) {
    err << "hgvtool: " << terminalText(run.writeError()) << "\n";
    return 1;
  }
  if (const int signal = stopSignal(); signal != 0) return 128 + signal;
  if (!journal && !run.complete()) status = 1;
  return status;
}

}  // namespace scan
