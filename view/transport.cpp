#include "view/transport.h"

namespace view {

using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;

const clip::FramePtr& Transport::extract() {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  o.CurrentFrameFile = m_session.SeparateMJPG.ExtractCurrentJpg(o.ClipFileName, o.CurrentFrame);
  return m_session.SeparateMJPG.lastExtracted();
}

const clip::FramePtr& Transport::StepBack() {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  const int total = o.TotalFrames.value();
  int frame = o.CurrentFrame.value() - 1;
  o.CurrentFrame = frame;
  if (frame == 0) {
    const clip::FramePtr& extracted = extract();
    m_window.UpdateBarPosition();
    o.CurrentFrame = o.TotalFrames;
    return extracted;
  }
  if (frame == -1) frame = total - 1;
  if (frame == -2) frame = total - 2;
  o.CurrentFrame = frame;
  m_window.UpdateBarPosition();
  return extract();
}

const clip::FramePtr& Transport::StepForward() {
  review::OpenSaveFile& o = m_session.OpenSaveFile;
  const int total = o.TotalFrames.value();
  // From the mark TotalFrames of a clip of 32,767 frames the sum does not fit 16 bits, but it
  // only has to be told apart from the frame numbers.
  int frame = o.CurrentFrame.value() + 1;
  if (frame == total - 1) {
    o.CurrentFrame = frame;
    m_window.UpdateBarPosition();
    const clip::FramePtr& extracted = extract();
    o.CurrentFrame = -1;
    return extracted;
  }
  if (frame == total) frame = 0;
  if (frame == total + 1) frame = 1;
  o.CurrentFrame = frame;
  m_window.UpdateBarPosition();
  return extract();
}

void Transport::PausePlay() {
  if (m_session.OpenSaveFile.TotalFrames == Long(1)) return;
  m_fields.MarkedPicturePath.clear();
  if (m_fields.SearchStopRequested == kFalse) {
    m_fields.SearchStopRequested = kTrue;
    m_window.ShowStep();
  }
  m_window.StopPlayback();
}

}  // namespace view
