#pragma once

// Shared by the painters of the skin: the palette and a few shapes more than one picture uses.

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QSize>

#include "window/art/skin_art.h"

namespace window::art {

inline constexpr QRgb kGreenFace = qRgb(64, 173, 10);
inline constexpr QRgb kCharcoalFace = qRgb(88, 85, 89);
inline constexpr QRgb kSymbolLight = qRgb(246, 248, 244);
inline constexpr QRgb kInk = qRgb(38, 40, 44);  // the captions' letters

// A blank RGB32 picture filled with one colour, and a painter on it with antialiasing on.
QImage blankPicture(QSize size, QRgb fill);
void prepare(QPainter& painter);

// Mixes two colours; t = 0 gives a, t = 1 gives b.
QColor mix(QColor a, QColor b, double t);

// A raised face: a vertical gradient around `face`, a darker rim and a soft gloss over the upper
// half, the way the buttons, the badge and the slider are lit (light from above).
void paintRaisedFace(QPainter& painter, const QRectF& rect, double radius, QColor face);

QImage paintBackground();
QImage paintButton(SkinPicture picture, QSize size);
QImage paintCaption(SkinPicture picture, QSize size);
QImage paintTrack(QSize size);
QImage paintSlider(QSize size);
QImage paintIcon(QSize size);

}  // namespace window::art
