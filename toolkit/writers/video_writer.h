#pragma once

// Writes pictures as a video through our file-system seam, so that a full disk or a folder that
// cannot be written is the same run-time error here as everywhere else: a Windows Media Video
// file (WMV 8, FFmpeg's wmv2, in ASF) as the Save dialog makes it, or H.264 in MP4, the format a
// person shares today.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"

namespace toolkit {

// The encoder or the muxer refused; the text says what, in the library's words.
class VideoError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class VideoFormat {
  Wmv,  // wmv2 in ASF
  Mp4,  // H.264 (libx264) in MP4, 4:2:0
};

struct VideoSpec {
  VideoFormat format = VideoFormat::Wmv;
  // The pictures' size; the video's is the same rounded down to even numbers, as the codec needs
  // them (the last column or row of an odd size is left out, nothing is scaled).
  int width = 0;
  int height = 0;
  // Seconds per picture, as a fraction.
  std::int64_t frameDurationNum = 1;
  std::int64_t frameDurationDen = 10;
  std::int64_t bitRate = 0;  // bits per second; 0 chooses one from the size and the rate
};

// The WMV bit rate chosen for a video without one: about a tenth of a bit per pixel, which keeps
// footage recognisable at a fraction of the size of its JPEG pictures. H.264 keeps a constant
// quality instead.
std::int64_t defaultWmvBitRate(const VideoSpec& video);

class VideoWriter {
 public:
  // Writes the header at once. Throws VideoError, or the file's RuntimeError.
  VideoWriter(WritableFile& file, const VideoSpec& video);
  ~VideoWriter();
  VideoWriter(const VideoWriter&) = delete;
  VideoWriter& operator=(const VideoWriter&) = delete;

  // The next picture, of the video's picture size.
  void addPicture(const RgbImage& picture);
  // Drains the encoder and completes the file.
  void finish();

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace toolkit
