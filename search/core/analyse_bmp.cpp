#include "search/core/analyse_bmp.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "search/core/cell_sums.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace search {
namespace {

using toolkit::ErrorNumber;
using toolkit::RuntimeError;

constexpr int kCellPixels = 256;  // a 16 x 16 cell, the divisor whatever the cell size
constexpr int kBottomRowsSkipped = 4;
constexpr int kThresholdFloor = 40;
constexpr int kHighAdjust = -20;
constexpr int kLowAdjust = 50;

}  // namespace

std::optional<toolkit::MessageBoxRequest> refusalBox(BitmapRefusal refusal) {
  switch (refusal) {
    case BitmapRefusal::NotBmp:
      return toolkit::MessageBoxRequest::critical("It is not BMP file. ", "Warning");
    case BitmapRefusal::Not24Bit:
      return toolkit::MessageBoxRequest::critical("The BMP file is not 24 bit! ", "Warning");
    case BitmapRefusal::None:
    case BitmapRefusal::Silent:
      break;
  }
  return std::nullopt;
}

void CellPointGrid::assign(std::int32_t rows, std::int32_t columns, std::int32_t cellSize) {
  if (rows == m_rows && columns == m_columns && !m_points.empty() &&
      m_points.back().X.value() == columns * cellSize &&
      m_points.back().Y.value() == rows * cellSize) {
    return;
  }
  m_rows = rows;
  m_columns = columns;
  m_points.resize(static_cast<std::size_t>(rows + 1) * static_cast<std::size_t>(columns + 1));
  auto* p = m_points.data();
  for (std::int32_t r = 0; r <= rows; ++r) {
    for (std::int32_t c = 0; c <= columns; ++c) *p++ = CellPoint{c * cellSize, r * cellSize};
  }
}

const CellPoint& CellPointGrid::operator()(Long row, Long column) const {
  if (row.value() < 0 || row.value() > m_rows || column.value() < 0 || column.value() > m_columns) {
    throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  }
  return m_points[static_cast<std::size_t>(row.value()) * static_cast<std::size_t>(m_columns + 1) +
                  static_cast<std::size_t>(column.value())];
}

AnalyseBMP::Result AnalyseBMP::AnalyseFrame(const clip::FramePtr& frame, Integer CellSize,
                                            Boolean SearchPhaseA, Boolean SearchPhaseB) {
  ChangedCellCount = 0;
  ChangedCells.clear();
  m_sweepThreshold.reset();
  if (CellSize.value() == 0) throw RuntimeError::of(ErrorNumber::DivisionByZero);
  if (CellSize.value() < 0) throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  const std::int32_t cellSize = CellSize.value();

  const std::span<const std::uint8_t> file =
      frame ? frame->bitmapFile() : std::span<const std::uint8_t>();
  Result result;
  const auto shape = checkBitmap(file, result.refusal);
  if (!shape) return result;

  std::span<const Single> sums = frame->cellSums;
  if (frame->cellSize != cellSize) {
    m_cellSums.resize(static_cast<std::size_t>(shape->width / cellSize) *
                      static_cast<std::size_t>(shape->height / cellSize));
    const BgrRows rows{file.data() + toolkit::kBmpHeaderBytes, shape->rowBytes, shape->width,
                       shape->height};
    cellSums(rows, cellSize, m_cellSums.data());
    sums = m_cellSums;
  }
  commit(frame, *shape, cellSize, sums, SearchPhaseA, SearchPhaseB);
  result.changed = ChangedCellCount;
  return result;
}

std::optional<AnalyseBMP::Shape> AnalyseBMP::checkBitmap(std::span<const std::uint8_t> file,
                                                         BitmapRefusal& refusal) {
  // A short or missing file reads as zeros past its end, as the old module's record did.
  std::array<std::uint8_t, toolkit::kBmpHeaderBytes> header{};
  if (!file.empty()) {
    std::memcpy(header.data(), file.data(), std::min(file.size(), toolkit::kBmpHeaderBytes));
  }
  refusal = BitmapRefusal::Silent;
  const std::optional<toolkit::BmpHeader> bmp = toolkit::BmpHeader::read(header);
  if (!bmp) {
    refusal = BitmapRefusal::NotBmp;
    return std::nullopt;
  }
  if (bmp->bitCount != 24) {
    refusal = BitmapRefusal::Not24Bit;
    return std::nullopt;
  }
  if (bmp->colorsUsed != 0) return std::nullopt;

  const std::int32_t width = bmp->width, height = bmp->height;
  if (width <= 0 || height <= 0) return std::nullopt;
  if (std::int64_t{width} * height > toolkit::kMaxPicturePixels) return std::nullopt;
  if (!bmp->holdsRows(file.size())) return std::nullopt;
  refusal = BitmapRefusal::None;
  return Shape{width, height, static_cast<std::size_t>(bmp->rowBytes())};
}

void AnalyseBMP::commit(const clip::FramePtr& frame, const Shape& shape, std::int32_t cellSize,
                        std::span<const Single> sums, Boolean SearchPhaseA, Boolean SearchPhaseB) {
  PixelCount = shape.width * shape.height;
  m_last = frame;
  m_lastShape = shape;
  CellColumns = shape.width / cellSize;
  CellRows = shape.height / cellSize;
  CellOrigins.assign(CellRows.value(), CellColumns.value(), cellSize);
  StoreCellMeans(static_cast<std::int64_t>(sums.size()), sums, SearchPhaseA, SearchPhaseB);
}

std::vector<Single> AnalyseBMP::LumaPixels() const {
  std::vector<Single> luma;
  if (!m_last || !m_last->decoded()) return luma;
  luma.resize(static_cast<std::size_t>(m_lastShape.width) *
              static_cast<std::size_t>(m_lastShape.height));
  const BgrRows rows{m_last->bitmap.data() + toolkit::kBmpHeaderBytes, m_lastShape.rowBytes,
                     m_lastShape.width, m_lastShape.height};
  lumaPixels(rows, luma.data());
  return luma;
}

void AnalyseBMP::StoreCellMeans(std::int64_t CellCount, std::span<const Single> CellSums,
                                Boolean SearchPhaseA, Boolean SearchPhaseB) {
  const bool intoA = StoreInA != 0 && StoreInB == 0;
  const bool intoB = StoreInB != 0 && StoreInA == 0;
  if (!intoA && !intoB) return;
  if (CellCount < 0 || static_cast<std::size_t>(CellCount) > CellSums.size()) {
    throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  }
  std::vector<std::int32_t>& means = intoA ? CellMeansA : CellMeansB;
  means.resize(static_cast<std::size_t>(CellCount));
  for (std::size_t i = 0; i < means.size(); ++i) {
    means[i] = Long::fromDouble(CellSums[i]).value() / kCellPixels;
  }
  const bool due = intoB || (SearchPhaseA == 0 && SearchPhaseB != 0);
  // Frames of different sizes have no cells in common.
  if (!due || CellMeansA.size() != CellMeansB.size()) return;
  ChooseThreshold();
  FindChangedCells();
}

void AnalyseBMP::ChooseThreshold() {
  m_sweepThreshold.reset();
  std::array<std::int64_t, 256> hist{};
  const std::size_t n = std::min(CellMeansA.size(), CellMeansB.size());
  for (std::size_t i = 0; i < n; ++i) {
    const int diff = std::abs(CellMeansA[i] - CellMeansB[i]);
    // Means above 255 come only from cells larger than 16 pixels; the old histogram had no bin.
    if (diff > 255) throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
    ++hist[static_cast<std::size_t>(diff)];
  }
  std::int64_t total = 0;
  std::int64_t weighted = 0;
  for (int i = 0; i < 256; ++i) {
    total += hist[i];
    weighted += hist[i] * (i + 1);
  }
  // Gap^2 x Below x Above passes 64 bits only for pictures of some 10^8 cells; 128 bits costs
  // nothing here.
  __extension__ typedef unsigned __int128 Score;
  std::int64_t below = 0;
  std::int64_t belowSum = 0;
  Score best = 0;
  for (int t = 0; t < 256; ++t) {
    below += hist[t];
    if (below == 0) continue;
    const std::int64_t above = total - below;
    if (above == 0) break;
    belowSum += hist[t] * (t + 1);
    const std::int64_t meanBelow = belowSum / below;
    const std::int64_t meanAbove = (weighted - belowSum) / above;
    const auto gap = static_cast<std::uint64_t>(std::abs(meanBelow - meanAbove));
    const Score score =
        Score{gap * gap} * static_cast<std::uint64_t>(below) * static_cast<std::uint64_t>(above);
    if (score > best) {
      best = score;
      ChangeThreshold = t;
      m_sweepThreshold = t;
    }
  }
}

void AnalyseBMP::FindChangedCells() {
  ChangedCells.clear();
  ChangedCellCount = 0;
  if (ChangeThreshold < Integer(kThresholdFloor)) ChangeThreshold = kThresholdFloor;
  if (Sensitivity == "High") {
    ChangeThreshold = ChangeThreshold + Integer(kHighAdjust);
  } else if (Sensitivity == "Low") {
    ChangeThreshold = ChangeThreshold + Integer(kLowAdjust);
  }
  const std::int64_t rows = CellRows.value();
  const std::int64_t columns = CellColumns.value();
  const std::int32_t threshold = ChangeThreshold.value();
  for (std::int64_t r = kBottomRowsSkipped; r < rows; ++r) {
    for (std::int64_t c = 0; c < columns; ++c) {
      const auto i = static_cast<std::size_t>(r * columns + c);
      if (i >= CellMeansA.size() || i >= CellMeansB.size()) {
        throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
      }
      if (std::abs(CellMeansA[i] - CellMeansB[i]) > threshold) {
        ChangedCells.push_back(ChangedCell{c, rows - r});
      }
    }
  }
  ChangedCellCount = static_cast<std::int32_t>(ChangedCells.size());
}

}  // namespace search
