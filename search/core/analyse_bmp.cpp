#include "search/core/analyse_bmp.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "search/core/cell_sums.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"

namespace search {
namespace {

using toolkit::ErrorNumber;
using toolkit::RuntimeError;

constexpr std::size_t kHeaderBytes = 54;
constexpr int kCellPixels = 256;  // a 16 x 16 cell, the divisor whatever the cell size
constexpr int kBottomRowsSkipped = 4;
constexpr int kThresholdFloor = 40;
constexpr int kHighAdjust = -20;
constexpr int kLowAdjust = 50;

std::uint32_t le32(const std::uint8_t* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 |
         std::uint32_t{p[3]} << 24;
}

// The converter ignores the clip size, so a clip wider than 16 bits must not fail on the way.
Integer sixteenBit(Long v) {
  return static_cast<std::int16_t>(std::clamp<std::int32_t>(v.value(), 0, INT16_MAX));
}

void warn(toolkit::MessageSink& sink, const char* text) {
  sink.show(toolkit::MessageBoxRequest::critical(text, "Warning"));
}

}  // namespace

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

AnalyseBMP::AnalyseBMP(toolkit::Platform& platform)
    : m_platform(platform),
      m_jpgToBmp(std::make_unique<toolkit::JpgToBmpConverter>(platform.files)) {}

AnalyseBMP::~AnalyseBMP() = default;

void AnalyseBMP::setConverter(Converter converter) { m_converter = std::move(converter); }

std::span<const std::uint8_t> AnalyseBMP::readBitmap(const std::string& path) {
  // The old module opened the bitmap in a mode that creates it, so a missing file read as an
  // empty one; any file that cannot be read is taken the same way.
  try {
    auto file = m_platform.files.openRead(path);
    m_fileBytes.resize(static_cast<std::size_t>(file->length()));
    m_fileBytes.resize(file->readAt(0, m_fileBytes));
  } catch (const RuntimeError&) {
    m_fileBytes.clear();
  }
  return m_fileBytes;
}

void AnalyseBMP::setAheadSource(
    std::function<bool(std::span<const std::uint8_t>, std::vector<std::uint8_t>&)> source) {
  m_jpgToBmp->setAheadSource(std::move(source));
}

std::span<const std::uint8_t> AnalyseBMP::bitmapOf(std::span<const std::uint8_t> jpeg) const {
  if (m_converter) return {};
  return m_jpgToBmp->bitmapOf(jpeg);
}

Long AnalyseBMP::AnalyseFrame(const std::string& JpgPath, Integer CellSize,
                              const FrameInputs& inputs) {
  ChangedCellCount = 0;
  ChangedCells.clear();
  m_sweepThreshold.reset();
  if (CellSize.value() == 0) throw RuntimeError::of(ErrorNumber::DivisionByZero);
  if (CellSize.value() < 0) throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  const std::int32_t cellSize = CellSize.value();

  const std::string bmpPath = toolkit::folderWithSeparator(JpgPath) + "1.bmp";
  if (m_converter) {
    m_converter(JpgPath, bmpPath, sixteenBit(inputs.ClipWidth), sixteenBit(inputs.ClipHeight));
  } else if (m_jpgToBmp->decode(JpgPath)) {
    // The decoded bitmap is what the file holds once written, so it is reduced from memory
    // rather than read back. A bitmap that did not reach the disk is read back below, which
    // shows its box as any missing bitmap does.
    const auto file = m_jpgToBmp->bitmap();
    const bool written = m_jpgToBmp->write(bmpPath);
    if (written) {
      const auto shape = checkBitmap(file);
      if (!shape) return 0;
      reduce(file, *shape, cellSize);
      commit(*shape, cellSize, inputs);
      return ChangedCellCount;
    }
  } else {
    m_jpgToBmp->discardTarget(bmpPath);
  }

  const auto file = readBitmap(bmpPath);
  const auto shape = checkBitmap(file);
  if (!shape) return 0;
  reduce(file, *shape, cellSize);
  commit(*shape, cellSize, inputs);
  return ChangedCellCount;
}

std::optional<AnalyseBMP::Shape> AnalyseBMP::checkBitmap(std::span<const std::uint8_t> file) {
  std::array<std::uint8_t, kHeaderBytes> header{};
  if (!file.empty()) std::memcpy(header.data(), file.data(), std::min(file.size(), kHeaderBytes));
  if (header[0] != 'B' || header[1] != 'M') {
    warn(m_platform.messages, "It is not BMP file. ");
    return std::nullopt;
  }
  if ((header[28] | header[29] << 8) != 24) {
    warn(m_platform.messages, "The BMP file is not 24 bit! ");
    return std::nullopt;
  }
  if (le32(&header[46]) != 0) return std::nullopt;

  const auto width = static_cast<std::int32_t>(le32(&header[18]));
  const auto height = static_cast<std::int32_t>(le32(&header[22]));
  if (width <= 0 || height <= 0) return std::nullopt;
  if (std::int64_t{width} * height > toolkit::kMaxPicturePixels) return std::nullopt;
  const std::int64_t rowBytes = (std::int64_t{width} * 3 + 3) & ~std::int64_t{3};
  if (file.size() < kHeaderBytes ||
      static_cast<std::int64_t>(file.size() - kHeaderBytes) / rowBytes < height) {
    return std::nullopt;
  }
  return Shape{width, height, static_cast<std::size_t>(rowBytes)};
}

void AnalyseBMP::reduce(std::span<const std::uint8_t> file, const Shape& shape,
                        std::int32_t cellSize) {
  m_nextLuma.resize(static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height));
  m_cellSums.resize(static_cast<std::size_t>(shape.width / cellSize) *
                    static_cast<std::size_t>(shape.height / cellSize));
  const BgrRows rows{file.data() + kHeaderBytes, shape.rowBytes, shape.width, shape.height};
  lumaAndCellSums(rows, cellSize, m_nextLuma.data(), m_cellSums.data());
}

void AnalyseBMP::commit(const Shape& shape, std::int32_t cellSize, const FrameInputs& inputs) {
  PixelCount = shape.width * shape.height;
  LumaPixels.swap(m_nextLuma);
  CellColumns = shape.width / cellSize;
  CellRows = shape.height / cellSize;
  CellOrigins.assign(CellRows.value(), CellColumns.value(), cellSize);
  StoreCellMeans(static_cast<std::int64_t>(m_cellSums.size()), m_cellSums, inputs);
}

void AnalyseBMP::StoreCellMeans(std::int64_t CellCount, std::span<const Single> CellSums,
                                const FrameInputs& inputs) {
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
  const bool due = intoB || (inputs.SearchPhaseA == 0 && inputs.SearchPhaseB != 0);
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
