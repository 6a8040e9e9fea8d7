#include "search/driver/search_driver.h"

#include <algorithm>

#include "toolkit/core/runtime_error.h"

namespace search {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;

const char* handlerName(Direction direction) {
  return direction == Direction::Back ? "imgLeftSearch_Click" : "imgRightSearch_Click";
}

SearchDriver::SearchDriver(review::Session& session, review::Form1Fields& fields,
                           SearchState& state, SearchWindow& window, view::Transport& transport)
    : m_session(session),
      m_fields(fields),
      m_state(state),
      m_window(window),
      m_transport(transport) {}

void SearchDriver::Click(Direction direction) {
  if (!begin(direction)) return;
  SearchOutcome outcome;
  outcome.direction = direction;
  holdFrames();
  try {
    const Stop stop = walk(direction, outcome);
    releaseFrames();
    conclude(stop, direction, outcome);
  } catch (const toolkit::RuntimeError& e) {
    try {
      releaseFrames();
    } catch (const toolkit::RuntimeError&) {
      // One box for the search: the error that ended it.
    }
    m_window.setSearchPointer(direction, false);
    outcome.ended = SearchOutcome::Ended::Error;
    m_session.platform.messages.show(
        toolkit::MessageBoxRequest::critical(toolkit::errorBoxText(handlerName(direction), e)));
  }
  finish(direction, outcome);
}

bool SearchDriver::begin(Direction direction) {
  review::Form1Fields& f = m_fields;
  if (!m_session.clipHasFrames() || m_state.DrawRectangle.SearchAreaEditing != kFalse) {
    return false;
  }
  m_window.StopPlayback();
  if (m_session.OpenSaveFile.TotalFrames == Long(1)) return false;
  Boolean& own = direction == Direction::Back ? f.SearchingBack : f.SearchingForward;
  if (f.SearchingBack != kFalse || f.SearchingForward != kFalse) {
    // A nested click while a search runs: the running search sees it at its next stop check.
    own = kTrue;
    f.SearchStopRequested = kTrue;
    return false;
  }
  f.SearchStopRequested = kFalse;
  own = kTrue;
  f.MarkedPictureShowing = kFalse;
  return true;
}

SearchDriver::Stop SearchDriver::walk(Direction direction, SearchOutcome& outcome) {
  bool reachedEnd = false;
  int yields = 2;
  for (;;) {
    for (int i = 0; i < yields; ++i) m_window.DoEvents();
    yields = 1;
    m_window.setSearchPointer(direction, true);
    const bool a = m_state.SearchPhaseA != kFalse;
    const bool b = m_state.SearchPhaseB != kFalse;
    AnalyseBMP& comparison = m_state.AnalyseBMP;
    if (a && b && reachedEnd) return Stop::EndOfRun;
    if (a && b) {
      prime();
    } else if (a || b) {
      if (const auto stop = stopChecks()) return *stop;
      comparison.StoreInA = toolkit::toBoolean(a);
      comparison.StoreInB = toolkit::toBoolean(!a);
      m_state.SearchPhaseA = toolkit::toBoolean(!a);
      m_state.SearchPhaseB = toolkit::toBoolean(a);
    } else {
      continue;
    }

    stepPart(direction, reachedEnd, outcome);
    if (comparison.ChangedCellCount == toolkit::Long(0)) continue;

    m_window.setSearchPointer(direction, false);
    m_inside = cellsInside();
    if (!m_inside.empty()) return Stop::Found;
    yields = 2;
  }
}

void SearchDriver::conclude(Stop stop, Direction direction, SearchOutcome& outcome) {
  switch (stop) {
    case Stop::Found:
      found(m_inside, outcome);
      outcome.ended = SearchOutcome::Ended::Found;
      return;
    case Stop::EndOfRun:
      endOfRun(direction);
      outcome.ended = SearchOutcome::Ended::EndOfRun;
      return;
    case Stop::StopRequested:
      m_fields.SearchStopRequested = kFalse;
      m_transport.PausePlay();
      m_window.setSearchPointer(direction, false);
      break;
    case Stop::CloseRequested:
      m_window.setSearchPointer(direction, false);
      break;
  }
  outcome.ended = SearchOutcome::Ended::Stopped;
}

void SearchDriver::finish(Direction direction, const SearchOutcome& outcome) {
  review::Form1Fields& f = m_fields;
  Boolean& own = direction == Direction::Back ? f.SearchingBack : f.SearchingForward;
  Boolean& other = direction == Direction::Back ? f.SearchingForward : f.SearchingBack;
  m_state.SearchPhaseA = kTrue;
  m_state.SearchPhaseB = kTrue;
  own = kFalse;
  if (onFinished) onFinished(outcome);
  if (other != kFalse) {
    other = kFalse;
    Click(direction == Direction::Back ? Direction::Forward : Direction::Back);
  }
  if (f.CloseRequested != kFalse) {
    f.CloseRequested = kFalse;
    m_window.ShutDownSession();
  }
}

void SearchDriver::holdFrames() {
  clip::SeparateMJPG& clip = m_session.SeparateMJPG;
  clip.scratch().hold();
  clip.setFrameSource(m_ahead);
  m_holding = true;
}

void SearchDriver::releaseFrames() {
  if (!m_holding) return;
  m_holding = false;
  // Frames decoded ahead stay for a search that goes on from here; the next want() drops those
  // it does not reach.
  clip::SeparateMJPG& clip = m_session.SeparateMJPG;
  clip.setFrameSource(nullptr);
  clip.scratch().flush();
}

void SearchDriver::prime() {
  // The priming pass stores the frame the search starts from: the one "Temp.jpg" holds, also
  // while the marked picture is on show.
  AnalyseBMP& comparison = m_state.AnalyseBMP;
  comparison.StoreInA = kTrue;
  comparison.StoreInB = kFalse;
  analyse(m_session.SeparateMJPG.lastExtracted());
  comparison.StoreInB = kTrue;
  comparison.StoreInA = kFalse;
  m_state.SearchPhaseA = kTrue;
  m_state.SearchPhaseB = kFalse;
}

std::optional<SearchDriver::Stop> SearchDriver::stopChecks() {
  if (m_fields.SearchStopRequested != kFalse) return Stop::StopRequested;
  if (m_fields.CloseRequested != kFalse) return Stop::CloseRequested;
  return std::nullopt;
}

void SearchDriver::stepPart(Direction direction, bool& reachedEnd, SearchOutcome& outcome) {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  if (m_ahead) decodeAhead(direction);
  // The two ends differ: forward ends on the last frame, since StepForward leaves -1 there;
  // backward passes frame 0 (which leaves TotalFrames) and ends one step later, on the last frame.
  if (direction == Direction::Back) {
    const clip::FramePtr& frame = m_transport.StepBack();
    if (o.CurrentFrame.value() == o.TotalFrames.value() - 1) reachedEnd = true;
    analyse(frame);
  } else {
    const clip::FramePtr& frame = m_transport.StepForward();
    if (o.CurrentFrame == Long(-1)) reachedEnd = true;
    analyse(frame);
  }
  ++outcome.comparisons;
  if (reachedEnd) {
    outcome.reachedEnd = true;
    m_state.SearchPhaseA = kTrue;
    m_state.SearchPhaseB = kTrue;
  }
}

void SearchDriver::decodeAhead(Direction direction) {
  const clip::SeparateMJPG& clip = m_session.SeparateMJPG;
  const auto total =
      static_cast<std::int64_t>(std::min(clip.FrameSizes.size(), clip.FramePositions.size()));
  if (total <= 0) return;
  const int depth = 2 * m_ahead->threads() + 1;
  std::vector<clip::FramePlace> next;
  std::int64_t frame = clip.ExtractedFrame.value();
  for (int k = 0; k < depth && k < total; ++k) {
    frame = direction == Direction::Forward ? frame + 1 : frame - 1;
    frame = ((frame % total) + total) % total;
    const auto i = static_cast<std::size_t>(frame);
    next.push_back({static_cast<std::int32_t>(frame), std::int64_t{clip.FramePositions[i]} - 1,
                    clip.FrameSizes[i]});
  }
  m_ahead->want(m_session.OpenSaveFile.ClipFileName, next, m_fields.SearchCellSize.value());
}

void SearchDriver::analyse(const clip::FramePtr& frame) {
  clip::ScratchFiles& scratch = m_session.SeparateMJPG.scratch();
  const int cellSize = std::max(0, static_cast<int>(m_fields.SearchCellSize.value()));
  // A video's frame takes nothing from "Temp.jpg", whose JPEG of it is made only when written.
  if (frame) {
    m_decoder.decodeAsScratch(
        *frame, frame->fromVideo ? std::span<const std::uint8_t>() : scratch.jpegFile(), cellSize);
  }
  const AnalyseBMP::Result result = m_state.AnalyseBMP.AnalyseFrame(
      frame, m_fields.SearchCellSize, m_state.SearchPhaseA, m_state.SearchPhaseB);
  scratch.putBitmap(frame);
  if (const auto box = refusalBox(result.refusal)) m_session.platform.messages.show(*box);
}

std::vector<CellPoint> SearchDriver::cellsInside() const {
  const AnalyseBMP& comparison = m_state.AnalyseBMP;
  const toolkit::Rect& area = m_state.DrawRectangle.SearchArea;
  std::vector<CellPoint> inside;
  for (const ChangedCell& cell : comparison.ChangedCells) {
    // Only the cell's corner is tested, and all four edges belong to the area.
    const CellPoint& p = comparison.CellOrigins(cell.Row, cell.Column);
    if (p.X > area.Right || p.X < area.Left || p.Y < area.Top || p.Y > area.Bottom) continue;
    inside.push_back(p);
  }
  return inside;
}

void SearchDriver::found(const std::vector<CellPoint>& corners, SearchOutcome& outcome) {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  // The current frame is the newer frame of the pair, and it stays the current frame: its JPEG is
  // the one later actions work with, while the marked picture goes on show.
  const clip::FramePtr& frame = m_session.SeparateMJPG.lastExtracted();
  m_fields.FramePicturePath = o.CurrentFrameFile;
  m_fields.MarkedPicturePath = m_session.SeparateMJPG.scratch().markedPath();
  m_window.ShowResult(frame, corners);
  m_fields.MarkedPictureShowing = kTrue;
  outcome.marked = corners;
  outcome.frame = frame;
}

void SearchDriver::endOfRun(Direction direction) {
  m_window.setSearchPointer(direction, false);
  m_fields.SearchStopRequested = kFalse;
  m_transport.PausePlay();
  m_window.ShowCurrentFrame();
}

}  // namespace search
