#include "search/core/frame_decoder.h"

#include <algorithm>

#include "search/core/cell_sums.h"
#include "toolkit/core/image.h"
#include "toolkit/core/jpeg_decoding.h"

namespace search {
namespace {

std::int64_t cellSumBytes(std::int64_t width, std::int64_t height, int cellSize) {
  if (cellSize <= 0) return 0;
  return (width / cellSize) * (height / cellSize) * static_cast<std::int64_t>(sizeof(float));
}

}  // namespace

std::int64_t FrameDecoder::decodingBytes(std::span<const std::uint8_t> jpeg, int cellSize) {
  const std::optional<toolkit::JpegCost> cost = toolkit::jpegCost(jpeg);
  if (!cost || !toolkit::plausibleJpegSize(cost->width, cost->height, jpeg.size())) return 0;
  return static_cast<std::int64_t>(toolkit::BmpHeader::of(cost->width, cost->height).fileBytes()) +
         cellSumBytes(cost->width, cost->height, cellSize) + cost->workBytes;
}

std::int64_t FrameDecoder::pictureBytes(const clip::Frame& frame) {
  if (!frame.decoded()) return 0;
  return static_cast<std::int64_t>(frame.bitmap.size() + frame.cellSums.size() * sizeof(float));
}

void FrameDecoder::decode(clip::Frame& frame, int cellSize) {
  if (frame.picture != clip::Frame::Picture::NotDecoded) return;
  decodeBytes(frame, frame.jpeg, cellSize);
}

void FrameDecoder::decodeAsScratch(clip::Frame& frame, std::span<const std::uint8_t> tempJpg,
                                   int cellSize) {
  decode(frame, cellSize);
  // A video's picture is the decoder's, never anything "Temp.jpg" holds.
  if (frame.fromVideo) return;
  const bool tailCounts = !frame.clean && tempJpg.size() > frame.jpeg.size();
  if (!tailCounts || frame.withTail) return;
  decodeBytes(frame, tempJpg, cellSize);
  frame.withTail = true;
}

void FrameDecoder::decodeBytes(clip::Frame& frame, std::span<const std::uint8_t> jpeg,
                               int cellSize) {
  if (m_budget) {
    frame.reservation.reset();
    frame.reservation = m_budget->reserve(decodingBytes(jpeg, cellSize), this);
  }
  decodeWithin(frame, jpeg, cellSize);
  // What libjpeg took is free again; a picture that did not come keeps nothing.
  frame.reservation.shrinkTo(pictureBytes(frame));
}

void FrameDecoder::decodeWithin(clip::Frame& frame, std::span<const std::uint8_t> jpeg,
                                int cellSize) {
  frame.cellSize = 0;
  frame.cellSums.clear();
  // The cells are summed band by band as the decoder finishes their rows, while the rows are
  // still in the cache; the picture is decoded from the top, the cells count from the bottom.
  BgrRows rows;
  std::int64_t cellRows = 0;
  std::int64_t summedFrom = 0;  // cell rows [summedFrom, cellRows) are summed
  const auto startSums = [&] {
    const toolkit::BmpHeader& header = m_decoder.header();
    const std::int32_t width = header.width, height = header.height;
    rows = {frame.bitmap.data() + toolkit::kBmpHeaderBytes,
            static_cast<std::size_t>(header.rowBytes()), width, height};
    cellRows = height / cellSize;
    summedFrom = cellRows;
    frame.cellSums.resize(static_cast<std::size_t>(width / cellSize) *
                          static_cast<std::size_t>(cellRows));
  };
  const auto sumDownTo = [&](std::int64_t firstCellRow) {
    if (firstCellRow >= summedFrom) return;
    cellSums(rows, cellSize, frame.cellSums.data(), firstCellRow, summedFrom);
    summedFrom = firstCellRow;
  };
  toolkit::JpegBitmapDecoder::RowsDone rowsDone;
  if (cellSize > 0) {
    rowsDone = [&](int firstRow) {
      if (!rows.data) startSums();
      // Cell row r is whole once its lowest pixel row, r x cellSize, is done.
      sumDownTo((firstRow + cellSize - 1) / cellSize);
    };
  }
  frame.width = frame.height = 0;
  frame.rowBytes = 0;
  if (!m_decoder.decode(jpeg, frame.bitmap, rowsDone)) {
    frame.picture = clip::Frame::Picture::Undecodable;
    frame.tooCostly = m_decoder.refused();
    frame.clean = false;
    frame.cellSums.clear();
    return;
  }
  frame.picture = clip::Frame::Picture::Decoded;
  frame.width = m_decoder.header().width;
  frame.height = m_decoder.header().height;
  frame.rowBytes = static_cast<std::size_t>(m_decoder.header().rowBytes());
  frame.clean = m_decoder.clean();
  if (cellSize <= 0) return;
  // A stream that broke off leaves the rows it did not reach as they were: summed all the same.
  if (!rows.data) startSums();
  sumDownTo(0);
  frame.cellSize = cellSize;
}

}  // namespace search
