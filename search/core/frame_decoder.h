#pragma once

// Decodes a frame's picture, once, into the frame itself: the bitmap the converter would write
// for it and, for the comparison, its cell sums. The search's own thread and the threads that
// decode ahead run the same code, so a picture is the same wherever it was made.

#include <cstdint>
#include <span>

#include "clip/frame.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/resource_budget.h"

namespace search {

class FrameDecoder {
 public:
  // Each frame this decodes takes a reservation of `budget` for its picture (as
  // ResourceBudget::reserve, this decoder the holder, so it may wait), which it keeps while it
  // lives. Without a budget (the default) a frame keeps the reservation it came with, cut to its
  // picture. `budget` must outlive this decoder.
  void setBudget(toolkit::ResourceBudget* budget) { m_budget = budget; }

  // The bytes decoding `jpeg` takes at its height, known from its header: the bitmap, the cell
  // sums of `cellSize` and libjpeg's own memory. 0 for a picture that will be refused at once.
  static std::int64_t decodingBytes(std::span<const std::uint8_t> jpeg, int cellSize);
  // The bytes a decoded frame's picture keeps: its bitmap and its cell sums.
  static std::int64_t pictureBytes(const clip::Frame& frame);

  // Decodes frame.jpeg into frame.bitmap (or marks the frame Undecodable, and tooCostly when it
  // was refused) and, when `cellSize` is above 0, makes its cell sums. A frame already decoded is
  // left alone.
  void decode(clip::Frame& frame, int cellSize);

  // The picture as "Temp.jpg" gives it once the frame's bytes are at its start (`tempJpg`: the
  // whole file). The converter reads the whole file, and a stream that does not reach its end
  // marker cleanly reads on into the tail a longer frame left there; such a frame is decoded
  // again with that tail. Any other frame gives the same picture either way.
  void decodeAsScratch(clip::Frame& frame, std::span<const std::uint8_t> tempJpg, int cellSize);

 private:
  void decodeBytes(clip::Frame& frame, std::span<const std::uint8_t> jpeg, int cellSize);
  void decodeWithin(clip::Frame& frame, std::span<const std::uint8_t> jpeg, int cellSize);

  toolkit::ResourceBudget* m_budget = nullptr;
  toolkit::JpegBitmapDecoder m_decoder;
};

}  // namespace search
