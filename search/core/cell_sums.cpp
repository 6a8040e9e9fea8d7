#include "search/core/cell_sums.h"

#include <algorithm>
#include <cstring>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#define HG_HAVE_X86_PATHS 1
#endif

namespace search {
namespace {

inline float lumaOf(std::uint8_t blue, std::uint8_t green, std::uint8_t red) {
  return static_cast<float>(0.587 * green + 0.299 * red + 0.114 * blue);
}

void lumaRowScalar(const std::uint8_t* p, std::int64_t width, float* out) {
  for (std::int64_t x = 0; x < width; ++x, p += 3) out[x] = lumaOf(p[0], p[1], p[2]);
}

// k outside, c inside: each cell still adds its pixels left to right, and the sums of
// neighbouring cells are independent chains the processor can overlap.
void addRowScalar(const float* luma, std::int64_t firstCell, std::int64_t cellColumns, int cellSize,
                  float* sums) {
  for (int k = 0; k < cellSize; ++k) {
    for (std::int64_t c = firstCell; c < cellColumns; ++c) sums[c] += luma[c * cellSize + k];
  }
}

#ifdef HG_HAVE_X86_PATHS

// The vector path computes the same float another way. With N = 587 x green + 299 x red +
// 114 x blue, an integer of at most 255,000, the double formula lands within about 10^-13 of
// N / 1000, while N / 1000 never comes nearer than 10^-12 to a point halfway between two floats
// (it is a multiple of 1/1000, and those midpoints are odd multiples of powers of two of at most
// 2^-28 here). So rounding the double to float gives N / 1000 correctly rounded. A division would
// give that too, but costs more than the rest of the path together; one Newton step from N times
// the float nearest 1/1000, with its residual exact by a fused multiply-add, lands on the same
// float for every N. A test compares the path with the double formula for all 2^24 colours.
// `v` holds pixels 0-3 in its low half and 4-7 in its high half, each at bytes 0, 3, 6 and 9.
__attribute__((target("avx2,fma"))) inline __m256 luma8Of(__m256i v) {
  const __m256i pickGreenRed =
      _mm256_setr_epi8(1, -1, 2, -1, 4, -1, 5, -1, 7, -1, 8, -1, 10, -1, 11, -1, 1, -1, 2, -1, 4,
                       -1, 5, -1, 7, -1, 8, -1, 10, -1, 11, -1);
  const __m256i pickBlue =
      _mm256_setr_epi8(0, -1, -1, -1, 3, -1, -1, -1, 6, -1, -1, -1, 9, -1, -1, -1, 0, -1, -1, -1, 3,
                       -1, -1, -1, 6, -1, -1, -1, 9, -1, -1, -1);
  const __m256i greenRed =
      _mm256_madd_epi16(_mm256_shuffle_epi8(v, pickGreenRed), _mm256_set1_epi32(587 | 299 << 16));
  const __m256i blue = _mm256_madd_epi16(_mm256_shuffle_epi8(v, pickBlue), _mm256_set1_epi32(114));
  const __m256 n = _mm256_cvtepi32_ps(_mm256_add_epi32(greenRed, blue));
  const __m256 thousandth = _mm256_set1_ps(1.0f / 1000.0f);
  const __m256 first = _mm256_mul_ps(n, thousandth);
  const __m256 residual = _mm256_fnmadd_ps(first, _mm256_set1_ps(1000.0f), n);
  return _mm256_fmadd_ps(residual, thousandth, first);
}

// Eight pixels are exactly 24 bytes: one 16-byte and one 8-byte load, never past them.
__attribute__((target("avx2,fma"))) inline __m256 luma8(const std::uint8_t* q) {
  const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
  const __m128i hi = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(q + 16));
  return luma8Of(
      _mm256_inserti128_si256(_mm256_castsi128_si256(lo), _mm_alignr_epi8(hi, lo, 12), 1));
}

// The same with one 32-byte load, for pixels that have at least 8 more bytes behind them.
__attribute__((target("avx2,fma"))) inline __m256 luma8Inside(const std::uint8_t* q) {
  const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(q));
  return luma8Of(_mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6)));
}

__attribute__((target("avx2,fma"))) void lumaRowAvx2(const std::uint8_t* p, std::int64_t width,
                                                     float* out) {
  std::int64_t x = 0;
  for (; x + 11 <= width; x += 8, p += 24) _mm256_storeu_ps(out + x, luma8Inside(p));
  for (; x + 8 <= width; x += 8, p += 24) _mm256_storeu_ps(out + x, luma8(p));
  lumaRowScalar(p, width - x, out + x);
}

// Four pixels (12 bytes) at `q` into a 128-bit lane, at bytes 0, 3, 6 and 9; `safe` reads no
// byte past them, otherwise 4 more bytes are read.
__attribute__((target("avx2,fma"))) inline __m128i fourPixels(const std::uint8_t* q, bool safe) {
  if (!safe) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
  std::uint32_t last = 0;
  std::memcpy(&last, q + 8, 4);
  return _mm_insert_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(q)),
                          static_cast<int>(last), 2);
}

// Pixels low .. low+3 in the low half and high .. high+3 in the high half, of a row of `width`
// pixels; the high ones lie further on, and only there can a read pass the row.
__attribute__((target("avx2,fma"))) inline __m256 lumaPair(const std::uint8_t* row,
                                                           std::int64_t width, std::int64_t low,
                                                           std::int64_t high) {
  const bool safe = (high + 4) * 3 + 4 > width * 3;
  return luma8Of(_mm256_inserti128_si256(_mm256_castsi128_si256(fourPixels(row + 3 * low, safe)),
                                         fourPixels(row + 3 * high, safe), 1));
}

// A pixel row's part in its row of cells, the brightness going from the pixels straight into the
// sums. Eight cells side by side, one to a lane: each vector of brightness holds four pixels of
// cell j in its low half and the same four of cell j + 4 in its high half, so that a transpose
// within the halves gives four vectors of one pixel per cell, added in the pixels' order.
// `rest` has room for the brightness of the row's pixels past the cells summed eight at a time.
__attribute__((target("avx2,fma"))) void sumRowAvx2(const std::uint8_t* row, std::int64_t width,
                                                    std::int64_t cellColumns, int cellSize,
                                                    float* sums, float* rest) {
  std::int64_t c0 = 0;
  if (cellSize % 4 == 0) {
    for (; c0 + 8 <= cellColumns; c0 += 8) {
      __m256 acc = _mm256_loadu_ps(sums + c0);
      for (std::int64_t x = c0 * cellSize; x < (c0 + 1) * cellSize; x += 4) {
        const std::int64_t half = 4 * cellSize;
        const __m256 r0 = lumaPair(row, width, x, x + half);
        const __m256 r1 = lumaPair(row, width, x + cellSize, x + cellSize + half);
        const __m256 r2 = lumaPair(row, width, x + 2 * cellSize, x + 2 * cellSize + half);
        const __m256 r3 = lumaPair(row, width, x + 3 * cellSize, x + 3 * cellSize + half);
        const __m256 t0 = _mm256_unpacklo_ps(r0, r1);
        const __m256 t1 = _mm256_unpackhi_ps(r0, r1);
        const __m256 t2 = _mm256_unpacklo_ps(r2, r3);
        const __m256 t3 = _mm256_unpackhi_ps(r2, r3);
        acc = _mm256_add_ps(acc, _mm256_shuffle_ps(t0, t2, 0x44));
        acc = _mm256_add_ps(acc, _mm256_shuffle_ps(t0, t2, 0xEE));
        acc = _mm256_add_ps(acc, _mm256_shuffle_ps(t1, t3, 0x44));
        acc = _mm256_add_ps(acc, _mm256_shuffle_ps(t1, t3, 0xEE));
      }
      _mm256_storeu_ps(sums + c0, acc);
    }
  }
  if (c0 == cellColumns) return;
  lumaRowAvx2(row + 3 * c0 * cellSize, (cellColumns - c0) * cellSize, rest);
  addRowScalar(rest, 0, cellColumns - c0, cellSize, sums + c0);
}

#endif

CellSumPath resolve(CellSumPath path) {
#ifdef HG_HAVE_X86_PATHS
  static const bool hasAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  if (path == CellSumPath::kBest) return hasAvx2 ? CellSumPath::kAvx2 : CellSumPath::kScalar;
  if (path == CellSumPath::kAvx2 && !hasAvx2) return CellSumPath::kScalar;
  return path;
#else
  (void)path;
  return CellSumPath::kScalar;
#endif
}

void lumaRow(CellSumPath chosen, const std::uint8_t* p, std::int64_t width, float* out) {
#ifdef HG_HAVE_X86_PATHS
  if (chosen == CellSumPath::kAvx2) {
    lumaRowAvx2(p, width, out);
    return;
  }
#endif
  (void)chosen;
  lumaRowScalar(p, width, out);
}

}  // namespace

bool cellSumPathAvailable(CellSumPath path) {
  return resolve(path) == path || path == CellSumPath::kBest;
}

void cellSums(const BgrRows& rows, int cellSize, float* sums, CellSumPath path) {
  cellSums(rows, cellSize, sums, 0, rows.height / cellSize, path);
}

void cellSums(const BgrRows& rows, int cellSize, float* sums, std::int64_t firstCellRow,
              std::int64_t endCellRow, CellSumPath path) {
  const CellSumPath chosen = resolve(path);
  const std::int64_t cellColumns = rows.width / cellSize;
  if (cellColumns == 0 || firstCellRow >= endCellRow) return;
  // Only the pixels of whole cells: the row's tail past the last cell is never added.
  const std::int64_t coveredWidth = cellColumns * cellSize;
  std::vector<float> luma(static_cast<std::size_t>(coveredWidth));
  for (std::int64_t y = firstCellRow * cellSize; y < endCellRow * cellSize; ++y) {
    const std::uint8_t* row = rows.data + static_cast<std::size_t>(y) * rows.rowBytes;
    float* cellRow = sums + (y / cellSize) * cellColumns;
    if (y % cellSize == 0) std::fill(cellRow, cellRow + cellColumns, 0.0f);
#ifdef HG_HAVE_X86_PATHS
    if (chosen == CellSumPath::kAvx2) {
      sumRowAvx2(row, coveredWidth, cellColumns, cellSize, cellRow, luma.data());
      continue;
    }
#endif
    lumaRowScalar(row, coveredWidth, luma.data());
    addRowScalar(luma.data(), 0, cellColumns, cellSize, cellRow);
  }
}

void lumaPixels(const BgrRows& rows, float* luma, CellSumPath path) {
  const CellSumPath chosen = resolve(path);
  for (std::int64_t y = 0; y < rows.height; ++y) {
    lumaRow(chosen, rows.data + static_cast<std::size_t>(y) * rows.rowBytes, rows.width,
            luma + y * rows.width);
  }
}

}  // namespace search
