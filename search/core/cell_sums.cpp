#include "search/core/cell_sums.h"

#include <algorithm>

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
// 114 x blue, an integer below 2^24, the double formula lands within about 10^-13 of N / 1000,
// while N / 1000 never comes nearer than 10^-12 to a point halfway between two floats (it is a
// multiple of 1/1000, and those midpoints are odd multiples of powers of two of at most 2^-28
// here). So rounding the double to float gives N / 1000 correctly rounded, which is exactly what
// one IEEE float division of N by 1000 gives. A test compares both for all 2^24 colours.
__attribute__((target("avx2"))) inline __m256 luma8(const std::uint8_t* q) {
  // Eight pixels are exactly 24 bytes: one 16-byte and one 8-byte load, never past the row.
  const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
  const __m128i hi = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(q + 16));
  // Pixels 0-3 in the low half and 4-7 in the high half, each at bytes 0, 3, 6 and 9.
  const __m256i v =
      _mm256_inserti128_si256(_mm256_castsi128_si256(lo), _mm_alignr_epi8(hi, lo, 12), 1);
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
  return _mm256_div_ps(n, _mm256_set1_ps(1000.0f));
}

__attribute__((target("avx2"))) void lumaRowAvx2(const std::uint8_t* p, std::int64_t width,
                                                 float* out) {
  std::int64_t x = 0;
  for (; x + 8 <= width; x += 8, p += 24) _mm256_storeu_ps(out + x, luma8(p));
  lumaRowScalar(p, width - x, out + x);
}

// Eight cells side by side, one to a lane. An 8x8 transpose turns eight runs of eight pixels
// (one run per cell) into eight vectors of one pixel per cell, which are then added in the
// pixels' order.
__attribute__((target("avx2"))) void addRowAvx2(const float* luma, std::int64_t cellColumns,
                                                int cellSize, float* sums) {
  std::int64_t c0 = 0;
  if (cellSize % 8 == 0) {
    for (; c0 + 8 <= cellColumns; c0 += 8) {
      __m256 acc = _mm256_loadu_ps(sums + c0);
      for (int k0 = 0; k0 < cellSize; k0 += 8) {
        const float* base = luma + c0 * cellSize + k0;
        const __m256 r0 = _mm256_loadu_ps(base);
        const __m256 r1 = _mm256_loadu_ps(base + cellSize);
        const __m256 r2 = _mm256_loadu_ps(base + 2 * cellSize);
        const __m256 r3 = _mm256_loadu_ps(base + 3 * cellSize);
        const __m256 r4 = _mm256_loadu_ps(base + 4 * cellSize);
        const __m256 r5 = _mm256_loadu_ps(base + 5 * cellSize);
        const __m256 r6 = _mm256_loadu_ps(base + 6 * cellSize);
        const __m256 r7 = _mm256_loadu_ps(base + 7 * cellSize);
        const __m256 t0 = _mm256_unpacklo_ps(r0, r1);
        const __m256 t1 = _mm256_unpackhi_ps(r0, r1);
        const __m256 t2 = _mm256_unpacklo_ps(r2, r3);
        const __m256 t3 = _mm256_unpackhi_ps(r2, r3);
        const __m256 t4 = _mm256_unpacklo_ps(r4, r5);
        const __m256 t5 = _mm256_unpackhi_ps(r4, r5);
        const __m256 t6 = _mm256_unpacklo_ps(r6, r7);
        const __m256 t7 = _mm256_unpackhi_ps(r6, r7);
        const __m256 s0 = _mm256_shuffle_ps(t0, t2, 0x44);
        const __m256 s1 = _mm256_shuffle_ps(t0, t2, 0xEE);
        const __m256 s2 = _mm256_shuffle_ps(t1, t3, 0x44);
        const __m256 s3 = _mm256_shuffle_ps(t1, t3, 0xEE);
        const __m256 s4 = _mm256_shuffle_ps(t4, t6, 0x44);
        const __m256 s5 = _mm256_shuffle_ps(t4, t6, 0xEE);
        const __m256 s6 = _mm256_shuffle_ps(t5, t7, 0x44);
        const __m256 s7 = _mm256_shuffle_ps(t5, t7, 0xEE);
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s0, s4, 0x20));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s1, s5, 0x20));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s2, s6, 0x20));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s3, s7, 0x20));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s0, s4, 0x31));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s1, s5, 0x31));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s2, s6, 0x31));
        acc = _mm256_add_ps(acc, _mm256_permute2f128_ps(s3, s7, 0x31));
      }
      _mm256_storeu_ps(sums + c0, acc);
    }
  }
  addRowScalar(luma, c0, cellColumns, cellSize, sums);
}

#endif

CellSumPath resolve(CellSumPath path) {
#ifdef HG_HAVE_X86_PATHS
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  if (path == CellSumPath::kBest) return hasAvx2 ? CellSumPath::kAvx2 : CellSumPath::kScalar;
  if (path == CellSumPath::kAvx2 && !hasAvx2) return CellSumPath::kScalar;
  return path;
#else
  (void)path;
  return CellSumPath::kScalar;
#endif
}

}  // namespace

bool cellSumPathAvailable(CellSumPath path) {
  return resolve(path) == path || path == CellSumPath::kBest;
}

void lumaAndCellSumsRows(const BgrRows& rows, int cellSize, float* luma, float* sums,
                         std::int64_t firstRow, std::int64_t endRow, CellSumPath path) {
  const CellSumPath chosen = resolve(path);
  const std::int64_t cellColumns = rows.width / cellSize;
  const std::int64_t coveredRows = rows.height / cellSize * cellSize;
  for (std::int64_t y = firstRow; y < endRow; ++y) {
    const std::uint8_t* p = rows.data + static_cast<std::size_t>(y) * rows.rowBytes;
    float* lumaRow = luma + y * rows.width;
#ifdef HG_HAVE_X86_PATHS
    if (chosen == CellSumPath::kAvx2) {
      lumaRowAvx2(p, rows.width, lumaRow);
    } else {
      lumaRowScalar(p, rows.width, lumaRow);
    }
#else
    lumaRowScalar(p, rows.width, lumaRow);
#endif
    if (y >= coveredRows || cellColumns == 0) continue;
    float* cellRow = sums + (y / cellSize) * cellColumns;
    if (y % cellSize == 0) std::fill(cellRow, cellRow + cellColumns, 0.0f);
#ifdef HG_HAVE_X86_PATHS
    if (chosen == CellSumPath::kAvx2) {
      addRowAvx2(lumaRow, cellColumns, cellSize, cellRow);
      continue;
    }
#endif
    addRowScalar(lumaRow, 0, cellColumns, cellSize, cellRow);
  }
}

void lumaAndCellSums(const BgrRows& rows, int cellSize, float* luma, float* sums,
                     CellSumPath path) {
  lumaAndCellSumsRows(rows, cellSize, luma, sums, 0, rows.height, path);
}

}  // namespace search
