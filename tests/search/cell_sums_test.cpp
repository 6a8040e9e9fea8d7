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
      lumaAndCellSums(pic.rows, cellSize, luma.data(), sums.data(), path);
      ASSERT_TRUE(sameBits(luma, wantLuma));
      ASSERT_TRUE(sameBits(sums, wantSums));
    }
  }
}

// The vector path computes brightness in integers and one float division; this checks that it
// agrees with the double formula, colour by colour.
TEST(CellSumsTest, EveryPathGivesTheDoubleFormulasBrightnessForAllColours) {
  std::vector<std::uint8_t> bytes(256 * 256 * 3);
  std::vector<float> luma(256 * 256), sums(16 * 16);
  const BgrRows rows{bytes.data(), 256 * 3, 256, 256};
  if (!cellSumPathAvailable(CellSumPath::kAvx2)) GTEST_SKIP() << "no AVX2 on this machine";
  for (int blue = 0; blue < 256; ++blue) {
    for (std::size_t i = 0; i < 256 * 256; ++i) {
      bytes[3 * i] = static_cast<std::uint8_t>(blue);
      bytes[3 * i + 1] = static_cast<std::uint8_t>(i >> 8);
      bytes[3 * i + 2] = static_cast<std::uint8_t>(i);
    }
    lumaAndCellSums(rows, 16, luma.data(), sums.data(), CellSumPath::kAvx2);
    for (std::size_t i = 0; i < 256 * 256; ++i) {
      const auto want = static_cast<float>(0.587 * static_cast<int>(i >> 8) +
                                           0.299 * static_cast<int>(i & 255) + 0.114 * blue);
      ASSERT_EQ(std::memcmp(&luma[i], &want, sizeof want), 0)
          << "blue " << blue << ", green " << (i >> 8) << ", red " << (i & 255);
    }
  }
}

TEST(CellSumsTest, RowRangesOnCellBoundariesAddUpToTheWhole) {
  std::mt19937 rng(7);
  std::vector<float> wantLuma, wantSums;
  for (int n = 0; n < 40; ++n) {
    const Picture pic = randomPicture(rng);
    reference(pic.rows, 16, wantLuma, wantSums);
    const std::int64_t split = pic.rows.height / 16 / 2 * 16;
    std::vector<float> luma(wantLuma.size()), sums(wantSums.size());
    lumaAndCellSumsRows(pic.rows, 16, luma.data(), sums.data(), split, pic.rows.height);
    lumaAndCellSumsRows(pic.rows, 16, luma.data(), sums.data(), 0, split);
    ASSERT_TRUE(sameBits(luma, wantLuma));
    ASSERT_TRUE(sameBits(sums, wantSums));
  }
}

}  // namespace
}  // namespace search
