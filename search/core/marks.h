#pragma once

// The marks of a search result, pixel for pixel what the window's Line draws: for each corner
// (X, Y) an outline of width 1 in RGB(0, 0, 255) covering both corners (X, Y) and (X + 8, Y + 8),
// clipped to the picture.

#include <cstdint>
#include <vector>

#include "clip/frame.h"
#include "search/core/analyse_bmp.h"
#include "toolkit/core/image.h"

namespace search {

inline constexpr int kMarkSide = 8;

// On a picture top row first. `scale` draws them on a picture shrunk by that factor, the
// outlines still one pixel wide and at least 3 pixels across, so that they stay visible.
void drawMarks(toolkit::RgbImage& picture, const std::vector<CellPoint>& corners,
               double scale = 1.0);

// The frame's bitmap file (rows bottom-up, blue, green, red) with the marks drawn on it, at the
// size the frame's decoding gave it.
std::vector<std::uint8_t> markedBitmap(const clip::Frame& frame,
                                       const std::vector<CellPoint>& corners);

// The frame's picture with the marks drawn on it; empty when the frame has no picture.
toolkit::RgbImage markedPicture(const clip::Frame& frame, const std::vector<CellPoint>& corners);

}  // namespace search
