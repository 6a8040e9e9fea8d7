// The search buttons' window side, the search box drawn with the mouse, and the settings button.

#include <algorithm>
#include <cmath>

#include "search/core/marks.h"
#include "window/form1.h"
#include "window/frm_setting.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Pointer;
using toolkit::ScaleUnit;

namespace {

constexpr int kMinimumDrag = 16;

Long rounded(Single v) { return Long::fromDouble(v); }

}  // namespace

void Form1::setSearchPointer(search::Direction direction, bool wait) {
  toolkit::ImageControl* image =
      direction == search::Direction::Back ? imgLeftSearch : imgRightSearch;
  image->MousePointer = wait ? Pointer::Hourglass : Pointer::Default;
}

void Form1::loadSearchStartingValues() { search::loadStartingValues(searchState); }

void Form1::ShowResult(const clip::FramePtr& frame, const std::vector<search::CellPoint>& corners) {
  picBase->ScaleMode = ScaleUnit::Pixels;
  picShowAVI->ScaleMode = ScaleUnit::Pixels;
  picShowAVI->Picture = toolkit::Picture::fromBitmap(
      frame->bitmapFile(), toolkit::BmpHeader::of(frame->width, frame->height));
  picShowAVI->DrawWidth = 1;
  for (const search::CellPoint& p : corners) {
    const auto x = static_cast<Single>(p.X.value());
    const auto y = static_cast<Single>(p.Y.value());
    picShowAVI->Line(x, y, x + search::kMarkSide, y + search::kMarkSide, toolkit::RGB(0, 0, 255),
                     toolkit::LineKind::Box);
  }
  const toolkit::Picture marked = picShowAVI->Image;
  SeparateMJPG.scratch().putMarked([marked] { return toolkit::encodeBmp24(marked.toRgb()); });
  ShowPicture(marked);
}

void Form1::imgSetting_Click() {
  if (SearchingForward != kFalse || SearchingBack != kFalse) return;
  const auto endResult = [this] {
    if (MarkedPicturePath.empty()) return;
    MarkedPicturePath.clear();
    OpenSaveFile.CurrentFrameFile = FramePicturePath;
    ShowCurrentFrame();
  };
  const auto showBox = [this] {
    picBase->ScaleMode = ScaleUnit::Pixels;
    picShowAVI->ScaleMode = ScaleUnit::Pixels;
    ShowSearchBox(DrawRectangle.SearchBox);
  };
  if (SettingsShown == kFalse) {
    if (!session.clipHasFrames() || DrawRectangle.SearchAreaEditing != kFalse) return;
    endResult();
    StopPlayback();
    showBox();
    Enabled = false;
    frmSetting.Show();
    SettingsShown = kTrue;
    return;
  }
  // Later openings stop no playback and take the settings as the dialog last left them.
  endResult();
  RefreshSearchBox();
  showBox();
  frmSetting.Show();
  Enabled = false;
}

void Form1::picShowAVI_MouseDown(Integer Button, Integer, Single X, Single Y) {
  if (picShowAVI->MousePointer != Pointer::Cross || DrawRectangle.SearchAreaEditing == kFalse) {
    return;
  }
  if ((Button.value() & toolkit::kLeftButton) == 0) return;
  picBase->ScaleMode = ScaleUnit::Pixels;
  picShowAVI->ScaleMode = ScaleUnit::Pixels;
  picShowAVI->AutoRedraw = false;
  picShowAVI->DrawFocusRect(DrawRectangle.SearchBox);
  picShowAVI->Refresh();
  DrawRectangle.SearchBox.Left = rounded(X);
  DrawRectangle.SearchBox.Right = rounded(X);
  DrawRectangle.SearchBox.Top = rounded(Y);
  DrawRectangle.SearchBox.Bottom = rounded(Y);
  BoxGrabX = X;
  BoxGrabY = Y;
}

void Form1::picShowAVI_MouseMove(Integer Button, Integer, Single X, Single Y) {
  if (picShowAVI->MousePointer != Pointer::Cross || DrawRectangle.SearchAreaEditing == kFalse) {
    return;
  }
  picShowAVI->ScaleMode = ScaleUnit::Pixels;
  if ((Button.value() & toolkit::kLeftButton) == 0) return;
  // The rubber band: the last outline off, the new one on, while the frame stands still.
  toolkit::Rect& box = DrawRectangle.SearchBox;
  picShowAVI->DrawFocusRect(box);
  box.Left = rounded(std::min(X, BoxGrabX));
  box.Right = rounded(std::max(X, BoxGrabX));
  box.Top = rounded(std::min(Y, BoxGrabY));
  box.Bottom = rounded(std::max(Y, BoxGrabY));
  picShowAVI->DrawFocusRect(box);
  if (std::abs(X - BoxGrabX) >= kMinimumDrag && std::abs(Y - BoxGrabY) >= kMinimumDrag) {
    BoxDragged = kTrue;
  }
}

void Form1::picShowAVI_MouseUp(Integer Button, Integer, Single, Single) {
  if (picShowAVI->MousePointer == Pointer::Cross && DrawRectangle.SearchAreaEditing != kFalse &&
      (Button.value() & toolkit::kLeftButton) != 0 && BoxDragged != kFalse) {
    ApplyDraggedBox();
    // The dialog is in charge again.
    picShowAVI->Enabled = false;
    frmSetting.SetFocus();
    Enabled = false;
    BoxDragged = kFalse;
    picShowAVI->MousePointer = Pointer::Default;
    picShowAVI->AutoRedraw = true;
  }

  // A click on the picture changes between the marked and the plain frame of a standing result.
  if (SearchingBack != kFalse || SearchingForward != kFalse) return;
  if (!FileExists(MarkedPicturePath)) return;
  if (MarkedPictureShowing != kFalse) {
    OpenSaveFile.CurrentFrameFile = FramePicturePath;
    MarkedPictureShowing = kFalse;
  } else {
    OpenSaveFile.CurrentFrameFile = MarkedPicturePath;
    MarkedPictureShowing = kTrue;
  }
  ShowCurrentFrame();
}

}  // namespace window
