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

#include <functional>
#include <string>
#include <vector>

#include "review/session.h"
#include "search/core/analyse_bmp.h"
#include "search/driver/decode_ahead.h"
#include "toolkit/core/image.h"
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
  // The frame in CurrentFrameFile at its natural size, with a box in RGB(0, 0, 255), line width
  // 1, from each (X, Y) to (X + 8, Y + 8), on the picture's own pixels.
  virtual void MarkFrame(const std::vector<CellPoint>& corners) = 0;
  // What MarkFrame left, saved as a 24-bit bitmap at `path`.
  virtual void SaveMarkedPicture(const std::string& path) = 0;
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
};

class SearchDriver {
 public:
  SearchDriver(review::Session& session, review::Form1Fields& fields, SearchWindow& window,
               view::Transport& transport);

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

 private:
  bool stopChecks(Direction direction);
  void stepPart(Direction direction, bool& reachedEnd, SearchOutcome& outcome);
  // Evaluation: the corners of the changed cells that lie inside SearchArea, in list order.
  std::vector<CellPoint> cellsInside() const;
  void found(const std::vector<CellPoint>& corners);
  void endOfRun(Direction direction);
  void analyse(const std::string& jpgPath);
  // Asks the decoding threads for the frames the next steps of `direction` will reach.
  void decodeAhead(Direction direction);

  review::Session& m_session;
  review::Form1Fields& m_fields;
  SearchWindow& m_window;
  view::Transport& m_transport;
  DecodeAhead* m_ahead = nullptr;
};

// The name of the handler of a direction, for its error box.
const char* handlerName(Direction direction);

// The marks of a result on a picture without a window, pixel for pixel what the window's Line
// draws: for each corner (X, Y) an outline of width 1 in RGB(0, 0, 255) covering both corners
// (X, Y) and (X + 8, Y + 8).
inline constexpr int kMarkSide = 8;
// `scale` draws them on a picture shrunk by that factor, the outlines still one pixel wide and at
// least 3 pixels across, so that they stay visible.
void drawMarks(toolkit::RgbImage& picture, const std::vector<CellPoint>& corners,
               double scale = 1.0);

}  // namespace search
