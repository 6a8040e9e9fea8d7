#include "tests/search/bitmap_maker.h"

#include <algorithm>

namespace search_test {

std::vector<std::uint8_t> makeBitmap(const BitmapFields& f,
                                     const std::function<Bgr(int x, int y)>& pixel) {
  const std::size_t row = (static_cast<std::size_t>(f.width) * 3 + 3) & ~std::size_t{3};
  std::vector<std::uint8_t> b(54 + row * static_cast<std::size_t>(f.height), f.padFill);
  std::fill(b.begin(), b.begin() + 54, 0);
  b[0] = 'B';
  b[1] = 'M';
  put32(b, 2, static_cast<std::uint32_t>(b.size()));
  put32(b, 10, 54);
  put32(b, 14, 40);
  put32(b, 18, static_cast<std::uint32_t>(f.width));
  put32(b, 22, static_cast<std::uint32_t>(f.height));
  b[26] = 1;
  b[28] = static_cast<std::uint8_t>(f.bitCount);
  b[29] = static_cast<std::uint8_t>(f.bitCount >> 8);
  put32(b, 46, f.clrUsed);
  for (int y = 0; y < f.height; ++y) {
    std::uint8_t* p = b.data() + 54 + row * static_cast<std::size_t>(y);
    for (int x = 0; x < f.width; ++x) {
      const Bgr v = pixel(x, y);
      p[3 * x] = v[0];
      p[3 * x + 1] = v[1];
      p[3 * x + 2] = v[2];
    }
  }
  return b;
}

std::vector<std::uint8_t> cellPicture(int columns, int rows,
                                      const std::function<int(int r, int c)>& grey) {
  return makeBitmap({columns * 16, rows * 16}, [&](int x, int y) {
    const auto v = static_cast<std::uint8_t>(grey(y / 16, x / 16));
    return Bgr{v, v, v};
  });
}

}  // namespace search_test
