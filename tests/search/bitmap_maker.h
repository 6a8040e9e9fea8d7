#pragma once

// Bitmaps made byte by byte, so that the cell means a test expects are known by construction,
// and the odd layouts no converter writes (other bit counts, a palette count, cut-off rows).

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace search_test {

using Bgr = std::array<std::uint8_t, 3>;

struct BitmapFields {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint16_t bitCount = 24;
  std::uint32_t clrUsed = 0;
  std::uint8_t padFill = 0;  // what the padding bytes at the end of each row hold
};

// A bitmap whose pixel at (x, y), y counted from the bottom row, is pixel(x, y).
std::vector<std::uint8_t> makeBitmap(const BitmapFields& fields,
                                     const std::function<Bgr(int x, int y)>& pixel);

// A grey picture of columns x rows cells of 16 pixels; every pixel of cell (r, c), r = 0 at the
// bottom, is grey(r, c). Grey pixels have exactly their own value as brightness.
std::vector<std::uint8_t> cellPicture(int columns, int rows,
                                      const std::function<int(int r, int c)>& grey);

inline void put32(std::vector<std::uint8_t>& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

}  // namespace search_test
