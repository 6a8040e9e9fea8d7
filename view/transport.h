#pragma once

// Stepping through the clip and the pause, without a window: the step buttons, the playback
// ticks and the motion search all move the clip with StepBack and StepForward, the window's
// buttons and hgvtool alike. What the procedures need of the window, TransportWindow gives them.

#include "review/session.h"

namespace view {

class TransportWindow {
 public:
  // The block and the number on the timeline bar, from CurrentFrame.
  virtual void UpdateBarPosition() = 0;
  // Ends a running playback.
  virtual void StopPlayback() = 0;
  // Shows CurrentFrameFile if that file exists, else leaves the picture on show.
  virtual void ShowStep() = 0;

 protected:
  ~TransportWindow() = default;
};

// CurrentFrame runs from 0 to TotalFrames - 1 and has two end marks that a step leaves when it
// has come to an end of the clip: -1 on the last frame after StepForward, TotalFrames on frame 0
// after StepBack. The next step goes on from the frame the mark stands for:
//
//   CurrentFrame        on show        StepForward shows    StepBack shows
//   0 .. Total - 1      that frame     the next, 0 after    the one before, the last
//                                      the last             after frame 0
//   -1                  the last       frame 0              the last but one
//   TotalFrames         frame 0        frame 1              the last
//
// UpdateBarPosition and the extraction always see a real frame number; the mark is put in after
// them. The sums are worked out wider than 16 bits, so a clip of 32,767 frames steps like any
// other.
class Transport {
 public:
  Transport(review::Session& session, review::Form1Fields& fields, TransportWindow& window)
      : m_session(session), m_fields(fields), m_window(window) {}

  // One frame back or forward: CurrentFrame, the bar, and the frame's JPEG in CurrentFrameFile.
  // Draws nothing; returns the frame extracted. An extraction that fails raises its run-time
  // error, with CurrentFrame moved.
  const clip::FramePtr& StepBack();
  const clip::FramePtr& StepForward();

  // imgPausePlay_Click: nothing in a clip of one frame; else ends a standing search result, asks
  // a running search to stop (which at rest shows the plain frame again) and stops playback.
  void PausePlay();

 private:
  const clip::FramePtr& extract();

  review::Session& m_session;
  review::Form1Fields& m_fields;
  TransportWindow& m_window;
};

}  // namespace view
