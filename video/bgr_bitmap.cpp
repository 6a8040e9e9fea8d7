#include "video/bgr_bitmap.h"

#include <cstring>
#include <vector>

#include "toolkit/core/bmp_header.h"
#include "toolkit/core/image.h"

namespace video {
namespace {

constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT | SWS_FULL_CHR_H_INT;

[[noreturn]] void refuse(std::int64_t index, const std::string& why) {
  throw VideoError("frame " + std::to_string(index) + " cannot be shown (" + why + ")");
}

}  // namespace

BgrBitmaps::~BgrBitmaps() { sws_freeContext(m_sws); }

VideoFrame BgrBitmaps::make(std::int64_t index, const AVFrame& picture) {
  const int width = picture.width, height = picture.height;
  if (width <= 0 || height <= 0 ||
      static_cast<std::int64_t>(width) * height > toolkit::kMaxPicturePixels) {
    refuse(index, "a picture of " + std::to_string(width) + " x " + std::to_string(height));
  }
  const auto format = static_cast<AVPixelFormat>(picture.format);
  m_sws = sws_getCachedContext(m_sws, width, height, format, width, height, AV_PIX_FMT_BGR24,
                               kFlags, nullptr, nullptr, nullptr);
  if (!m_sws) refuse(index, "its pixel format cannot be converted");

  // As the scale filter does for every frame: the matrix from the frame, the range from the
  // frame where it names one.
  int *inverse = nullptr, *table = nullptr;
  int sourceFull = 0, targetFull = 0, brightness = 0, contrast = 0, saturation = 0;
  sws_getColorspaceDetails(m_sws, &inverse, &sourceFull, &table, &targetFull, &brightness,
                           &contrast, &saturation);
  const int* coefficients = sws_getCoefficients(picture.colorspace);
  if (picture.color_range != AVCOL_RANGE_UNSPECIFIED) {
    sourceFull = picture.color_range == AVCOL_RANGE_JPEG;
  }
  sws_setColorspaceDetails(m_sws, coefficients, sourceFull, coefficients, targetFull, brightness,
                           contrast, saturation);

  const std::size_t tightRow = static_cast<std::size_t>(width) * 3;
  std::vector<std::uint8_t> rows(tightRow * static_cast<std::size_t>(height));
  std::uint8_t* const targets[4] = {rows.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(tightRow), 0, 0, 0};
  if (sws_scale(m_sws, picture.data, picture.linesize, 0, height, targets, strides) != height) {
    refuse(index, "the conversion failed");
  }

  const toolkit::BmpHeader header = toolkit::BmpHeader::of(width, height);
  VideoFrame frame;
  frame.index = index;
  frame.width = width;
  frame.height = height;
  frame.rowBytes = static_cast<std::size_t>(header.rowBytes());
  frame.bitmap.assign(static_cast<std::size_t>(header.fileBytes()), 0);
  header.write(frame.bitmap.data());
  for (int y = 0; y < height; ++y) {
    std::memcpy(frame.bitmap.data() + toolkit::kBmpHeaderBytes +
                    static_cast<std::size_t>(height - 1 - y) * frame.rowBytes,
                rows.data() + static_cast<std::size_t>(y) * tightRow, tightRow);
  }
  return frame;
}

}  // namespace video
