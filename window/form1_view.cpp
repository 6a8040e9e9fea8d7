// Frame presentation: the current frame's picture file, decoded and stretched into the view.

#include <QFont>
#include <QImage>
#include <QPainter>

#include "window/form1.h"

namespace window {

using toolkit::kFalse;
using toolkit::ScaleUnit;

void Form1::ShowStep() {
  if (FileExists(OpenSaveFile.CurrentFrameFile)) ShowCurrentFrame();
}

toolkit::Picture Form1::FramePicture(const std::string& path) {
  clip::ScratchFiles& scratch = SeparateMJPG.scratch();
  const clip::FramePtr& frame = SeparateMJPG.lastExtracted();
  if (path != scratch.jpegPath() || !frame) return LoadPicture(path);
  // A video's frame that did not decode has no picture, whatever "Temp.jpg" still holds.
  if (frame->fromVideo && !frame->decoded()) {
    throw toolkit::RuntimeError::of(toolkit::ErrorNumber::InvalidPicture);
  }
  // "Temp.jpg" holds this frame: its picture is at hand when a search decoded it, and otherwise
  // the bytes the file holds are decoded without reading them back.
  const std::span<const std::uint8_t> file = scratch.jpegFile();
  if (frame->pictureOfFile(file.size())) {
    return toolkit::Picture::fromBitmap(frame->bitmap,
                                        toolkit::BmpHeader::of(frame->width, frame->height));
  }
  return toolkit::LoadPicture(file);
}

void Form1::ShowCurrentFrame() {
  picBase->ScaleMode = ScaleUnit::Twips;
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  // Decoded first, so that a frame that cannot be shown leaves no half-done view behind.
  toolkit::Picture picture;
  try {
    picture = FramePicture(OpenSaveFile.CurrentFrameFile);
  } catch (const toolkit::RuntimeError& e) {
    if (e.number() != static_cast<int>(toolkit::ErrorNumber::InvalidPicture)) throw;
    ShowUndecodableFrame();
    return;
  }
  ShowPicture(picture);
}

void Form1::ShowPicture(const toolkit::Picture& picture) {
  picBase->ScaleMode = ScaleUnit::Twips;
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  const float pictureWidth = OpenSaveFile.PictureWidth.value();
  const float pictureHeight = OpenSaveFile.PictureHeight.value();
  // A clip smaller than the opening is shown whole at its natural size, as its frame 0 was.
  const bool natural = showsNaturalSize();

  if (OpenSaveFile.ZoomActive == kFalse) {
    // The box keeps the picture's natural size; only its top left part, the whole picture
    // stretched to the opening, is seen.
    picShowAVI->Picture = picture;
    picShowAVI->PaintPicture(picShowAVI->Picture, 0, 0, natural ? pictureWidth : picBase->Width,
                             natural ? pictureHeight : picBase->Height, 0, 0, pictureWidth,
                             pictureHeight);
    return;
  }

  // The zoom path keeps the pan: the box goes back to where it stood.
  picShowAVI->Cls();
  const Single left = static_cast<Single>(toolkit::roundHalfEven(picShowAVI->Left));
  const Single top = static_cast<Single>(toolkit::roundHalfEven(picShowAVI->Top));
  picShowAVI->Left = 0;
  picShowAVI->Top = 0;
  picShowAVI->Height = pictureHeight;
  picShowAVI->Width = pictureWidth;
  picShowAVI->Picture = picture;
  const float displayWidth = natural ? pictureWidth : SeparateMJPG.DisplayWidth.value();
  const float displayHeight = natural ? pictureHeight : SeparateMJPG.DisplayHeight.value();
  picShowAVI->Height = displayHeight;
  picShowAVI->Width = displayWidth;
  picShowAVI->PaintPicture(picShowAVI->Picture, 0, 0, displayWidth, displayHeight, 0, 0,
                           pictureWidth, pictureHeight);
  picShowAVI->Left = left;
  picShowAVI->Top = top;
}

void Form1::ShowUndecodableFrame() {
  // No box for each frame of a playback: the part of the view that is seen goes dark and says
  // which frame it is, and playback goes on.
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  const float left = -picShowAVI->Left;
  const float top = -picShowAVI->Top;
  const float width = picBase->Width;
  const float height = picBase->Height;
  QImage note(std::max(1, toolkit::twipsToPixels(width)),
              std::max(1, toolkit::twipsToPixels(height)), QImage::Format_RGB32);
  note.fill(QColor(24, 24, 24));
  {
    QPainter painter(&note);
    painter.setPen(QColor(220, 220, 220));
    painter.setFont(toolkit::toQFont({"Arial", 11.25, true}));
    painter.drawText(
        note.rect(), Qt::AlignCenter,
        QStringLiteral("Frame %1 cannot be shown.").arg(SeparateMJPG.ExtractedFrame.value() + 1));
  }
  picShowAVI->Cls();
  picShowAVI->PaintPicture(toolkit::Picture(note), left, top, width, height, 0, 0,
                           note.width() * toolkit::kTwipsPerPixel,
                           note.height() * toolkit::kTwipsPerPixel);
}

}  // namespace window
