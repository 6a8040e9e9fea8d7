#include "window/art/skin_art.h"

#include <QLinearGradient>

#include "window/art/art_kit.h"

namespace window {

QSize naturalSize(SkinPicture picture) {
  switch (picture) {
    case SkinPicture::Background:
      return {836, 563};
    case SkinPicture::Icon:
      return {64, 64};
    case SkinPicture::ImgFile:
      return {37, 53};
    case SkinPicture::ImgSetting:
      return {37, 51};
    case SkinPicture::ImgSave:
      return {37, 51};
    case SkinPicture::ImgBegin:
      return {30, 51};
    case SkinPicture::ImgEnd:
      return {30, 51};
    case SkinPicture::ImgLeftStep:
      return {30, 51};
    case SkinPicture::ImgRightStep:
      return {29, 51};
    case SkinPicture::ImgLeftPlay:
      return {24, 53};
    case SkinPicture::ImgPausePlay:
      return {37, 51};
    case SkinPicture::ImgRightPlay:
      return {24, 51};
    case SkinPicture::ImgLeftSearch:
      return {30, 51};
    case SkinPicture::ImgRightSearch:
      return {29, 51};
    case SkinPicture::ImgZoomOut:
      return {30, 51};
    case SkinPicture::ImgZoomIn:
      return {30, 51};
    case SkinPicture::ImgCfile:
      return {26, 9};
    case SkinPicture::ImgCsetting:
      return {55, 11};
    case SkinPicture::ImgCsave:
      return {32, 11};
    case SkinPicture::ImgCbe:
      return {70, 11};
    case SkinPicture::ImgCstep:
      return {98, 11};
    case SkinPicture::ImgCplay:
      return {132, 11};
    case SkinPicture::ImgCsearch:
      return {100, 12};
    case SkinPicture::ImgCzoom:
      return {34, 11};
    case SkinPicture::Img1X:
      return {14, 9};
    case SkinPicture::Img2X:
    case SkinPicture::Img3X:
    case SkinPicture::Img4X:
    case SkinPicture::Img5X:
      return {15, 9};
    case SkinPicture::Img1XN:
    case SkinPicture::Img2XN:
    case SkinPicture::Img3XN:
    case SkinPicture::Img4XN:
    case SkinPicture::Img5XN:
      return {19, 9};
    case SkinPicture::PicBlock:
      return {50, 15};
    case SkinPicture::ImgBar:
      return {633, 15};
  }
  return {};
}

QImage paintSkinPicture(SkinPicture picture) {
  const QSize size = naturalSize(picture);
  switch (picture) {
    case SkinPicture::Background:
      return art::paintBackground();
    case SkinPicture::Icon:
      return art::paintIcon(size);
    case SkinPicture::PicBlock:
      return art::paintSlider(size);
    case SkinPicture::ImgBar:
      return art::paintTrack(size);
    default:
      break;
  }
  if (picture >= SkinPicture::ImgFile && picture <= SkinPicture::ImgZoomIn)
    return art::paintButton(picture, size);
  return art::paintCaption(picture, size);
}

QImage paintIcon(int side) { return art::paintIcon(QSize(side, side)); }

namespace art {

QImage blankPicture(QSize size, QRgb fill) {
  QImage image(size, QImage::Format_RGB32);
  image.fill(fill);
  return image;
}

void prepare(QPainter& painter) {
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
}

QColor mix(QColor a, QColor b, double t) {
  return QColor::fromRgbF(static_cast<float>(a.redF() + (b.redF() - a.redF()) * t),
                          static_cast<float>(a.greenF() + (b.greenF() - a.greenF()) * t),
                          static_cast<float>(a.blueF() + (b.blueF() - a.blueF()) * t));
}

void paintRaisedFace(QPainter& painter, const QRectF& rect, double radius, QColor face) {
  const QColor white(255, 255, 255);
  const QColor black(0, 0, 0);
  painter.save();
  painter.setPen(Qt::NoPen);

  QLinearGradient body(rect.topLeft(), rect.bottomLeft());
  body.setColorAt(0.0, mix(face, white, 0.18));
  body.setColorAt(0.55, face);
  body.setColorAt(1.0, mix(face, black, 0.22));
  painter.setBrush(body);
  painter.drawRoundedRect(rect, radius, radius);

  // The gloss: a pale wash over the upper half, fading out before the middle.
  const QRectF glossRect = rect.adjusted(1.5, 1.5, -1.5, -rect.height() * 0.52);
  QLinearGradient gloss(glossRect.topLeft(), glossRect.bottomLeft());
  gloss.setColorAt(0.0, QColor(255, 255, 255, 110));
  gloss.setColorAt(1.0, QColor(255, 255, 255, 18));
  painter.setBrush(gloss);
  const double glossRadius = qMax(0.0, radius - 1.5);
  painter.drawRoundedRect(glossRect, glossRadius, glossRadius);

  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(mix(face, black, 0.45), 1.0));
  painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
  painter.setPen(QPen(QColor(255, 255, 255, 70), 1.0));
  painter.drawRoundedRect(rect.adjusted(1.5, 1.5, -1.5, -1.5), radius - 1.5, radius - 1.5);
  painter.restore();
}

}  // namespace art
}  // namespace window
