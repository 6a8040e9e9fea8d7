// Step, play and pause: the buttons under the view and the playback clock.

#include <algorithm>
#include <cmath>

#include "video/video_file.h"
#include "window/form1.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;

namespace {

struct SpeedRow {
  const char* at;  // PlaySpeed at the click
  int interval;    // ms
  int image;       // index into the direction's five speed marks
  const char* next;
};

// One click goes one speed up, and 5X wraps round to 1X; any other PlaySpeed starts at 1X.
constexpr SpeedRow kForward[] = {
    {"1X", 350, 1, "2X"}, {"2X", 250, 2, "3X"}, {"3X", 150, 3, "4X"},
    {"4X", 30, 4, "5X"},  {"5X", 450, 0, "1X"},
};
constexpr SpeedRow kBackward[] = {
    {"-1X", 350, 1, "-2X"}, {"-2X", 250, 2, "-3X"}, {"-3X", 150, 3, "-4X"},
    {"-4X", 30, 4, "-5X"},  {"-5X", 450, 0, "-1X"},
};
constexpr int kStartInterval = 450;
// A clip plays its speeds at these intervals whatever its frame rate; a video plays them at its own
// rate, 1X its frames' own duration and the other speeds in the same proportions.
constexpr int kOneTimesInterval = 350;

int playInterval(const window::Form1& form, int interval) {
  const video::VideoFacts* video = form.SeparateMJPG.videoFacts();
  if (!video || video->microSecPerFrame == 0) return interval;
  const double ms =
      static_cast<double>(interval) * video->microSecPerFrame / 1000.0 / kOneTimesInterval;
  return std::max(1, static_cast<int>(std::lround(ms)));
}

}  // namespace

void Form1::guardTransport(const std::function<void()>& action) {
  try {
    action();
  } catch (const toolkit::RuntimeError& e) {
    // The clip went away (a removed disk, a deleted file): one box, and the window stays usable.
    StopPlayback();
    MsgBox(
        toolkit::errorBoxText("Frame " + std::to_string(SeparateMJPG.ExtractedFrame.value() + 1) +
                                  " of \"" + OpenSaveFile.ClipFileName + "\" cannot be read.",
                              e),
        toolkit::MsgIcon::Critical);
  }
}

namespace {

// The guards of the transport's buttons: a clip with frames, no search area being chosen, no
// search running. Passing them ends a standing search result.
bool transportGuards(Form1& form) {
  if (!form.session.clipHasFrames() || form.DrawRectangle.SearchAreaEditing != kFalse) return false;
  if (form.SearchingForward != kFalse || form.SearchingBack != kFalse) return false;
  form.MarkedPicturePath.clear();
  return true;
}

}  // namespace

void Form1::imgBegin_Click() {
  if (!transportGuards(*this) || OpenSaveFile.TotalFrames == Long(1)) return;
  guardTransport([this] { JumpTo(0); });
}

void Form1::imgEnd_Click() {
  if (!transportGuards(*this) || OpenSaveFile.TotalFrames == Long(1)) return;
  // The plain last frame number, not the end mark -1.
  guardTransport([this] { JumpTo(OpenSaveFile.TotalFrames.value() - 1); });
}

void Form1::JumpTo(int frame) {
  StopPlayback();
  OpenSaveFile.CurrentFrame = frame;
  UpdateBarPosition();
  OpenSaveFile.CurrentFrameFile =
      SeparateMJPG.ExtractCurrentJpg(OpenSaveFile.ClipFileName, OpenSaveFile.CurrentFrame);
  ShowStep();
}

void Form1::imgLeftStep_Click() {
  if (!transportGuards(*this)) return;
  guardTransport([this] {
    StopPlayback();
    StepBack();
    ShowStep();
  });
}

void Form1::imgRightStep_Click() {
  if (!transportGuards(*this)) return;
  guardTransport([this] {
    StopPlayback();
    StepForward();
    ShowStep();
  });
}

namespace {

void startPlayback(window::Form1& form, const SpeedRow (&rows)[5],
                   toolkit::ImageControl* const (&marks)[5],
                   toolkit::ImageControl* const (&otherMarks)[5]) {
  form.tmrControlDisplay->Enabled = true;
  const SpeedRow* row = nullptr;
  for (const SpeedRow& r : rows) {
    if (form.PlaySpeed == r.at) row = &r;
  }
  const int image = row ? row->image : 0;
  form.tmrControlDisplay->Interval = playInterval(form, row ? row->interval : kStartInterval);
  for (int i = 0; i < 5; ++i) marks[i]->Visible = i == image;
  form.PlaySpeed = row ? row->next : rows[4].next;
  if (!row) {
    for (auto* mark : otherMarks) mark->Visible = false;
    form.imgCplay->Visible = false;
  }
}

}  // namespace

void Form1::imgRightPlay_Click() {
  if (!transportGuards(*this) || OpenSaveFile.TotalFrames == Long(1)) return;
  PlayingForward = kTrue;
  PlayingBack = kFalse;
  startPlayback(*this, kForward, {img1X, img2X, img3X, img4X, img5X},
                {img1XN, img2XN, img3XN, img4XN, img5XN});
}

void Form1::imgLeftPlay_Click() {
  if (!transportGuards(*this) || OpenSaveFile.TotalFrames == Long(1)) return;
  PlayingForward = kFalse;
  PlayingBack = kTrue;
  startPlayback(*this, kBackward, {img1XN, img2XN, img3XN, img4XN, img5XN},
                {img1X, img2X, img3X, img4X, img5X});
}

void Form1::imgPausePlay_Click() { m_transport.PausePlay(); }

void Form1::tmrControlDisplay_Timer() {
  // A file refused or without frames since playback began leaves no frames to step through.
  if (!session.clipHasFrames()) {
    StopPlayback();
    return;
  }
  guardTransport([this] {
    if (PlayingBack != kFalse) {
      StepBack();
      if (OpenSaveFile.CurrentFrame == OpenSaveFile.TotalFrames) StopPlayback();
    } else if (PlayingForward != kFalse) {
      StepForward();
      if (OpenSaveFile.CurrentFrame == Long(-1)) StopPlayback();
    }
    ShowStep();
  });
}

}  // namespace window
