// The fourteen image buttons: a lit, rounded face on the console grey with a light symbol.

#include <QPainterPath>
#include <QPainterPathStroker>
#include <cmath>
#include <numbers>

#include "window/art/art_kit.h"

namespace window::art {
namespace {

enum class Symbol {
  Folder,
  Gears,
  Floppy,
  BarTriangleLeft,
  TriangleBarRight,
  TriangleLeft,
  TriangleRight,
  NarrowLeft,
  Pause,
  NarrowRight,
  TriangleBarLeft,
  BarTriangleRight,
  ZoomOut,
  ZoomIn
};

struct ButtonLook {
  Symbol symbol;
  bool green;
  // The face's rows. The controls stretch some bitmaps by a row or two and two of them sit a
  // row lower; these rows make every face cover window rows 482 to 530 all the same.
  int faceTop;
  int faceHeight;
};

ButtonLook lookOf(SkinPicture picture) {
  switch (picture) {
    case SkinPicture::ImgFile:
      return {Symbol::Folder, true, 1, 49};
    case SkinPicture::ImgSetting:
      return {Symbol::Gears, true, 1, 48};
    case SkinPicture::ImgSave:
      return {Symbol::Floppy, true, 1, 49};
    case SkinPicture::ImgBegin:
      return {Symbol::BarTriangleLeft, false, 1, 49};
    case SkinPicture::ImgEnd:
      return {Symbol::TriangleBarRight, false, 1, 49};
    case SkinPicture::ImgLeftStep:
      return {Symbol::TriangleLeft, false, 1, 49};
    case SkinPicture::ImgRightStep:
      return {Symbol::TriangleRight, false, 1, 49};
    case SkinPicture::ImgLeftPlay:
      return {Symbol::NarrowLeft, false, 0, 51};
    case SkinPicture::ImgPausePlay:
      return {Symbol::Pause, false, 1, 49};
    case SkinPicture::ImgRightPlay:
      return {Symbol::NarrowRight, false, 0, 49};
    case SkinPicture::ImgLeftSearch:
      return {Symbol::TriangleBarLeft, false, 1, 49};
    case SkinPicture::ImgRightSearch:
      return {Symbol::BarTriangleRight, false, 1, 49};
    case SkinPicture::ImgZoomOut:
      return {Symbol::ZoomOut, false, 1, 49};
    default:
      return {Symbol::ZoomIn, false, 1, 49};
  }
}

constexpr double kTriangleHeight = 14.0;
constexpr double kTriangleDepth = 11.0;
constexpr double kBarWidth = 3.0;

// A triangle whose point lies at `tipX` and whose back edge is `depth` away, pointing to the
// right for a positive depth and to the left for a negative one.
QPainterPath triangle(double tipX, double centreY, double depth, double height) {
  QPainterPath path;
  path.moveTo(tipX, centreY);
  path.lineTo(tipX - depth, centreY - height / 2);
  path.lineTo(tipX - depth, centreY + height / 2);
  path.closeSubpath();
  return path;
}

QPainterPath bar(double left, double centreY, double width, double height) {
  QPainterPath path;
  path.addRoundedRect(QRectF(left, centreY - height / 2, width, height), 0.8, 0.8);
  return path;
}

// A bar and a triangle side by side, centred on `c`; the triangle points along `dir` (+1 right,
// -1 left) and `barFirst` tells which of the two stands on the left.
QPainterPath barAndTriangle(QPointF c, int dir, bool barFirst) {
  const double gap = 1.0;
  const double total = kBarWidth + gap + kTriangleDepth;
  const double left = c.x() - total / 2;
  const double barLeft = barFirst ? left : left + kTriangleDepth + gap;
  const double triLeft = barFirst ? left + kBarWidth + gap : left;
  const double tip = dir > 0 ? triLeft + kTriangleDepth : triLeft;
  QPainterPath path = bar(barLeft, c.y(), kBarWidth, kTriangleHeight);
  path.addPath(triangle(tip, c.y(), dir * kTriangleDepth, kTriangleHeight));
  return path;
}

QPainterPath gear(QPointF c, double outer, double inner, double hole, int teeth, double phase) {
  // Trapezoid teeth: narrower at the tip than at the root, joined along the root circle.
  QPainterPath path;
  const double pitch = 2.0 * std::numbers::pi / teeth;
  const auto at = [c](double r, double a) {
    return QPointF(c.x() + r * std::cos(a), c.y() + r * std::sin(a));
  };
  for (int k = 0; k < teeth; ++k) {
    const double a = phase + k * pitch;
    if (k == 0)
      path.moveTo(at(inner, a - 0.30 * pitch));
    else
      path.lineTo(at(inner, a - 0.30 * pitch));
    path.lineTo(at(outer, a - 0.17 * pitch));
    path.lineTo(at(outer, a + 0.17 * pitch));
    path.lineTo(at(inner, a + 0.30 * pitch));
  }
  path.closeSubpath();
  QPainterPath axle;
  axle.addEllipse(c, hole, hole);
  return path.subtracted(axle);
}

QPainterPath folder(QPointF c) {
  const double w = 21, h = 15;
  const QRectF body(c.x() - w / 2, c.y() - h / 2 + 2, w, h - 2);
  QPainterPath back;
  back.moveTo(body.left(), body.top() - 3);
  back.lineTo(body.left() + 7, body.top() - 3);
  back.lineTo(body.left() + 9, body.top() - 1);
  back.lineTo(body.right(), body.top() - 1);
  back.lineTo(body.right(), body.bottom());
  back.lineTo(body.left(), body.bottom());
  back.closeSubpath();
  return back;
}

// The open flap of the folder, slanted to suggest depth; drawn in the face colour's shade.
QPainterPath folderFlap(QPointF c) {
  const double w = 21, h = 15;
  const double top = c.y() - h / 2 + 5;
  QPainterPath flap;
  flap.moveTo(c.x() - w / 2 + 2.5, top);
  flap.lineTo(c.x() + w / 2 + 1.5, top);
  flap.lineTo(c.x() + w / 2 - 1, c.y() + h / 2);
  flap.lineTo(c.x() - w / 2, c.y() + h / 2);
  flap.closeSubpath();
  return flap;
}

QPainterPath floppy(QPointF c) {
  const double s = 17;
  const QRectF r(c.x() - s / 2, c.y() - s / 2, s, s);
  QPainterPath disk;
  disk.moveTo(r.left() + 1, r.top());
  disk.lineTo(r.right() - 3, r.top());
  disk.lineTo(r.right(), r.top() + 3);
  disk.lineTo(r.right(), r.bottom() - 1);
  disk.quadTo(r.right(), r.bottom(), r.right() - 1, r.bottom());
  disk.lineTo(r.left() + 1, r.bottom());
  disk.quadTo(r.left(), r.bottom(), r.left(), r.bottom() - 1);
  disk.lineTo(r.left(), r.top() + 1);
  disk.quadTo(r.left(), r.top(), r.left() + 1, r.top());
  disk.closeSubpath();
  QPainterPath holes;
  holes.addRect(QRectF(r.left() + 4, r.top(), 8, 5.5));            // the shutter
  holes.addRect(QRectF(r.left() + 3, r.top() + 9, s - 6, 8 - 1));  // the label
  QPainterPath shutterSlot;
  shutterSlot.addRect(QRectF(r.left() + 9, r.top() + 1, 2, 3.5));
  return disk.subtracted(holes).united(shutterSlot);
}

QPainterPath downArrow(QPointF tip, double width, double height) {
  QPainterPath arrow;
  const double stem = width * 0.38;
  const double headH = height * 0.55;
  arrow.moveTo(tip);
  arrow.lineTo(tip.x() - width / 2, tip.y() - headH);
  arrow.lineTo(tip.x() - stem / 2, tip.y() - headH);
  arrow.lineTo(tip.x() - stem / 2, tip.y() - height);
  arrow.lineTo(tip.x() + stem / 2, tip.y() - height);
  arrow.lineTo(tip.x() + stem / 2, tip.y() - headH);
  arrow.lineTo(tip.x() + width / 2, tip.y() - headH);
  arrow.closeSubpath();
  return arrow;
}

QPainterPath magnifier(QPointF c, bool plus) {
  const QPointF lens(c.x() - 2, c.y() - 2);
  const double radius = 7.0;
  QPainterPathStroker ring;
  ring.setWidth(2.4);
  QPainterPath circle;
  circle.addEllipse(lens, radius, radius);
  QPainterPath path = ring.createStroke(circle);

  QPainterPathStroker handleStroke;
  handleStroke.setWidth(3.6);
  handleStroke.setCapStyle(Qt::RoundCap);
  QPainterPath handle;
  const double d = radius / std::sqrt(2.0);
  handle.moveTo(lens.x() + d + 0.8, lens.y() + d + 0.8);
  handle.lineTo(lens.x() + d + 6.0, lens.y() + d + 6.0);
  path = path.united(handleStroke.createStroke(handle));

  QPainterPath sign;
  sign.addRect(QRectF(lens.x() - 4, lens.y() - 1, 8, 2));
  if (plus) {
    QPainterPath upright;
    upright.addRect(QRectF(lens.x() - 1, lens.y() - 4, 2, 8));
    sign = sign.united(upright);
  }
  return path.united(sign);
}

QPainterPath symbolPath(Symbol symbol, QPointF c) {
  switch (symbol) {
    case Symbol::Folder:
      return folder(c);
    case Symbol::Gears:
      return gear(QPointF(c.x() - 2.5, c.y() + 2.5), 7.6, 5.6, 2.4, 8, 0.0)
          .united(gear(QPointF(c.x() + 5.5, c.y() - 6.0), 5.0, 3.5, 1.5, 6, 0.3));
    case Symbol::Floppy: {
      QPainterPath path = floppy(QPointF(c.x(), c.y() + 4));
      path.addPath(downArrow(QPointF(c.x(), c.y() - 6), 10, 9));
      return path;
    }
    case Symbol::BarTriangleLeft:
      return barAndTriangle(c, -1, true);
    case Symbol::TriangleBarRight:
      return barAndTriangle(c, +1, false);
    case Symbol::TriangleBarLeft:
      return barAndTriangle(c, -1, false);
    case Symbol::BarTriangleRight:
      return barAndTriangle(c, +1, true);
    case Symbol::TriangleLeft:
      return triangle(c.x() - kTriangleDepth / 2 - 0.5, c.y(), -kTriangleDepth, kTriangleHeight);
    case Symbol::TriangleRight:
      return triangle(c.x() + kTriangleDepth / 2 + 0.5, c.y(), kTriangleDepth, kTriangleHeight);
    case Symbol::NarrowLeft:
      return triangle(c.x() - 4.5, c.y(), -9, 12);
    case Symbol::NarrowRight:
      return triangle(c.x() + 4.5, c.y(), 9, 12);
    case Symbol::Pause: {
      QPainterPath path = bar(c.x() - 5.5, c.y(), 4, 15);
      path.addPath(bar(c.x() + 1.5, c.y(), 4, 15));
      return path;
    }
    case Symbol::ZoomOut:
      return magnifier(c, false);
    case Symbol::ZoomIn:
      return magnifier(c, true);
  }
  return {};
}

}  // namespace

QImage paintButton(SkinPicture picture, QSize size) {
  const ButtonLook look = lookOf(picture);
  QImage image = blankPicture(size, kConsoleGrey);
  QPainter painter(&image);
  prepare(painter);

  const QRectF face(1, look.faceTop, size.width() - 2, look.faceHeight);
  const QColor faceColour(look.green ? kGreenFace : kCharcoalFace);

  // A soft contact shadow on the band, a row below the face.
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0, 0, 0, 38));
  painter.drawRoundedRect(face.translated(0, 1.2).adjusted(-0.3, 0, 0.3, 0), 6.5, 6.5);

  paintRaisedFace(painter, face, 6.0, faceColour);

  const QPointF centre = face.center();
  const QPainterPath symbol = symbolPath(look.symbol, centre);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0, 0, 0, look.green ? 70 : 95));
  painter.drawPath(symbol.translated(0, 1));
  painter.setBrush(QColor(kSymbolLight));
  painter.drawPath(symbol);
  if (look.symbol == Symbol::Folder) {
    painter.setBrush(mix(faceColour, QColor(kSymbolLight), 0.78));
    painter.drawPath(folderFlap(centre));
  }
  return image;
}

}  // namespace window::art
