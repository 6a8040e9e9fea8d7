#pragma once

// Decodes a frame's picture, once, into the frame itself: the bitmap the converter would write
// for it and, for the comparison, its cell sums. The search's own thread and the threads that
// decode ahead run the same code, so a picture is the same wherever it was made.

#include <span>

#include "clip/frame.h"
#include "toolkit/converters/jpg_to_bmp.h"

namespace search {

class FrameDecoder {
 public:
  // Decodes frame.jpeg into frame.bitmap (or marks the frame Undecodable) and, when `cellSize` is
  // above 0, makes its cell sums. A frame already decoded is left alone.
  void decode(clip::Frame& frame, int cellSize);

  // The picture as "Temp.jpg" gives it once the frame's bytes are at its start (`tempJpg`: the
  // whole file). The converter reads the whole file, and a stream that does not reach its end
  // marker cleanly reads on into the tail a longer frame left there; such a frame is decoded
  // again with that tail. Any other frame gives the same picture either way.
  void decodeAsScratch(clip::Frame& frame, std::span<const std::uint8_t> tempJpg, int cellSize);

 private:
  void decodeBytes(clip::Frame& frame, std::span<const std::uint8_t> jpeg, int cellSize);

  toolkit::JpegBitmapDecoder m_decoder;
};

}  // namespace search
