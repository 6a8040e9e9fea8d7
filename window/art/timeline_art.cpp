// The timeline's track and slider, and the window icon.

#include <QLinearGradient>
#include <QPainterPath>
#include <QRadialGradient>

#include "window/art/art_kit.h"

namespace window::art {

namespace {

// The track's cross-section: a groove of darker green inside a lighter rim, with rounded ends.
void paintTrackSection(QPainter& p, const QRectF& outer) {
  const QColor green(kTimelineGreen);
  p.save();
  p.setPen(Qt::NoPen);
  QLinearGradient rim(outer.topLeft(), outer.bottomLeft());
  rim.setColorAt(0.0, QColor(150, 222, 110));
  rim.setColorAt(1.0, QColor(96, 190, 58));
  p.setBrush(rim);
  p.drawRoundedRect(outer, 4, 4);

  const QRectF groove = outer.adjusted(2, 2, -2, -2);
  QLinearGradient well(groove.topLeft(), groove.bottomLeft());
  well.setColorAt(0.0, mix(green, Qt::black, 0.35));
  well.setColorAt(0.45, green);
  well.setColorAt(1.0, mix(green, Qt::white, 0.12));
  p.setBrush(well);
  p.drawRoundedRect(groove, 2.5, 2.5);
  p.restore();
}

}  // namespace

// The control squeezes the track from 633 to 600 pixels across, so everything that matters in
// it runs lengthwise.
QImage paintTrack(QSize size) {
  QImage image = blankPicture(size, kTimelineGreen);
  QPainter p(&image);
  prepare(p);
  paintTrackSection(p, QRectF(0, 0, size.width(), size.height()));
  return image;
}

// The slider's corners show the track it lies on rather than flat green, so it sits in the
// groove wherever it stands: a piece of track whose rounded ends lie outside the picture.
QImage paintSlider(QSize size) {
  QImage image = blankPicture(size, kTimelineGreen);
  QPainter p(&image);
  prepare(p);
  paintTrackSection(p, QRectF(-8, 0, size.width() + 16, size.height()));
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(0, 0, 0, 50));
  const QRectF body(1, 1, size.width() - 2, size.height() - 2.5);
  p.drawRoundedRect(body.translated(0, 1), body.height() / 2, body.height() / 2);
  paintRaisedFace(p, body, body.height() / 2, QColor(150, 226, 104));

  // Three grip lines in the middle, cut in and lit below.
  const double cx = size.width() / 2.0;
  for (int i = -1; i <= 1; ++i) {
    const double x = cx + i * 3.5;
    p.fillRect(QRectF(x - 0.5, 4, 1, size.height() - 8.5), QColor(60, 140, 30, 200));
    p.fillRect(QRectF(x + 0.5, 4, 1, size.height() - 8.5), QColor(255, 255, 255, 120));
  }
  return image;
}

// A camera lens on the green rounded square, a paw print on its glass: what the clips are for.
QImage paintIcon(QSize size) {
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter p(&image);
  prepare(p);
  const double s = size.width();
  const QRectF tile(s * 0.03, s * 0.03, s * 0.94, s * 0.94);

  p.setPen(Qt::NoPen);
  p.setBrush(QColor(0, 0, 0, 60));
  p.drawRoundedRect(tile.translated(0, s * 0.015), s * 0.2, s * 0.2);
  paintRaisedFace(p, tile, s * 0.2, QColor(kGreenFace));

  const QPointF c = tile.center() + QPointF(0, s * 0.02);
  const double barrel = s * 0.33;
  QRadialGradient metal(c - QPointF(barrel * 0.3, barrel * 0.4), barrel * 1.4);
  metal.setColorAt(0.0, QColor(210, 212, 216));
  metal.setColorAt(1.0, QColor(70, 72, 78));
  p.setBrush(QColor(0, 0, 0, 70));
  p.drawEllipse(c + QPointF(0, s * 0.02), barrel, barrel);
  p.setBrush(metal);
  p.drawEllipse(c, barrel, barrel);
  p.setBrush(QColor(kCharcoalFace).darker(160));
  p.drawEllipse(c, barrel * 0.82, barrel * 0.82);

  const double glassR = barrel * 0.7;
  QRadialGradient glass(c + QPointF(-glassR * 0.2, -glassR * 0.3), glassR * 1.2);
  glass.setColorAt(0.0, QColor(70, 96, 110));
  glass.setColorAt(0.7, QColor(22, 34, 42));
  glass.setColorAt(1.0, QColor(10, 14, 18));
  p.setBrush(glass);
  p.drawEllipse(c, glassR, glassR);

  // The paw: one broad pad and four toes, in the brand green, lit like the tile.
  const double u = glassR / 10.0;
  QPainterPath paw;
  paw.addEllipse(QPointF(c.x(), c.y() + u * 2.6), u * 3.6, u * 3.0);
  paw.addEllipse(QPointF(c.x() - u * 4.6, c.y() - u * 1.2), u * 1.5, u * 1.9);
  paw.addEllipse(QPointF(c.x() - u * 1.7, c.y() - u * 4.2), u * 1.5, u * 2.0);
  paw.addEllipse(QPointF(c.x() + u * 1.7, c.y() - u * 4.2), u * 1.5, u * 2.0);
  paw.addEllipse(QPointF(c.x() + u * 4.6, c.y() - u * 1.2), u * 1.5, u * 1.9);
  p.setBrush(mix(QColor(kGreenFace), Qt::white, 0.35));
  p.drawPath(paw);

  // The glass catches the light along its upper left edge.
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(255, 255, 255, 140), s * 0.025, Qt::SolidLine, Qt::RoundCap));
  const double arcR = glassR * 0.8;
  p.drawArc(QRectF(c.x() - arcR, c.y() - arcR, 2 * arcR, 2 * arcR), 100 * 16, 60 * 16);
  p.end();

  // Antialiased edges leave specks of colour at an alpha of a few 255ths around the tile, which
  // some icon formats turn into visible dots; make them clear.
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x)
      if (qAlpha(line[x]) < 8) line[x] = 0;
  }
  return image;
}

}  // namespace window::art
