#pragma once

// The motion search: imgLeftSearch_Click and imgRightSearch_Click are one procedure, Click, with
// the direction as its argument. It walks the clip one frame at a time with the transport's own
// steps, compares each frame with the one before it, and stops at the first frame with a changed
// cell inside SearchArea, which it marks. The window and hgvtool run this same procedure; what it
// needs of a window (the yields, the bar, the drawing, the cursor) it asks of SearchWindow.
//
// A search is one long handler. It yields once or twice a frame, and whatever reaches the window
// meanwhile (a second click, the other button, pause, closing the window) comes as a nested
// handler that only sets a flag: a click on a search button while one runs comes back into Click
// and sets the flags, and the running search looks at them at its next stop check.
//
// Each step yields a clip::Frame, which is decoded once (here or on a thread of DecodeAhead) and
// compared as that value. The scratch files are held back while the search walks and written when
// it ends, however it ends.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "clip/frame.h"
#include "review/session.h"
#include "search/core/analyse_bmp.h"
#include "search/core/frame_decoder.h"
#include "search/core/search_state.h"
#include "search/driver/decode_ahead.h"
#include "view/transport.h"

namespace search {

enum class Direction { Back, Forward };

class SearchWindow : public view::TransportWindow {
 public:
  // Lets every pending event run, then returns.
  virtual void DoEvents() = 0;
  // The wait cursor over the search button of `direction`, or the default one.
  virtual void setSearchPointer(Direction direction, bool wait) = 0;
  virtual void ShowCurrentFrame() = 0;
  // A result: the frame's picture at its natural size with a box in RGB(0, 0, 255), line width
  // 1, from each (X, Y) to (X + 8, Y + 8) on the picture's own pixels, put into "temp.bmp"
  // through the scratch files and shown like any frame.
  virtual void ShowResult(const clip::FramePtr& frame, const std::vector<CellPoint>& corners) = 0;
  virtual void ShutDownSession() = 0;

 protected:
  ~SearchWindow() = default;
};

// How one search ended, for whoever asked for it (hgvtool, tests).
struct SearchOutcome {
  enum class Ended { Found, EndOfRun, Stopped, Error };
  Direction direction = Direction::Forward;
  Ended ended = Ended::Stopped;
  int comparisons = 0;
  bool reachedEnd = false;        // the last step came to the end of the run
  std::vector<CellPoint> marked;  // the corners drawn, in drawing order
  clip::FramePtr frame;           // the frame found
};

class SearchDriver {
 public:
  SearchDriver(review::Session& session, review::Form1Fields& fields, SearchState& state,
               SearchWindow& window, view::Transport& transport);

  // A click on the search button of `direction`. Starts a search (a clip of more than one frame,
  // no search area being chosen), or, while one runs, asks it to stop; a click on the other
  // button also asks for a search the other way once this one has ended.
  //
  // A run-time error inside the search (the clip has gone, the threshold overflows) ends it as a
  // stop does, with one box under the handler's name.
  void Click(Direction direction);

  // Called at the end of every search, nested ones included, before the next one starts.
  std::function<void(const SearchOutcome&)> onFinished;

  // Threads that decode the next frames while the search compares; none decodes in the search's
  // own order of work. The search finds and leaves exactly the same either way.
  void setDecodeAhead(DecodeAhead* ahead) { m_ahead = ahead; }
  // The budget the frames the search decodes in line hold their pictures in (FrameDecoder);
  // none by default.
  void setBudget(toolkit::ResourceBudget* budget) { m_decoder.setBudget(budget); }

 private:
  // Why the walk over the frames ended, short of an error.
  enum class Stop { Found, EndOfRun, StopRequested, CloseRequested };

  // The guards and a click during a search; true when a search is to start.
  bool begin(Direction direction);
  // The passes from the priming one until a stop; fills in the outcome's comparisons.
  Stop walk(Direction direction, SearchOutcome& outcome);
  // After the walk: the result, the end of the run, or the stop.
  void conclude(Stop stop, Direction direction, SearchOutcome& outcome);
  void finish(Direction direction, const SearchOutcome& outcome);

  void prime();
  std::optional<Stop> stopChecks();
  void stepPart(Direction direction, bool& reachedEnd, SearchOutcome& outcome);
  // Evaluation: the corners of the changed cells that lie inside SearchArea, in list order.
  std::vector<CellPoint> cellsInside() const;
  void found(const std::vector<CellPoint>& corners, SearchOutcome& outcome);
  void endOfRun(Direction direction);
  // Decodes the frame as "Temp.jpg" holds it, compares it, puts it into "1.bmp" and shows the box
  // of a refused bitmap.
  void analyse(const clip::FramePtr& frame);
  // The frames from the threads and the scratch files held back, for the walk; and back.
  void holdFrames();
  void releaseFrames();
  // Asks the decoding threads for the frames the next steps of `direction` will reach.
  void decodeAhead(Direction direction);

  review::Session& m_session;
  review::Form1Fields& m_fields;
  SearchState& m_state;
  SearchWindow& m_window;
  view::Transport& m_transport;
  DecodeAhead* m_ahead = nullptr;
  FrameDecoder m_decoder;
  std::vector<CellPoint> m_inside;  // the result of the walk's last evaluation
  bool m_holding = false;           // the frames and scratch files are held for a walk
};

// The name of the handler of a direction, for its error box.
const char* handlerName(Direction direction);

}  // namespace search
