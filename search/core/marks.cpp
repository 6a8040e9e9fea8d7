#include "search/core/marks.h"

#include <algorithm>
#include <cmath>

namespace search {
namespace {

// Calls put(x, y) for every pixel of the marks, inside a picture of width x height.
template <typename Put>
void forEachMarkPixel(const std::vector<CellPoint>& corners, double scale, int width, int height,
                      Put put) {
  const auto clipped = [&](int x, int y) {
    if (x >= 0 && y >= 0 && x < width && y < height) put(x, y);
  };
  const int side = std::max(3, static_cast<int>(std::lround(kMarkSide * scale)));
  for (const CellPoint& corner : corners) {
    const auto x = static_cast<int>(std::floor(corner.X.value() * scale));
    const auto y = static_cast<int>(std::floor(corner.Y.value() * scale));
    for (int i = 0; i <= side; ++i) {
      clipped(x + i, y);
      clipped(x + i, y + side);
      clipped(x, y + i);
      clipped(x + side, y + i);
    }
  }
}

}  // namespace

void drawMarks(toolkit::RgbImage& picture, const std::vector<CellPoint>& corners, double scale) {
  forEachMarkPixel(corners, scale, picture.width, picture.height, [&](int x, int y) {
    auto* p = &picture.pixels[(static_cast<std::size_t>(y) * picture.width + x) * 3];
    p[0] = 0;
    p[1] = 0;
    p[2] = 255;
  });
}

std::vector<std::uint8_t> markedBitmap(const clip::Frame& frame,
                                       const std::vector<CellPoint>& corners) {
  std::vector<std::uint8_t> bitmap(frame.bitmap);
  if (!frame.decoded()) return bitmap;
  const int width = frame.width, height = frame.height;
  forEachMarkPixel(corners, 1.0, width, height, [&](int x, int y) {
    auto* p = &bitmap[toolkit::kBmpHeaderBytes +
                      static_cast<std::size_t>(height - 1 - y) * frame.rowBytes +
                      static_cast<std::size_t>(x) * 3];
    p[0] = 255;  // blue
    p[1] = 0;
    p[2] = 0;
  });
  return bitmap;
}

toolkit::RgbImage markedPicture(const clip::Frame& frame, const std::vector<CellPoint>& corners) {
  std::optional<toolkit::RgbImage> picture = toolkit::decodeBmp(frame.bitmapFile());
  if (!picture) return {};
  drawMarks(*picture, corners);
  return std::move(*picture);
}

}  // namespace search
