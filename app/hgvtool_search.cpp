// hgvtool search: the motion search of the window, run by the same driver without a window.

#include <chrono>
#include <cstdio>
#include <optional>
#include <ostream>

#include "app/clip_search.h"
#include "app/hgvtool_commands.h"
#include "search/core/marks.h"
#include "toolkit/core/image.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"

namespace app {
namespace {

using search::Direction;
using toolkit::kFalse;

constexpr const char* kUsage =
    "usage: hgvtool search CLIP [--from N] [--back] [--area L,T,R,B] [--sensitivity TEXT]\n"
    "                      [--threshold T] [--count K | --all] [--marked OUT.bmp] [--json]\n"
    "                      [--threads N]   (threads decoding ahead; default and at most the "
    "cores, 1 in line)\n";

// What the search asks of a window, without one: nothing is shown, the marks are drawn on the
// frame's own picture and saved as the window saves them.
class ToolWindow : public search::SearchWindow {
 public:
  ToolWindow(review::Session& session, review::Form1Fields& fields, std::function<void()> onStep,
             std::function<bool()> stop)
      : m_session(session),
        m_fields(fields),
        m_onStep(std::move(onStep)),
        m_stop(std::move(stop)) {}

  void UpdateBarPosition() override {
    if (m_onStep) m_onStep();
  }
  void StopPlayback() override {}
  void ShowStep() override {}
  void DoEvents() override {
    if (m_stop && m_stop()) m_fields.SearchStopRequested = toolkit::kTrue;
  }
  void setSearchPointer(Direction, bool) override {}
  void ShowCurrentFrame() override {}
  void ShowResult(const clip::FramePtr& frame,
                  const std::vector<search::CellPoint>& corners) override {
    m_session.SeparateMJPG.scratch().putMarked([frame, corners] {
      std::vector<std::uint8_t> marked(frame->bitmap);
      search::drawMarksOnBitmap(marked, corners);
      return marked;
    });
  }
  void ShutDownSession() override {}

 private:
  review::Session& m_session;
  review::Form1Fields& m_fields;
  std::function<void()> m_onStep;
  std::function<bool()> m_stop;
};

}  // namespace

bool runSearches(ToolSession& tool, const SearchOptions& options,
                 const std::function<void(const SearchRecord&)>& onRecord,
                 const std::function<void()>& onStep) {
  review::Session& session = tool.session();
  review::Form1Fields& fields = tool.fields();
  review::OpenSaveFile& o = session.OpenSaveFile;
  clip::SeparateMJPG& clip = session.SeparateMJPG;
  const int total = o.TotalFrames.value();
  if (options.from < -1 || options.from > total) return false;

  search::SearchState& state = tool.search();
  state.DrawRectangle.InitSearchArea({kFitViewWidth, kFitViewHeight},
                                     {clip.ClipWidth, clip.ClipHeight});
  if (options.area) state.DrawRectangle.SearchArea = *options.area;
  state.AnalyseBMP.Sensitivity = options.sensitivity;
  state.AnalyseBMP.ChangeThreshold = static_cast<std::int16_t>(options.threshold);

  // The frame an end mark stands for is the one on show, and the one extracted.
  const int from = static_cast<int>(options.from);
  const int shown = from == -1 ? total - 1 : from == total ? 0 : from;
  o.CurrentFrameFile = clip.ExtractCurrentJpg(o.ClipFileName, shown);
  o.CurrentFrame = from;

  ToolWindow window(session, fields, onStep, options.stop);
  view::Transport transport(session, fields, window);
  search::SearchDriver driver(session, fields, state, window, transport);
  // The frames a search holds may outlive the run, and their reservations the budget object.
  std::optional<toolkit::ResourceBudget> own;
  toolkit::ResourceBudget& budget = options.budget
                                        ? *options.budget
                                        : own.emplace(toolkit::ResourceBudget::kDefaultPictureBytes,
                                                      toolkit::ResourceBudget::machineThreads());
  driver.setBudget(&budget);
  std::unique_ptr<search::DecodeAhead> ahead;
  if (options.threads > 1) {
    ahead = std::make_unique<search::DecodeAhead>(session.platform.files, options.threads, &budget);
    driver.setDecodeAhead(ahead.get());
  }
  std::size_t boxesBefore = tool.boxes().size();
  bool ended = false;
  std::size_t records = 0;
  driver.onFinished = [&](const search::SearchOutcome& outcome) {
    SearchRecord record;
    record.outcome = outcome;
    record.currentFrame = o.CurrentFrame.value();
    record.frame = clip.ExtractedFrame.value();
    record.changeThreshold = state.AnalyseBMP.ChangeThreshold.value();
    record.boxes.assign(tool.boxes().begin() + static_cast<std::ptrdiff_t>(boxesBefore),
                        tool.boxes().end());
    boxesBefore = tool.boxes().size();
    // A result on the last comparison ends the run too: a search on from there would walk the
    // clip again.
    ended = outcome.ended != search::SearchOutcome::Ended::Found || outcome.reachedEnd;
    ++records;
    onRecord(record);
  };
  // Nobody looks into the tool's own program folder between two searches of one run: the scratch
  // files are written when the run ends, as its last search leaves them.
  clip::ScratchFiles& scratch = clip.scratch();
  const bool holdRun = options.scratch == ScratchWrites::AtEnd;
  if (holdRun) scratch.hold();
  try {
    for (int k = 0; options.all || k < options.count; ++k) {
      ended = false;
      const std::size_t recordsBefore = records;
      driver.Click(options.direction);
      // A clip of one frame starts no search: there is nothing to go on with.
      if (records == recordsBefore || (ended && options.all)) break;
      if (options.stop && options.stop()) break;
    }
  } catch (...) {
    if (holdRun) scratch.flush();
    throw;
  }
  if (holdRun) scratch.flush();
  return true;
}

namespace {

struct CommandOptions {
  SearchOptions search;
  std::string clip;
  std::string marked;
  bool json = false;
};

bool parseOptions(const Args& args, CommandOptions& o) {
  bool count = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    long long n = 0;
    if (a == "--json") {
      o.json = true;
    } else if (a == "--back") {
      o.search.direction = Direction::Back;
    } else if (a == "--threads" && hasValue && parseInt(args[i + 1], n) && n >= 1 && n <= 256) {
      o.search.threads = static_cast<int>(n);
      ++i;
    } else if (a == "--all") {
      o.search.all = true;
    } else if (a == "--from" && hasValue && parseInt(args[i + 1], n)) {
      o.search.from = n;
      ++i;
    } else if (a == "--count" && hasValue && parseInt(args[i + 1], n) && n >= 1 && n <= 1000000) {
      o.search.count = static_cast<int>(n);
      count = true;
      ++i;
    } else if (a == "--threshold" && hasValue && parseInt(args[i + 1], n) && n >= INT16_MIN &&
               n <= INT16_MAX) {
      o.search.threshold = static_cast<int>(n);
      ++i;
    } else if (a == "--area" && hasValue) {
      toolkit::Rect area;
      if (!parseArea(args[++i], area)) return false;
      o.search.area = area;
    } else if (a == "--sensitivity" && hasValue) {
      o.search.sensitivity = args[++i];
    } else if (a == "--marked" && hasValue) {
      o.marked = args[++i];
    } else if (a.rfind("--", 0) != 0 && o.clip.empty()) {
      o.clip = a;
    } else {
      return false;
    }
  }
  return !o.clip.empty() && !(count && o.search.all);
}

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
    out << "{\"ended\": \"" << endedName(r.outcome.ended)
        << "\", \"CurrentFrame\": " << r.currentFrame << ", \"frame\": " << r.frame
        << ", \"ChangeThreshold\": " << r.changeThreshold
        << ", \"comparisons\": " << r.outcome.comparisons << ", \"marked\": [";
    for (std::size_t i = 0; i < marked.size(); ++i) {
      out << (i ? ", " : "") << "[" << marked[i].X.value() << ", " << marked[i].Y.value() << "]";
    }
    out << "], \"boxes\": " << boxesJson(r.boxes) << "}\n";
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
  CommandOptions o;
  if (!parseOptions(args, o)) {
    err << kUsage;
    return 2;
  }
  // This thread is the search's own; the others decode ahead, so --threads beyond the budget's
  // threads starts no more than it has.
  const toolkit::ThreadLease own(budget, 1);
  o.search.budget = &budget;
  ToolSession tool(err);
  if (!tool.openClip(o.clip)) return 1;
  bool failed = false;
  bool found = false;
  Progress progress(err);
  try {
    const bool ran = runSearches(
        tool, o.search,
        [&](const SearchRecord& record) {
          failed = failed || record.outcome.ended == search::SearchOutcome::Ended::Error;
          found = found || record.outcome.ended == search::SearchOutcome::Ended::Found;
          printRecord(record, o.json, out);
        },
        [&] { progress.step(); });
    if (ran && tool.session().OpenSaveFile.TotalFrames == toolkit::Integer(1)) {
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
    // The last result's marked picture is the "temp.bmp" it left.
    const std::string bytes = toolkit::readWholeFile(
        tool.platform().files, toolkit::inFolder(tool.platform().programFolder, "temp.bmp"));
    if (!writeFileAtomically(o.marked, {bytes.begin(), bytes.end()}, err)) return 1;
  }
  return failed ? 1 : 0;
}

}  // namespace app
