// Form1's background: a pale diagonal gradient with the badge and its ribbon, the wordmark strip
// down the left, a recessed bezel behind the view and the timeline, and the console band behind
// the buttons and the caption strip. The layout of the window decides where these go:
//   view (fraBox)      168, 72   598 x 361
//   timeline (picBar)  167, 440  600 x 16, the frame number drawn in black just below it
//   buttons            rows 481 to 534, columns 33 to 801
//   caption strip      rows 541 to 553
// The window shows only 834 x 560 of the 836 x 563 picture.

#include <QFont>
#include <QLinearGradient>
#include <QPainterPath>

#include "window/art/art_kit.h"

namespace window::art {
namespace {

const QColor kPaleTop(242, 243, 245);
const QColor kPaleBottom(158, 161, 166);
const QColor kRibbon(56, 58, 62);
const QColor kWordmarkInk(84, 87, 92);

const QRectF kBadge(14, 7, 160, 52);
const QRectF kStrip(72, 80, 44, 376);
const QRectF kBezel(158, 62, 618, 398);
const QRectF kView(168, 72, 598, 361);
const QRectF kTimelineSlot(165, 438, 604, 20);
const QRectF kConsole(16, 472, 802, 86);

QFont wordmarkFont(int pixelSize, bool italic) {
  QFont font;
  font.setFamilies({QStringLiteral("Liberation Sans"), QStringLiteral("DejaVu Sans")});
  font.setPixelSize(pixelSize);
  font.setBold(true);
  font.setItalic(italic);
  font.setHintingPreference(QFont::PreferFullHinting);
  return font;
}

void paintGround(QPainter& p, const QSize& size) {
  QLinearGradient ground(0, 0, size.width(), size.height());
  ground.setColorAt(0.0, kPaleTop);
  ground.setColorAt(1.0, kPaleBottom);
  p.fillRect(QRect(QPoint(0, 0), size), ground);
}

void paintRibbon(QPainter& p, double right) {
  const double y = kBadge.center().y();
  const QRectF ribbon(kBadge.center().x(), y - 2.5, right - kBadge.center().x(), 5);
  QLinearGradient shade(ribbon.topLeft(), ribbon.bottomLeft());
  shade.setColorAt(0.0, mix(kRibbon, Qt::white, 0.25));
  shade.setColorAt(0.5, kRibbon);
  shade.setColorAt(1.0, mix(kRibbon, Qt::black, 0.35));
  p.fillRect(ribbon, shade);
  // A hairline of the brand green under the ribbon, and a pale line above it to lift it off.
  p.fillRect(QRectF(ribbon.left(), ribbon.bottom() + 1, ribbon.width(), 1),
             mix(QColor(kGreenFace), kPaleTop, 0.25));
  p.fillRect(QRectF(ribbon.left(), ribbon.top() - 1, ribbon.width(), 1),
             QColor(255, 255, 255, 150));
}

void paintBadge(QPainter& p) {
  p.save();
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(0, 0, 0, 40));
  p.drawEllipse(kBadge.translated(0, 1.5));
  QLinearGradient rim(kBadge.topLeft(), kBadge.bottomLeft());
  rim.setColorAt(0.0, mix(kRibbon, Qt::white, 0.35));
  rim.setColorAt(1.0, mix(kRibbon, Qt::black, 0.3));
  p.setBrush(rim);
  p.drawEllipse(kBadge);

  const QRectF inner = kBadge.adjusted(3.5, 3.5, -3.5, -3.5);
  QLinearGradient face(inner.topLeft(), inner.bottomLeft());
  face.setColorAt(0.0, mix(QColor(kGreenFace), Qt::white, 0.22));
  face.setColorAt(0.6, QColor(kGreenFace));
  face.setColorAt(1.0, mix(QColor(kGreenFace), Qt::black, 0.25));
  p.setBrush(face);
  p.drawEllipse(inner);

  QPainterPath gloss;
  gloss.addEllipse(inner.adjusted(6, 1.5, -6, -inner.height() * 0.5));
  QLinearGradient glossShade(inner.topLeft(), QPointF(inner.left(), inner.center().y()));
  glossShade.setColorAt(0.0, QColor(255, 255, 255, 120));
  glossShade.setColorAt(1.0, QColor(255, 255, 255, 0));
  p.setBrush(glossShade);
  p.drawPath(gloss);

  p.setFont(wordmarkFont(21, true));
  const QRectF textBox = inner.translated(-1, 0);
  p.setPen(QColor(0, 0, 0, 90));
  p.drawText(textBox.translated(0, 1.2), Qt::AlignCenter, QStringLiteral("Harrowglen"));
  p.setPen(QColor(255, 255, 255));
  p.drawText(textBox, Qt::AlignCenter, QStringLiteral("Harrowglen"));
  p.restore();
}

void paintStrip(QPainter& p) {
  p.save();
  const double r = kStrip.width() / 2;
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(0, 0, 0, 35));
  p.drawRoundedRect(kStrip.translated(1.5, 1.5), r, r);

  // Lit from the top left like a brushed metal bar: bright left of centre, falling off to both
  // edges.
  QLinearGradient metal(kStrip.topLeft(), kStrip.topRight());
  metal.setColorAt(0.0, QColor(168, 171, 176));
  metal.setColorAt(0.35, QColor(222, 224, 227));
  metal.setColorAt(1.0, QColor(150, 153, 159));
  p.setBrush(metal);
  p.drawRoundedRect(kStrip, r, r);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(120, 123, 129), 1.0));
  p.drawRoundedRect(kStrip.adjusted(0.5, 0.5, -0.5, -0.5), r - 0.5, r - 0.5);

  // The wordmark reads upwards, like a spine.
  p.translate(kStrip.center());
  p.rotate(-90);
  const QRectF spine(-kStrip.height() / 2, -kStrip.width() / 2, kStrip.height(), kStrip.width());
  p.setFont(wordmarkFont(27, false));
  p.setPen(QColor(255, 255, 255, 150));
  p.drawText(spine.translated(0, 1), Qt::AlignCenter, QStringLiteral("Harrowglen"));
  p.setPen(kWordmarkInk);
  p.drawText(spine, Qt::AlignCenter, QStringLiteral("Harrowglen"));
  p.restore();
}

void paintBezel(QPainter& p) {
  p.save();
  const double r = 9;
  p.setPen(Qt::NoPen);
  // Recessed: a pale lip along the lower right edge, shade falling from the upper one.
  p.setBrush(QColor(255, 255, 255, 170));
  p.drawRoundedRect(kBezel.translated(1, 1), r, r);
  p.setBrush(QColor(0, 0, 0, 60));
  p.drawRoundedRect(kBezel.translated(-0.5, -0.5), r, r);
  QLinearGradient well(kBezel.topLeft(), kBezel.bottomLeft());
  well.setColorAt(0.0, QColor(150, 153, 159));
  well.setColorAt(1.0, QColor(176, 179, 184));
  p.setBrush(well);
  p.drawRoundedRect(kBezel, r, r);
  QLinearGradient innerShade(kBezel.topLeft(), kBezel.topLeft() + QPointF(0, 8));
  innerShade.setColorAt(0.0, QColor(0, 0, 0, 55));
  innerShade.setColorAt(1.0, QColor(0, 0, 0, 0));
  p.setBrush(innerShade);
  p.drawRoundedRect(kBezel, r, r);

  // The screen, with a dark frame a pixel wide, and the slot the timeline lies in.
  p.setBrush(QColor(70, 72, 77));
  p.drawRect(kView.adjusted(-1, -1, 1, 1));
  p.setBrush(QColor(20, 21, 23));
  p.drawRect(kView);
  p.setBrush(QColor(96, 99, 104));
  p.drawRoundedRect(kTimelineSlot, 3, 3);
  p.setBrush(QColor(kTimelineGreen));
  p.drawRect(kTimelineSlot.adjusted(2, 2, -2, -2));
  p.restore();
}

void paintConsole(QPainter& p) {
  p.save();
  const double r = 8;
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(0, 0, 0, 45));
  p.drawRoundedRect(kConsole.translated(0, 1.5), r, r);
  p.setBrush(QColor(kConsoleGrey));
  p.drawRoundedRect(kConsole, r, r);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(255, 255, 255, 160), 1.0));
  p.drawLine(QPointF(kConsole.left() + r, kConsole.top() + 0.5),
             QPointF(kConsole.right() - r, kConsole.top() + 0.5));
  p.setPen(QPen(QColor(128, 131, 136), 1.0));
  p.drawRoundedRect(kConsole.adjusted(-0.5, -0.5, 0.5, 0.5), r + 0.5, r + 0.5);
  p.restore();
}

}  // namespace

QImage paintBackground() {
  const QSize size = naturalSize(SkinPicture::Background);
  QImage image = blankPicture(size, kPaleTop.rgb());
  QPainter painter(&image);
  prepare(painter);
  paintGround(painter, size);
  paintRibbon(painter, size.width());
  paintBadge(painter);
  paintStrip(painter);
  paintBezel(painter);
  paintConsole(painter);
  return image;
}

}  // namespace window::art
