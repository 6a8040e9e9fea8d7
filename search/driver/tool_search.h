#pragma once

// The motion search of hgvtool: the window's search driver on a session without a window, for
// one clip at a time. hgvtool search prints what it finds; hgvtool scan runs it over many clips.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "search/driver/decode_ahead.h"
#include "search/driver/search_driver.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/rect.h"
#include "toolkit/core/resource_budget.h"

namespace search {

// When a run of searches writes the scratch files of its program folder.
enum class ScratchWrites {
  AtEnd,            // once, as the last search leaves them
  AfterEachSearch,  // as the window does, for whoever looks between two searches
};

struct SearchOptions {
  // CurrentFrame at the first click: a frame number, or an end mark (-1, TotalFrames).
  long long from = 0;
  Direction direction = Direction::Forward;
  // SearchArea in pixels of the picture; by default what a new clip gets in the window at fit.
  std::optional<toolkit::Rect> area;
  std::string sensitivity;  // empty, as at program start
  int threshold = 0;        // ChangeThreshold carried in
  int count = 1;            // searches one after another, each from where the last one stopped
  bool all = false;         // on until a search comes to the end of the run
  // Threads decoding ahead of the search; 1 decodes in line. Those beyond the search's own come
  // from the budget's threads, and no more than it has left are started.
  int threads = defaultDecodeThreads();
  // The process's budget for pictures in flight and threads, which must outlive the run; none: a
  // budget of the run's own, of the default picture bytes and the machine's threads.
  toolkit::ResourceBudget* budget = nullptr;
  ScratchWrites scratch = ScratchWrites::AtEnd;
  // Asked at every yield; true stops the running search as the pause button does, and no other
  // search follows.
  std::function<bool()> stop;
};

// One search as the window would have left it.
struct SearchRecord {
  SearchOutcome outcome;
  int currentFrame = 0;  // CurrentFrame, with its end marks
  int frame = 0;         // the real frame on show, from 0
  int changeThreshold = 0;
  std::vector<toolkit::MessageBoxRequest> boxes;  // shown during this search
};

// The window's view at fit: picBase is 598 x 361 pixels.
inline constexpr int kFitViewWidth = 598;
inline constexpr int kFitViewHeight = 361;

// Runs the searches of `options` on a session whose clip is open. `onRecord` sees each search as
// it ends; `onStep` each frame the searches step onto. Returns false when `from` is out of range.
bool runSearches(ToolSession& session, const SearchOptions& options,
                 const std::function<void(const SearchRecord&)>& onRecord,
                 const std::function<void()>& onStep = {});

}  // namespace search
