#include "search/driver/search_driver.h"

#include <algorithm>
#include <cmath>

#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"

namespace search {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;

const char* handlerName(Direction direction) {
  return direction == Direction::Back ? "imgLeftSearch_Click" : "imgRightSearch_Click";
}

void drawMarks(toolkit::RgbImage& picture, const std::vector<CellPoint>& corners, double scale) {
  const auto put = [&](int x, int y) {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
    auto* p = &picture.pixels[(static_cast<std::size_t>(y) * picture.width + x) * 3];
    p[0] = 0;
    p[1] = 0;
    p[2] = 255;
  };
  const int side = std::max(3, static_cast<int>(std::lround(kMarkSide * scale)));
  for (const CellPoint& corner : corners) {
    const auto x = static_cast<int>(std::floor(corner.X.value() * scale));
    const auto y = static_cast<int>(std::floor(corner.Y.value() * scale));
    for (int i = 0; i <= side; ++i) {
      put(x + i, y);
      put(x + i, y + side);
      put(x, y + i);
      put(x + side, y + i);
    }
  }
}

SearchDriver::SearchDriver(review::Session& session, review::Form1Fields& fields,
                           SearchWindow& window, view::Transport& transport)
    : m_session(session), m_fields(fields), m_window(window), m_transport(transport) {}

void SearchDriver::Click(Direction direction) {
  review::Form1Fields& f = m_fields;
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  const Direction otherDirection =
      direction == Direction::Back ? Direction::Forward : Direction::Back;
  Boolean& own = direction == Direction::Back ? f.SearchingBack : f.SearchingForward;
  Boolean& other = direction == Direction::Back ? f.SearchingForward : f.SearchingBack;

  if (!m_session.clipHasFrames() || m_session.DrawRectangle.SearchAreaEditing != kFalse) return;
  m_window.StopPlayback();
  if (o.TotalFrames == Integer(1)) return;
  if (f.SearchingBack != kFalse || f.SearchingForward != kFalse) {
    // A nested click while a search runs: the running search sees it at its next stop check.
    own = kTrue;
    f.SearchStopRequested = kTrue;
    return;
  }
  f.SearchStopRequested = kFalse;
  own = kTrue;
  f.MarkedPictureShowing = kFalse;

  if (m_ahead) {
    m_session.AnalyseBMP.setAheadSource(
        [this](std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap) {
          const clip::SeparateMJPG& clip = m_session.SeparateMJPG;
          return m_ahead->take(clip.ClipPath, clip.ExtractedFrame.value(), jpeg, bitmap);
        });
  }
  SearchOutcome outcome;
  outcome.direction = direction;
  bool reachedEnd = false;
  int yields = 2;
  try {
    for (;;) {
      for (int i = 0; i < yields; ++i) m_window.DoEvents();
      yields = 1;
      m_window.setSearchPointer(direction, true);
      const bool a = o.SearchPhaseA != kFalse;
      const bool b = o.SearchPhaseB != kFalse;
      AnalyseBMP& comparison = m_session.AnalyseBMP;
      if (a && b && reachedEnd) {
        endOfRun(direction);
        outcome.ended = SearchOutcome::Ended::EndOfRun;
        break;
      }
      if (a && b) {
        // The priming pass stores the frame the search starts from. A marked picture on show is
        // not that frame: its own JPEG is.
        const bool markedOnShow =
            !f.MarkedPicturePath.empty() && o.CurrentFrameFile == f.MarkedPicturePath;
        comparison.StoreInA = kTrue;
        comparison.StoreInB = kFalse;
        analyse(markedOnShow ? f.FramePicturePath : o.CurrentFrameFile);
        comparison.StoreInB = kTrue;
        comparison.StoreInA = kFalse;
        o.SearchPhaseA = kTrue;
        o.SearchPhaseB = kFalse;
      } else if (a) {
        if (stopChecks(direction)) break;
        comparison.StoreInA = kTrue;
        comparison.StoreInB = kFalse;
        o.SearchPhaseA = kFalse;
        o.SearchPhaseB = kTrue;
      } else if (b) {
        if (stopChecks(direction)) break;
        comparison.StoreInB = kTrue;
        comparison.StoreInA = kFalse;
        o.SearchPhaseA = kTrue;
        o.SearchPhaseB = kFalse;
      } else {
        continue;
      }

      stepPart(direction, reachedEnd, outcome);
      if (comparison.ChangedCellCount == toolkit::Long(0)) continue;

      m_window.setSearchPointer(direction, false);
      std::vector<CellPoint> inside = cellsInside();
      if (inside.empty()) {
        yields = 2;
        continue;
      }
      found(inside);
      outcome.ended = SearchOutcome::Ended::Found;
      outcome.marked = std::move(inside);
      break;
    }
  } catch (const toolkit::RuntimeError& e) {
    m_window.setSearchPointer(direction, false);
    outcome.ended = SearchOutcome::Ended::Error;
    m_session.platform.messages.show(
        toolkit::MessageBoxRequest::critical(toolkit::errorBoxText(handlerName(direction), e)));
  }

  // Frames decoded ahead stay for a search that goes on from here; the next want() drops those
  // it does not reach.
  if (m_ahead) m_session.AnalyseBMP.setAheadSource({});

  // Finish.
  o.SearchPhaseA = kTrue;
  o.SearchPhaseB = kTrue;
  own = kFalse;
  if (onFinished) onFinished(outcome);
  if (other != kFalse) {
    other = kFalse;
    Click(otherDirection);
  }
  if (f.CloseRequested != kFalse) {
    f.CloseRequested = kFalse;
    m_window.ShutDownSession();
  }
}

bool SearchDriver::stopChecks(Direction direction) {
  if (m_fields.SearchStopRequested != kFalse) {
    m_fields.SearchStopRequested = kFalse;
    m_transport.PausePlay();
    m_window.setSearchPointer(direction, false);
    return true;
  }
  if (m_fields.CloseRequested != kFalse) {
    m_window.setSearchPointer(direction, false);
    return true;
  }
  return false;
}

void SearchDriver::stepPart(Direction direction, bool& reachedEnd, SearchOutcome& outcome) {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  if (m_ahead) decodeAhead(direction);
  // The two ends differ: forward ends on the last frame, since StepForward leaves -1 there;
  // backward passes frame 0 (which leaves TotalFrames) and ends one step later, on the last frame.
  if (direction == Direction::Back) {
    m_transport.StepBack();
    if (o.CurrentFrame.value() == o.TotalFrames.value() - 1) reachedEnd = true;
  } else {
    m_transport.StepForward();
    if (o.CurrentFrame == Integer(-1)) reachedEnd = true;
  }
  analyse(o.CurrentFrameFile);
  ++outcome.comparisons;
  if (reachedEnd) {
    outcome.reachedEnd = true;
    o.SearchPhaseA = kTrue;
    o.SearchPhaseB = kTrue;
  }
}

void SearchDriver::decodeAhead(Direction direction) {
  const clip::SeparateMJPG& clip = m_session.SeparateMJPG;
  const auto total =
      static_cast<std::int64_t>(std::min(clip.FrameSizes.size(), clip.FramePositions.size()));
  if (total <= 0) return;
  const int depth = 2 * m_ahead->threads() + 1;
  std::vector<FramePlace> next;
  std::int64_t frame = clip.ExtractedFrame.value();
  for (int k = 0; k < depth && k < total; ++k) {
    frame = direction == Direction::Forward ? frame + 1 : frame - 1;
    frame = ((frame % total) + total) % total;
    const auto i = static_cast<std::size_t>(frame);
    next.push_back({static_cast<std::int32_t>(frame), std::int64_t{clip.FramePositions[i]} - 1,
                    clip.FrameSizes[i]});
  }
  m_ahead->want(clip.ClipPath, next);
}

void SearchDriver::analyse(const std::string& jpgPath) {
  const review::OpenSaveFile& o = m_session.OpenSaveFile;
  const clip::SeparateMJPG& clip = m_session.SeparateMJPG;
  m_session.AnalyseBMP.AnalyseFrame(
      jpgPath, m_fields.SearchCellSize,
      FrameInputs{clip.ClipWidth, clip.ClipHeight, o.SearchPhaseA, o.SearchPhaseB});
}

std::vector<CellPoint> SearchDriver::cellsInside() const {
  const AnalyseBMP& comparison = m_session.AnalyseBMP;
  const toolkit::Rect& area = m_session.DrawRectangle.SearchArea;
  std::vector<CellPoint> inside;
  for (const ChangedCell& cell : comparison.ChangedCells) {
    // Only the cell's corner is tested, and all four edges belong to the area.
    const CellPoint& p = comparison.CellOrigins(cell.Row, cell.Column);
    if (p.X > area.Right || p.X < area.Left || p.Y < area.Top || p.Y > area.Bottom) continue;
    inside.push_back(p);
  }
  return inside;
}

void SearchDriver::found(const std::vector<CellPoint>& corners) {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  m_window.MarkFrame(corners);
  m_fields.FramePicturePath = o.CurrentFrameFile;
  m_fields.MarkedPicturePath = toolkit::inFolder(m_session.platform.programFolder, "temp.bmp");
  m_window.SaveMarkedPicture(m_fields.MarkedPicturePath);
  // The marked picture goes on show like any frame, while the frame's JPEG stays the one that
  // later actions work with.
  o.CurrentFrameFile = m_fields.MarkedPicturePath;
  m_window.ShowCurrentFrame();
  o.CurrentFrameFile = m_fields.FramePicturePath;
  m_fields.MarkedPictureShowing = kTrue;
}

void SearchDriver::endOfRun(Direction direction) {
  m_window.setSearchPointer(direction, false);
  m_fields.SearchStopRequested = kFalse;
  m_transport.PausePlay();
  m_window.ShowCurrentFrame();
}

}  // namespace search
