#pragma once

// Units, colours and small value types of the forms toolkit.

#include <QColor>
#include <cstdint>

#include "toolkit/core/rect.h"
#include "toolkit/core/vb_types.h"

namespace toolkit {

// All window geometry is in twips; at 100 % scale a logical pixel is 15 twips, and Qt's device
// pixel ratio maps logical pixels to the screen.
inline constexpr float kTwipsPerPixel = 15.0f;

// The on-screen size of a twips value: rounded to whole pixels, halves to even.
inline int twipsToPixels(double twips) {
  return static_cast<int>(roundHalfEven(twips / kTwipsPerPixel));
}

// A picture box's ScaleMode: the unit of its coordinates, of its children's geometry and of the
// X and Y of its mouse events.
enum class ScaleUnit : int { Twips = 1, Pixels = 3 };

// Conversions between twips and a scale, by division and multiplication so that whole pixels
// stay whole.
inline float twipsToUnits(float twips, ScaleUnit unit) {
  return unit == ScaleUnit::Pixels ? twips / kTwipsPerPixel : twips;
}
inline float unitsToTwips(float value, ScaleUnit unit) {
  return unit == ScaleUnit::Pixels ? value * kTwipsPerPixel : value;
}

// MousePointer values that the program uses.
enum class Pointer : int { Default = 0, Cross = 2, Hourglass = 11 };

// Colours are Longs as the old toolkit keeps them: red in the low byte, so RGB(255, 0, 0) = 255.
// Values with the top bit set name a system colour.
using Color = std::int32_t;
constexpr Color RGB(int red, int green, int blue) { return red | green << 8 | blue << 16; }
inline constexpr Color kSysActiveBorder = static_cast<Color>(0x8000000A);
inline constexpr Color kSysWindowText = static_cast<Color>(0x80000008);
inline constexpr Color kSysWindowBackground = static_cast<Color>(0x80000005);
inline constexpr Color kSysButtonFace = static_cast<Color>(0x8000000F);
inline constexpr Color kSysButtonText = static_cast<Color>(0x80000012);

QColor toQColor(Color color);

// A font as the tables give it: a name, a size in points and boldness. Names of fonts that this
// system lacks are mapped to the closest one installed.
struct FontSpec {
  const char* name = "MS Sans Serif";
  double points = 8.25;
  bool bold = false;
};

}  // namespace toolkit
