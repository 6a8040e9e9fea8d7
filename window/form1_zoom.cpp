// Zoom and pan: whole multiples of the fitted size, and the scroll bars that move the enlarged
// picture behind the opening.

#include "window/form1.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Pointer;
using toolkit::ScaleUnit;

namespace {

constexpr float kScrollBarTwips = 300;

}  // namespace

void Form1::imgZoomIn_Click() {
  if (!session.clipHasFrames() || DrawRectangle.SearchAreaEditing != kFalse) return;
  if (SearchingForward != kFalse || SearchingBack != kFalse) return;
  StopPlayback();
  if (ZoomPercent <= Integer(150)) {
    ZoomPercent += 10;
    // From the fit the first click goes straight to twice the size.
    if (ZoomPercent == Integer(110)) ZoomPercent = 120;
    OpenSaveFile.ZoomActive = kTrue;
    ApplyZoom(ZoomPercent);
  }
}

void Form1::imgZoomOut_Click() {
  if (!session.clipHasFrames() || DrawRectangle.SearchAreaEditing != kFalse) return;
  if (SearchingForward != kFalse || SearchingBack != kFalse) return;
  StopPlayback();
  if (ZoomPercent > Integer(100)) {
    ZoomPercent -= 10;
    OpenSaveFile.ZoomActive = kTrue;
    ApplyZoom(ZoomPercent);
  }
}

void Form1::ApplyZoom(Integer& Zoom) {
  const int level = ((Zoom - Integer(100)) / Integer(10)).value();
  MousePointer = Pointer::Hourglass;
  if (level == 1) {
    picBase->ScaleMode = ScaleUnit::Twips;
    picShowAVI->ScaleMode = ScaleUnit::Twips;
    VS1->Value = 0;
    HS1->Value = 0;
    picShowAVI->Cls();
    if (VS1->Visible && HS1->Visible) {
      VS1->Visible = false;
      HS1->Visible = false;
      picBase->Width = picBase->Width + kScrollBarTwips;
      picBase->Height = picBase->Height + kScrollBarTwips;
    }
    picShowAVI->Height = OpenSaveFile.PictureHeight.value();
    picShowAVI->Width = OpenSaveFile.PictureWidth.value();
    SeparateMJPG.DisplayHeight = Long::fromDouble(fraBox->Height);
    SeparateMJPG.DisplayWidth = Long::fromDouble(fraBox->Width);
    toolkit::Picture picture;
    try {
      picture = FramePicture(OpenSaveFile.CurrentFrameFile);
    } catch (const toolkit::RuntimeError& e) {
      if (e.number() != static_cast<int>(toolkit::ErrorNumber::InvalidPicture)) throw;
    }
    if (picture.empty()) {
      OpenSaveFile.ZoomActive = kFalse;
      ShowUndecodableFrame();
    } else {
      picShowAVI->Picture = picture;
      const bool natural = showsNaturalSize();
      picShowAVI->PaintPicture(
          picShowAVI->Picture, 0, 0,
          natural ? picShowAVI->Width : static_cast<float>(SeparateMJPG.DisplayWidth.value()),
          natural ? picShowAVI->Height : static_cast<float>(SeparateMJPG.DisplayHeight.value()), 0,
          0, picShowAVI->Width, picShowAVI->Height);
      OpenSaveFile.ZoomActive = kFalse;
    }
  } else if (level > 1) {
    picBase->ScaleMode = ScaleUnit::Twips;
    picShowAVI->ScaleMode = ScaleUnit::Twips;
    picBase->Width = fraBox->Width - kScrollBarTwips;
    picBase->Height = fraBox->Height - kScrollBarTwips;
    SeparateMJPG.DisplayHeight = Long::fromDouble(static_cast<double>(level) * fraBox->Height);
    SeparateMJPG.DisplayWidth = Long::fromDouble(static_cast<double>(level) * fraBox->Width);
    picShowAVI->Height = SeparateMJPG.DisplayHeight.value();
    picShowAVI->Width = SeparateMJPG.DisplayWidth.value();
    // The picture the box holds is stretched anew; the file is not read again.
    picShowAVI->PaintPicture(picShowAVI->Picture, 0, 0, SeparateMJPG.DisplayWidth.value(),
                             SeparateMJPG.DisplayHeight.value(), 0, 0,
                             OpenSaveFile.PictureWidth.value(), OpenSaveFile.PictureHeight.value());
    UpdateZoomBars();
  }
  MousePointer = Pointer::Default;
}

void Form1::UpdateZoomBars() {
  ZoomLevel = ((ZoomPercent - Integer(100)) / Integer(10)).value();
  HS1->Visible = true;
  VS1->Visible = true;
  const float level = ZoomLevel.value();
  // The way to twice the size always centres the view; any other change keeps the relative
  // position of the bars.
  Single keep = ZoomLevel == Integer(2)
                    ? 0.5f
                    : static_cast<Single>(HS1->Value().value()) / HS1->Max().value();
  HS1->Max = Integer::fromDouble(level * 200);
  HS1->Min = 0;
  HS1->Value = Integer::fromDouble(level * keep * 200.0f);
  HS1->LargeChange = 60;
  HS1->SmallChange = 130;

  keep = ZoomLevel == Integer(2) ? 0.5f
                                 : static_cast<Single>(VS1->Value().value()) / VS1->Max().value();
  VS1->Max = Integer::fromDouble(level * 60);
  VS1->Min = 0;
  VS1->Value = Integer::fromDouble(level * keep * 60.0f);
  VS1->LargeChange = 90;
  VS1->SmallChange = 80;

  HS1->Left = 0;
  HS1->Top = fraBox->Height - kScrollBarTwips;
  HS1->Width = fraBox->Width - kScrollBarTwips;
  VS1->Width = kScrollBarTwips;
  VS1->Left = fraBox->Width - kScrollBarTwips;
  VS1->Top = 0;
  VS1->Height = fraBox->Height - kScrollBarTwips;
}

namespace {

// At Value 0 the picture's edge lies at the opening's edge, at Max the far edge does.
Single panOffset(toolkit::ScrollBar& bar, float boxSize, float viewSize) {
  const Long overhang = Long::fromDouble(boxSize - viewSize);
  const Single fraction = static_cast<Single>(bar.Value().value()) / bar.Max().value();
  return static_cast<Single>(static_cast<double>(fraction) * -overhang.value());
}

}  // namespace

void Form1::HS1_Scroll() {
  picBase->ScaleMode = ScaleUnit::Twips;
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  picShowAVI->Left = panOffset(*HS1, picShowAVI->Width, picBase->Width);
}

void Form1::HS1_Change() {
  HS1_Scroll();
  picShowAVI->SetFocus();
}

void Form1::HS1_GotFocus() { picShowAVI->SetFocus(); }

void Form1::VS1_Scroll() {
  picBase->ScaleMode = ScaleUnit::Twips;
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  picShowAVI->Top = panOffset(*VS1, picShowAVI->Height, picBase->Height);
}

void Form1::VS1_Change() {
  VS1_Scroll();
  picShowAVI->SetFocus();
}

void Form1::VS1_GotFocus() { picShowAVI->SetFocus(); }

}  // namespace window
