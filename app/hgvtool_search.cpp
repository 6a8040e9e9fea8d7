// hgvtool search: the motion search of the window, run by the same driver without a window.

#include <chrono>
#include <climits>
#include <cstdio>
#include <optional>
#include <ostream>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "scan/json_text.h"
#include "scan/report.h"
#include "scan/terminal.h"
#include "search/core/marks.h"
#include "search/driver/tool_search.h"
#include "toolkit/core/image.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"

namespace app {

using scan::TerminalLine;
using search::SearchOptions;
using search::SearchRecord;
using search::ToolSession;
namespace {

using search::Direction;
using toolkit::kFalse;

struct CommandOptions {
  SearchOptions search;
  std::vector<std::string> clip;
  std::string marked;
  bool json = false;
};

struct SearchCommand {
  CommandOptions o;
  // Where the search's options start, as the window starts them.
  long long from = o.search.from, threshold = o.search.threshold, count = o.search.count,
            threads = o.search.threads;
  bool back = false;
  CommandLine line{"hgvtool search"};

  SearchCommand() {
    line.positionals("CLIP", o.clip, 1);
    line.number("--from", "N", from, LLONG_MIN, LLONG_MAX);
    line.flag("--back", back);
    line.value("--area", "L,T,R,B", [this](const std::string& text) {
      toolkit::Rect area;
      if (!parseArea(text, area)) return false;
      o.search.area = area;
      return true;
    });
    line.text("--sensitivity", "TEXT", o.search.sensitivity);
    line.number("--threshold", "T", threshold, INT16_MIN, INT16_MAX);
    line.oneOf({line.number("--count", "K", count, 1, 1000000), line.flag("--all", o.search.all)},
               false);
    line.text("--marked", "OUT.bmp", o.marked);
    line.flag("--json", o.json);
    line.number("--threads", "N", threads, 1, 256);
    line.note("--threads: the threads decoding ahead; by default and at most the cores, 1 in line");
  }

  // The options into the search's own, once the line is parsed.
  bool parse(const Args& args) {
    if (!line.parse(args)) return false;
    SearchOptions& s = o.search;
    if (back) s.direction = Direction::Back;
    s.from = from;
    s.threshold = static_cast<int>(threshold);
    s.count = static_cast<int>(count);
    s.threads = static_cast<int>(threads);
    return true;
  }
};

const char* endedName(search::SearchOutcome::Ended ended) {
  switch (ended) {
    case search::SearchOutcome::Ended::Found:
      return "found";
    case search::SearchOutcome::Ended::EndOfRun:
      return "end_of_run";
    case search::SearchOutcome::Ended::Stopped:
      return "stopped";
    case search::SearchOutcome::Ended::Error:
      return "error";
  }
  return "error";
}

void printRecord(const SearchRecord& r, bool json, std::ostream& out) {
  const auto& marked = r.outcome.marked;
  if (json) {
    nlohmann::ordered_json record = {{"ended", endedName(r.outcome.ended)},
                                     {"CurrentFrame", r.currentFrame},
                                     {"frame", r.frame},
                                     {"ChangeThreshold", r.changeThreshold},
                                     {"comparisons", r.outcome.comparisons},
                                     {"marked", nlohmann::ordered_json::array()}};
    for (const auto& p : marked) record["marked"].push_back({p.X.value(), p.Y.value()});
    record["boxes"] = scan::boxesValue(r.boxes);
    out << scan::jsonText(record) << "\n";
    return;
  }
  switch (r.outcome.ended) {
    case search::SearchOutcome::Ended::Found:
      out << "motion at frame " << r.frame + 1 << ": " << marked.size()
          << (marked.size() == 1 ? " cell\n" : " cells\n");
      break;
    case search::SearchOutcome::Ended::EndOfRun:
      out << "end of the run at frame " << r.frame + 1 << "\n";
      break;
    default:
      out << "search ended at frame " << r.frame + 1 << " with an error\n";
  }
}

// Frames done and frames per second on a terminal, at most a few times a second.
class Progress {
 public:
  explicit Progress(std::ostream& err) : m_line(err) {}
  void step() {
    ++m_frames;
    if (!m_line.on()) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_shown < std::chrono::milliseconds(200)) return;
    m_shown = now;
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    char line[96];
    std::snprintf(line, sizeof line, "searching: %ld frames, %.0f frames/s",
                  static_cast<long>(m_frames), seconds > 0 ? m_frames / seconds : 0.0);
    m_line.show(line);
  }

 private:
  TerminalLine m_line;
  long m_frames = 0;
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point m_shown = m_start;
};

}  // namespace

int runSearch(const Args& args, std::ostream& out, std::ostream& err) {
  toolkit::ResourceBudget budget(toolkit::ResourceBudget::kDefaultPictureBytes,
                                 toolkit::ResourceBudget::machineThreads());
  return runSearchWithin(args, out, err, budget);
}

int runSearchWithin(const Args& args, std::ostream& out, std::ostream& err,
                    toolkit::ResourceBudget& budget) {
  SearchCommand command;
  if (!command.parse(args)) {
    err << command.line.usage();
    return 2;
  }
  CommandOptions& o = command.o;
  // This thread is the search's own; the others decode ahead, so --threads beyond the budget's
  // threads starts no more than it has.
  const toolkit::ThreadLease own(budget, 1);
  o.search.budget = &budget;
  ToolSession tool(err);
  // A video decodes on as many threads as the search would decode ahead on.
  tool.session().SeparateMJPG.VideoThreads = std::min(o.search.threads, budget.threads());
  if (!tool.openClip(o.clip[0])) return 1;
  bool failed = false;
  bool found = false;
  // The last result: its marked bitmap is what it left in "temp.bmp".
  clip::FramePtr foundFrame;
  std::vector<search::CellPoint> foundMarks;
  Progress progress(err);
  try {
    const bool ran = runSearches(
        tool, o.search,
        [&](const SearchRecord& record) {
          failed = failed || record.outcome.ended == search::SearchOutcome::Ended::Error;
          if (record.outcome.ended == search::SearchOutcome::Ended::Found) {
            found = true;
            foundFrame = record.outcome.frame;
            foundMarks = record.outcome.marked;
          }
          printRecord(record, o.json, out);
        },
        [&] { progress.step(); });
    if (ran && tool.session().OpenSaveFile.TotalFrames == toolkit::Long(1)) {
      err << "hgvtool: a clip of one frame has nothing to search\n";
    }
    if (!ran) {
      err << "hgvtool: --from takes -1 to " << tool.session().OpenSaveFile.TotalFrames.value()
          << "\n";
      return 2;
    }
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: Error " << e.number() << ": " << e.description() << "\n";
    return 1;
  }
  if (!o.marked.empty() && found) {
    const std::vector<std::uint8_t> bytes = search::markedBitmap(*foundFrame, foundMarks);
    if (!writeFileAtomically(o.marked, {bytes.begin(), bytes.end()}, err)) return 1;
  }
  return failed ? 1 : 0;
}

std::string searchSynopsis(std::size_t indent) { return SearchCommand().line.synopsis(indent); }

}  // namespace app
