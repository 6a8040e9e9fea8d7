// The procedures of the module DrawRectangle on Form1's view: the scale of the boxes, the size
// of the view, and the red box ShaRect around the module's arithmetic.

#include <cmath>

#include "window/form1.h"

namespace window {

using toolkit::ScaleUnit;

namespace {

Long rounded(Single v) { return Long::fromDouble(v); }

void pixelsOn(toolkit::PictureBox& base, toolkit::PictureBox& shown) {
  base.ScaleMode = ScaleUnit::Pixels;
  shown.ScaleMode = ScaleUnit::Pixels;
}

}  // namespace

search::PixelSize Form1::clipSize() const {
  return {SeparateMJPG.ClipWidth, SeparateMJPG.ClipHeight};
}

search::PixelSize Form1::searchViewSize() {
  // The view is the control frames are fitted to: picBase at fit, picShowAVI while zoomed, and
  // picShowAVI too when a small clip is shown at its natural size.
  const bool shown = OpenSaveFile.ZoomActive != toolkit::kFalse || showsNaturalSize();
  toolkit::PictureBox& view = shown ? *picShowAVI : *picBase;
  return {rounded(view.ScaleWidth), rounded(view.ScaleHeight)};
}

void Form1::ShowSearchBox(const toolkit::Rect& box) {
  ShaRect->Visible = true;
  ShaRect->BorderWidth = 3;
  ShaRect->BorderColor = 255;
  ShaRect->Left = static_cast<Single>(box.Left.value());
  ShaRect->Top = static_cast<Single>(box.Top.value());
  ShaRect->Width = static_cast<Single>((box.Right - box.Left).value());
  ShaRect->Height = static_cast<Single>((box.Bottom - box.Top).value());
}

void Form1::InitSearchArea() {
  pixelsOn(*picBase, *picShowAVI);
  DrawRectangle.InitSearchArea({rounded(picBase->ScaleWidth), rounded(picBase->ScaleHeight)},
                               clipSize());
  // The same shares of the opening, drawn on the small picture where it stands.
  if (showsNaturalSize()) DrawRectangle.RefreshSearchBox(searchViewSize());
}

void Form1::RefreshSearchBox() {
  pixelsOn(*picBase, *picShowAVI);
  ShaRect->Visible = false;
  DrawRectangle.RefreshSearchBox(searchViewSize());
}

void Form1::RestoreDefaultBox() {
  pixelsOn(*picBase, *picShowAVI);
  DrawRectangle.RestoreDefaultBox(
      {rounded(picBase->ScaleWidth), rounded(picBase->ScaleHeight)},
      OpenSaveFile.ZoomActive != toolkit::kFalse || showsNaturalSize(),
      {rounded(picShowAVI->ScaleWidth), rounded(picShowAVI->ScaleHeight)}, clipSize());
  ShowSearchBox(DrawRectangle.DefaultBox);
}

void Form1::CommitSearchArea() {
  pixelsOn(*picBase, *picShowAVI);
  ShaRect->Visible = false;
  DrawRectangle.CommitSearchArea(
      searchViewSize(), {rounded(picBase->ScaleWidth), rounded(picBase->ScaleHeight)}, clipSize());
}

void Form1::RevertSearchArea() { DrawRectangle.RevertSearchArea(); }

void Form1::ApplyDraggedBox() {
  pixelsOn(*picBase, *picShowAVI);
  DrawRectangle.ApplyDraggedBox(searchViewSize());
  ShowSearchBox(DrawRectangle.SearchBox);
}

}  // namespace window
