#pragma once

// A decoded picture as a 24-bit bitmap, converted as FFmpeg's scale filter converts it for
// `-pix_fmt bgr24` under the flags bicubic, accurate_rnd, bitexact and full_chroma_int: with the
// colour matrix the frame declares (BT.601 when it declares none) and its range (full for the
// yuvj formats and frames tagged so).

#include <cstdint>

extern "C" {
#include <libswscale/swscale.h>
}

#include "video/av_handles.h"
#include "video/video_file.h"

namespace video {

class BgrBitmaps {
 public:
  // `threads`: libswscale's, over bands of rows; the bitmaps do not depend on them.
  explicit BgrBitmaps(int threads) : m_threads(threads) {}
  ~BgrBitmaps();
  BgrBitmaps(const BgrBitmaps&) = delete;
  BgrBitmaps& operator=(const BgrBitmaps&) = delete;

  // Frame `index` of `picture` into `frame`: the bitmap file (header, rows bottom-up, padded to
  // 4) and its size; the bitmap's buffer is kept when it has the size. Throws VideoError for a
  // picture larger than a picture may be or one libswscale refuses.
  void make(std::int64_t index, const AVFrame& picture, VideoFrame& frame);

 private:
  SwsContext* converter(int width, int height, int format);
  void takeColours(const AVFrame& picture);

  int m_threads;
  // The converter, kept while the pictures keep their size and format. Like the filter's, it
  // keeps the range of the last frame that declared one.
  SwsContext* m_sws = nullptr;
  int m_width = 0;
  int m_height = 0;
  int m_format = -1;
};

}  // namespace video
