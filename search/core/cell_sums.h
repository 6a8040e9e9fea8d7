#pragma once

// The arithmetic of the comparison that touches every pixel, kept apart so that its fast paths can
// be checked against a plain loop bit for bit.
//
// Brightness is 0.587 x green + 0.299 x red + 0.114 x blue, evaluated left to right in double and
// stored as float. A cell's sum is a float that is rounded after every addition, taken over the
// cell's rows bottom-up as they lie in the file and each row's pixels left to right. Any faster
// path must give exactly those bits: the vector paths only run independent sums side by side, one
// cell to a lane, each lane adding in the same order as the plain loop.

#include <cstddef>
#include <cstdint>

namespace search {

// The pixel rows of a 24-bit bottom-up bitmap: `height` rows of `rowBytes` bytes (width x 3
// rounded up to 4), each pixel blue, green, red.
struct BgrRows {
  const std::uint8_t* data = nullptr;
  std::size_t rowBytes = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
};

enum class CellSumPath {
  kBest,    // the widest path the processor runs
  kScalar,  // one value at a time, for any processor
  kAvx2,    // needs AVX2 and FMA; kBest picks it when the processor has them
};

bool cellSumPathAvailable(CellSumPath path);

// Fills sums[0 .. cellRows x cellColumns) in cell order (r x cellColumns + c, r = 0 at the
// bottom), where cellRows = height / cellSize and cellColumns = width / cellSize. The brightness
// of one row at a time goes through a small buffer, so a frame costs one pass over its pixels and
// nothing the size of the picture is written. REQUIRES: cellSize > 0.
void cellSums(const BgrRows& rows, int cellSize, float* sums,
              CellSumPath path = CellSumPath::kBest);
// The same for the rows of cells [firstCellRow, endCellRow) only, which read the pixel rows
// [firstCellRow x cellSize, endCellRow x cellSize) and nothing else: a caller that decodes the
// picture band by band sums each band while it is still in the cache.
void cellSums(const BgrRows& rows, int cellSize, float* sums, std::int64_t firstCellRow,
              std::int64_t endCellRow, CellSumPath path = CellSumPath::kBest);

// Fills luma[0 .. width x height) with the brightness of every pixel, in file order.
void lumaPixels(const BgrRows& rows, float* luma, CellSumPath path = CellSumPath::kBest);

}  // namespace search
