#include "video/bgr_bitmap.h"

#include <cstring>

extern "C" {
#include <libavutil/opt.h>
}

#include "toolkit/core/bmp_header.h"
#include "toolkit/core/image.h"

namespace video {
namespace {

constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT | SWS_FULL_CHR_H_INT;

// The bitmap's buffer belongs to its vector: the converter only borrows it.
void keepBuffer(void*, std::uint8_t*) {}

[[noreturn]] void refuse(std::int64_t index, const std::string& why) {
  throw VideoError("frame " + std::to_string(index) + " cannot be shown (" + why + ")");
}

}  // namespace

BgrBitmaps::~BgrBitmaps() { sws_freeContext(m_sws); }

// As the scale filter makes its converter: set by options, then initialised.
SwsContext* BgrBitmaps::converter(int width, int height, int format) {
  if (m_sws && width == m_width && height == m_height && format == m_format) return m_sws;
  sws_freeContext(m_sws);
  m_sws = sws_alloc_context();
  if (!m_sws) return nullptr;
  av_opt_set_int(m_sws, "srcw", width, 0);
  av_opt_set_int(m_sws, "srch", height, 0);
  av_opt_set_int(m_sws, "src_format", format, 0);
  av_opt_set_int(m_sws, "dstw", width, 0);
  av_opt_set_int(m_sws, "dsth", height, 0);
  av_opt_set_int(m_sws, "dst_format", AV_PIX_FMT_BGR24, 0);
  av_opt_set_int(m_sws, "sws_flags", kFlags, 0);
  av_opt_set_int(m_sws, "threads", m_threads, 0);
  if (sws_init_context(m_sws, nullptr, nullptr) < 0) {
    sws_freeContext(m_sws);
    m_sws = nullptr;
  }
  m_width = width;
  m_height = height;
  m_format = format;
  return m_sws;
}

// As the scale filter does for every frame: the matrix from the frame, the range from the frame
// where it names one.
void BgrBitmaps::takeColours(const AVFrame& picture) {
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
}

void BgrBitmaps::make(std::int64_t index, const AVFrame& picture, VideoFrame& frame) {
  const int width = picture.width, height = picture.height;
  if (width <= 0 || height <= 0 ||
      static_cast<std::int64_t>(width) * height > toolkit::kMaxPicturePixels) {
    refuse(index, "a picture of " + std::to_string(width) + " x " + std::to_string(height));
  }
  if (!converter(width, height, picture.format)) {
    refuse(index, "its pixel format cannot be converted");
  }
  takeColours(picture);

  const toolkit::BmpHeader header = toolkit::BmpHeader::of(width, height);
  const auto rowBytes = static_cast<std::size_t>(header.rowBytes());
  frame.index = index;
  frame.jpeg.clear();
  frame.width = width;
  frame.height = height;
  frame.rowBytes = rowBytes;
  frame.bitmap.resize(static_cast<std::size_t>(header.fileBytes()));
  header.write(frame.bitmap.data());
  // The converter writes each row's pixels and never its padding, which a buffer used before
  // may still hold.
  const std::size_t tightRow = static_cast<std::size_t>(width) * 3;
  std::uint8_t* const rows = frame.bitmap.data() + toolkit::kBmpHeaderBytes;
  if (tightRow < rowBytes) {
    for (int y = 0; y < height; ++y) {
      std::memset(rows + static_cast<std::size_t>(y) * rowBytes + tightRow, 0, rowBytes - tightRow);
    }
  }
  // Straight into the bitmap, its last row first: a row of a bitmap file is the picture's row
  // from the bottom.
  FramePtr target(av_frame_alloc());
  AVBufferRef* buffer =
      av_buffer_create(rows, rowBytes * static_cast<std::size_t>(height), keepBuffer, nullptr, 0);
  if (!target || !buffer) {
    av_buffer_unref(&buffer);
    refuse(index, "no memory for the conversion");
  }
  target->buf[0] = buffer;
  target->data[0] = rows + static_cast<std::size_t>(height - 1) * rowBytes;
  target->linesize[0] = -static_cast<int>(rowBytes);
  target->width = width;
  target->height = height;
  target->format = AV_PIX_FMT_BGR24;
  if (sws_scale_frame(m_sws, target.get(), &picture) < 0) refuse(index, "the conversion failed");
}

}  // namespace video
