// The window's search driver on a session without a window: what hgvtool search and each clip of
// hgvtool scan run.

#include "search/driver/tool_search.h"

#include <memory>
#include <optional>

#include "search/core/marks.h"
#include "view/transport.h"

namespace search {
namespace {

// What the search asks of a window, without one: nothing is shown, the marks are drawn on the
// frame's own picture and saved as the window saves them.
class ToolWindow : public SearchWindow {
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
  void ShowResult(const clip::FramePtr& frame, const std::vector<CellPoint>& corners) override {
    m_session.SeparateMJPG.scratch().putMarked(
        [frame, corners] { return markedBitmap(*frame, corners); });
  }
  void ShutDownSession() override {}

 private:
  review::Session& m_session;
  review::Form1Fields& m_fields;
  std::function<void()> m_onStep;
  std::function<bool()> m_stop;
};

// The search's state as the window leaves it for a new clip at fit, with the options' changes.
void prepareState(SearchState& state, const clip::SeparateMJPG& clip,
                  const SearchOptions& options) {
  state.DrawRectangle.InitSearchArea({kFitViewWidth, kFitViewHeight},
                                     {clip.ClipWidth, clip.ClipHeight});
  if (options.area) state.DrawRectangle.SearchArea = *options.area;
  state.AnalyseBMP.Sensitivity = options.sensitivity;
  state.AnalyseBMP.ChangeThreshold = static_cast<std::int16_t>(options.threshold);
}

// Clicks the search button as often as the options ask. `records` counts the searches ended so
// far and `ended` says whether the last one came to the end of the run. Nobody looks into the
// tool's own program folder between two searches of one run: unless asked otherwise, the scratch
// files are written when the run ends, as its last search leaves them.
void clickSearches(SearchDriver& driver, const SearchOptions& options, clip::ScratchFiles& scratch,
                   const std::size_t& records, bool& ended) {
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
}

}  // namespace

bool runSearches(ToolSession& tool, const SearchOptions& options,
                 const std::function<void(const SearchRecord&)>& onRecord,
                 const std::function<void()>& onStep) {
  review::Session& session = tool.session();
  review::OpenSaveFile& o = session.OpenSaveFile;
  clip::SeparateMJPG& clip = session.SeparateMJPG;
  const int total = o.TotalFrames.value();
  if (options.from < -1 || options.from > total) return false;
  SearchState& state = tool.search();
  prepareState(state, clip, options);

  // The frame an end mark stands for is the one on show, and the one extracted.
  const int from = static_cast<int>(options.from);
  const int shown = from == -1 ? total - 1 : from == total ? 0 : from;
  o.CurrentFrameFile = clip.ExtractCurrentJpg(o.ClipFileName, shown);
  o.CurrentFrame = from;

  ToolWindow window(session, tool.fields(), onStep, options.stop);
  view::Transport transport(session, tool.fields(), window);
  SearchDriver driver(session, tool.fields(), state, window, transport);
  // The frames a search holds may outlive the run, and their reservations the budget object.
  std::optional<toolkit::ResourceBudget> own;
  toolkit::ResourceBudget& budget = options.budget
                                        ? *options.budget
                                        : own.emplace(toolkit::ResourceBudget::kDefaultPictureBytes,
                                                      toolkit::ResourceBudget::machineThreads());
  driver.setBudget(&budget);
  std::unique_ptr<DecodeAhead> ahead;
  if (options.threads > 1) {
    ahead = std::make_unique<DecodeAhead>(session.platform.files, options.threads, &budget);
    driver.setDecodeAhead(ahead.get());
  }
  std::size_t boxesBefore = tool.boxes().size();
  bool ended = false;
  std::size_t records = 0;
  driver.onFinished = [&](const SearchOutcome& outcome) {
    SearchRecord record{
        outcome,
        o.CurrentFrame.value(),
        clip.ExtractedFrame.value(),
        state.AnalyseBMP.ChangeThreshold.value(),
        {tool.boxes().begin() + static_cast<std::ptrdiff_t>(boxesBefore), tool.boxes().end()}};
    boxesBefore = tool.boxes().size();
    // A result on the last comparison ends the run too: a search on from there would walk the
    // clip again.
    ended = outcome.ended != SearchOutcome::Ended::Found || outcome.reachedEnd;
    ++records;
    onRecord(record);
  };
  clickSearches(driver, options, clip.scratch(), records, ended);
  return true;
}

}  // namespace search
