// The timeline bar: where the current frame lies, a click on the track, a drag of the block.

#include <string>

#include "window/form1.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;

namespace {

bool leftButton(Integer button) { return (button.value() & toolkit::kLeftButton) != 0; }

}  // namespace

void Form1::UpdateBarPosition() {
  const int total = OpenSaveFile.TotalFrames.value();
  const int frame = OpenSaveFile.CurrentFrame.value();
  bool moved = false;
  if (total >= 2) {
    if (frame == 0) {
      picBlock->Left = 0;
    } else {
      const auto share = static_cast<Single>(static_cast<double>(frame + 1) / total);
      picBlock->Left = static_cast<Single>(static_cast<double>(BarTravel.value()) * share);
    }
    moved = true;
  } else if (total == 1) {
    // The block of a clip of one frame stands at the right end.
    picBlock->Left = static_cast<Single>(BarTravel.value());
    moved = true;
  }
  if (moved) lblImageID->Left = picBar->Left + picBlock->Left;
  lblImageID->Caption = std::to_string(frame + 1);
}

void Form1::StopPlayback() {
  if (imgCplay->Visible) return;
  tmrControlDisplay->Enabled = false;
  PlayingForward = kFalse;
  PlayingBack = kFalse;
  PlaySpeed.clear();
  imgCplay->Visible = true;
  for (auto* mark : {img1X, img2X, img3X, img4X, img5X, img1XN, img2XN, img3XN, img4XN, img5XN}) {
    mark->Visible = false;
  }
}

namespace {

// The frame at a place of the bar: its left end is frame 0, BarTravel the last frame.
Long frameAt(Single blockLeft, Long barTravel, Long totalFrames) {
  const Integer left = Integer::fromDouble(blockLeft);
  if (barTravel == Long(0)) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::DivisionByZero);
  const auto ratio = static_cast<Single>(static_cast<double>(left.value()) / barTravel.value());
  return Long::fromDouble(static_cast<Single>(totalFrames.value() - 1) * ratio);
}

}  // namespace

void Form1::imgBar_MouseDown(Integer Button, Integer, Single X, Single) {
  if (SearchingForward != kFalse || SearchingBack != kFalse) return;
  MarkedPicturePath.clear();
  StopPlayback();
  if (session.clipHasFrames() && leftButton(Button)) {
    if (X > picBar->Width) {
      picBlock->Left = picBar->Width - picBlock->Width;
    } else if (X < imgBar->Left) {
      picBlock->Left = 0;
    } else if (picBlock->Left > X) {
      picBlock->Left = X;
    } else {
      picBlock->Left = X - picBlock->Width;
    }
  }
  lblImageID->Left = picBlock->Left + picBar->Left;
}

void Form1::imgBar_MouseUp(Integer Button, Integer, Single, Single) {
  if (SearchingForward != kFalse || SearchingBack != kFalse) return;
  MarkedPicturePath.clear();
  if (!session.clipHasFrames() || !leftButton(Button)) return;
  guardTransport([this] {
    OpenSaveFile.CurrentFrame = frameAt(picBlock->Left, BarTravel, OpenSaveFile.TotalFrames);
    lblImageID->Caption = std::to_string(OpenSaveFile.CurrentFrame.value() + 1);
    OpenSaveFile.CurrentFrameFile =
        SeparateMJPG.ExtractCurrentJpg(OpenSaveFile.ClipFileName, OpenSaveFile.CurrentFrame);
    ShowStep();
  });
}

void Form1::picBlock_MouseDown(Integer Button, Integer, Single X, Single) {
  if (SearchingForward != kFalse || SearchingBack != kFalse) return;
  MarkedPicturePath.clear();
  // A press on the block does not stop playback: ticks go on moving the block during a drag.
  if (session.clipHasFrames() && leftButton(Button)) {
    BlockDragging = kTrue;
    SetCapture(picBar);
    BlockGrabX = X;
  }
}

void Form1::picBar_MouseMove(Integer, Integer, Single X, Single) {
  if (BlockDragging == kFalse) return;
  picBlock->Left = X - BlockGrabX;
  const Single travel = picBar->Width - picBlock->Width;
  if (X < picBlock->Width && picBlock->Left < 0) {
    picBlock->Left = 0;
  } else if (X > travel && picBlock->Left > travel) {
    picBlock->Left = travel;
  }
  // The number runs along with the block; the picture changes on release.
  OpenSaveFile.CurrentFrame = frameAt(picBlock->Left, BarTravel, OpenSaveFile.TotalFrames);
  lblImageID->Caption = std::to_string(OpenSaveFile.CurrentFrame.value() + 1);
  lblImageID->Left = picBlock->Left + picBar->Left;
}

void Form1::picBar_MouseUp(Integer, Integer, Single, Single) {
  if (BlockDragging == kFalse) return;
  // The release goes quietly: in a running playback CurrentFrame may hold an end mark, whose
  // extraction fails and leaves the former picture on show.
  try {
    BlockDragging = kFalse;
    ReleaseCapture();
    OpenSaveFile.CurrentFrameFile =
        SeparateMJPG.ExtractCurrentJpg(OpenSaveFile.ClipFileName, OpenSaveFile.CurrentFrame);
    ShowStep();
  } catch (const toolkit::RuntimeError&) {
  }
}

}  // namespace window
