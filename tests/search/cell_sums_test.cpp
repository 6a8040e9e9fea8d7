#include "search/core/cell_sums.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace search {
namespace {

// The comparison's arithmetic as the old module did it: first the brightness of every pixel in
// file order, then each cell in cell order, its rows bottom-up, each row left to right.
void reference(const BgrRows& rows, int cellSize, std::vector<float>& luma,
               std::vector<float>& sums) {
  luma.assign(static_cast<std::size_t>(rows.width * rows.height), 0.0f);
  for (std::int64_t y = 0; y < rows.height; ++y) {
    for (std::int64_t x = 0; x < rows.width; ++x) {
      const std::uint8_t* p = rows.data + y * static_cast<std::int64_t>(rows.rowBytes) + 3 * x;
      const double v = 0.587 * p[1] + 0.299 * p[2] + 0.114 * p[0];
      luma[static_cast<std::size_t>(y * rows.width + x)] = static_cast<float>(v);
    }
  }
  const std::int64_t cellRows = rows.height / cellSize;
  const std::int64_t cellColumns = rows.width / cellSize;
  sums.assign(static_cast<std::size_t>(cellRows * cellColumns), 0.0f);
  for (std::int64_t r = 0; r < cellRows; ++r) {
    for (std::int64_t c = 0; c < cellColumns; ++c) {
      const std::int64_t first = r * cellSize * rows.width + c * cellSize;
      float sum = 0.0f;
      for (int yy = 0; yy < cellSize; ++yy) {
        for (int xx = 0; xx < cellSize; ++xx) {
          sum = sum + luma[static_cast<std::size_t>(first + yy * rows.width + xx)];
        }
      }
      sums[static_cast<std::size_t>(r * cellColumns + c)] = sum;
    }
  }
}

bool sameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

struct Picture {
  std::vector<std::uint8_t> bytes;
  BgrRows rows;
};

// Random bytes, padding included. Now and then a smooth picture, whose sums carry the fractions
// of neighbouring values the way real frames do.
Picture randomPicture(std::mt19937& rng) {
  std::uniform_int_distribution<int> pick(0, 99);
  std::int64_t width = 1 + pick(rng) * 4 + pick(rng) % 7;
  std::int64_t height = 1 + pick(rng) % 70;
  if (pick(rng) < 5) width = pick(rng) < 50 ? 640 : 1280;
  Picture p;
  p.rows.width = width;
  p.rows.height = height;
  p.rows.rowBytes = static_cast<std::size_t>((width * 3 + 3) & ~3);
  p.bytes.resize(p.rows.rowBytes * static_cast<std::size_t>(height));
  const bool smooth = pick(rng) < 30;
  const int base = pick(rng);
  for (std::size_t i = 0; i < p.bytes.size(); ++i) {
    p.bytes[i] = static_cast<std::uint8_t>(
        smooth ? base + (i / 3) % static_cast<std::size_t>(width) / 3 + i % 3 * 40 + pick(rng) % 3
               : rng());
  }
  p.rows.data = p.bytes.data();
  return p;
}

TEST(CellSumsTest, EveryPathGivesThePlainLoopsBitsOnRandomPictures) {
  std::mt19937 rng(20240611);
  const int cellSizes[] = {16, 16, 16, 8, 1, 5, 24, 32};
  std::vector<CellSumPath> paths = {CellSumPath::kBest, CellSumPath::kScalar};
  if (cellSumPathAvailable(CellSumPath::kAvx2)) paths.push_back(CellSumPath::kAvx2);
  std::vector<float> wantLuma, wantSums, luma, sums;
  for (int n = 0; n < 300; ++n) {
    const Picture pic = randomPicture(rng);
    const int cellSize = cellSizes[n % 8];
    SCOPED_TRACE(::testing::Message() << "picture " << n << ": " << pic.rows.width << "x"
                                      << pic.rows.height << ", cells of " << cellSize);
    reference(pic.rows, cellSize, wantLuma, wantSums);
    for (CellSumPath path : paths) {
      SCOPED_TRACE(static_cast<int>(path));
      luma.assign(wantLuma.size(), -1.0f);
      sums.assign(wantSums.size(), -1.0f);
      lumaPixels(pic.rows, luma.data(), path);
      cellSums(pic.rows, cellSize, sums.data(), path);
      ASSERT_TRUE(sameBits(luma, wantLuma));
      ASSERT_TRUE(sameBits(sums, wantSums));
    }
  }
}

// The vector path computes brightness in integers and one Newton step; this checks that it
// agrees with the double formula, colour by colour, both where it writes the brightness out and
// where it goes straight into the sums: cells of 4 x 4 pixels whose first pixel has the colour and
// the rest are black sum to exactly that pixel's brightness.
TEST(CellSumsTest, EveryPathGivesTheDoubleFormulasBrightnessForAllColours) {
  if (!cellSumPathAvailable(CellSumPath::kAvx2)) GTEST_SKIP() << "no AVX2 on this machine";
  std::vector<std::uint8_t> row(256 * 3), cells(1024 * 3 * 4);
  std::vector<float> luma(256), sums(256);
  const BgrRows rowOf{row.data(), 256 * 3, 256, 1};
  const BgrRows cellsOf{cells.data(), 1024 * 3, 1024, 4};
  for (int blue = 0; blue < 256; ++blue) {
    for (int green = 0; green < 256; ++green) {
      for (int red = 0; red < 256; ++red) {
        const std::uint8_t bgr[3] = {static_cast<std::uint8_t>(blue),
                                     static_cast<std::uint8_t>(green),
                                     static_cast<std::uint8_t>(red)};
        std::memcpy(&row[3 * red], bgr, 3);
        std::memcpy(&cells[3 * 4 * red], bgr, 3);
      }
      lumaPixels(rowOf, luma.data(), CellSumPath::kAvx2);
      cellSums(cellsOf, 4, sums.data(), CellSumPath::kAvx2);
      for (int red = 0; red < 256; ++red) {
        const auto want = static_cast<float>(0.587 * green + 0.299 * red + 0.114 * blue);
        ASSERT_EQ(std::memcmp(&luma[red], &want, sizeof want), 0)
            << "blue " << blue << ", green " << green << ", red " << red;
        ASSERT_EQ(std::memcmp(&sums[red], &want, sizeof want), 0)
            << "in the sums: blue " << blue << ", green " << green << ", red " << red;
      }
    }
  }
}

TEST(CellSumsTest, BandsOfCellRowsAddUpToTheWhole) {
  std::mt19937 rng(7);
  std::vector<float> wantLuma, wantSums;
  for (int n = 0; n < 40; ++n) {
    const Picture pic = randomPicture(rng);
    reference(pic.rows, 16, wantLuma, wantSums);
    const std::int64_t cellRows = pic.rows.height / 16;
    const std::int64_t split = cellRows / 2;
    std::vector<float> sums(wantSums.size(), -1.0f);
    // Top band first, as a decoder that works from the top of the picture hands them over.
    cellSums(pic.rows, 16, sums.data(), split, cellRows);
    cellSums(pic.rows, 16, sums.data(), 0, split);
    ASSERT_TRUE(sameBits(sums, wantSums));
  }
}

}  // namespace
}  // namespace search
