#pragma once

// The pictures of the skin, painted in code so that the art can be reviewed like any source and
// the repository holds no binary images. Each picture has a fixed natural size in pixels; the
// windows place and stretch them as their layout says.

#include <QColor>
#include <QImage>
#include <QSize>

namespace window {

enum class SkinPicture {
  Background,  // Form1's background, 836 x 563
  Icon,        // the window icon, 64 x 64
  // The fourteen image buttons.
  // clang-format off
  ImgFile, ImgSetting, ImgSave, ImgBegin, ImgEnd, ImgLeftStep, ImgRightStep,
  ImgLeftPlay, ImgPausePlay, ImgRightPlay, ImgLeftSearch, ImgRightSearch, ImgZoomOut, ImgZoomIn,
  // The caption strip.
  ImgCfile, ImgCsetting, ImgCsave, ImgCbe, ImgCstep, ImgCplay, ImgCsearch, ImgCzoom,
  // The speed marks.
  Img1X, Img2X, Img3X, Img4X, Img5X, Img1XN, Img2XN, Img3XN, Img4XN, Img5XN,
  // clang-format on
  // The timeline.
  PicBlock,  // the slider, 50 x 15
  ImgBar,    // the track, 633 x 15
};

QSize naturalSize(SkinPicture picture);

// Paints the picture afresh at its natural size (Format_RGB32; the icon may carry alpha).
// The background's wordmarks are set in a font, so a QGuiApplication must exist; everything
// else, captions included, is drawn from shapes and is the same on every machine.
QImage paintSkinPicture(SkinPicture picture);
// The window icon painted at `side` x `side` pixels, for the icon theme of an installed program.
QImage paintIcon(int side);

// The flat grey of the console band that runs behind the row of buttons and the caption strip
// (window rows 472 to 557). The buttons' corners and the ground of the captions and speed marks
// are this grey, so that the opaque pictures sit on the band without a seam.
inline constexpr QRgb kConsoleGrey = qRgb(196, 199, 203);

// The back colour of picBar and picBlock, and the ground around the track's rounded ends.
inline constexpr QRgb kTimelineGreen = qRgb(36, 141, 16);

}  // namespace window
