#pragma once

// Writes pictures as a Windows Media Video file: WMV 8 (FFmpeg's wmv2) in an ASF container,
// through our file-system seam so that a full disk or a folder that cannot be written is the same
// run-time error here as everywhere else.

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

struct VideoSpec {
  // The pictures' size; the video's is the same rounded down to even numbers, as the codec needs
  // them (the last column or row of an odd size is left out, nothing is scaled).
  int width = 0;
  int height = 0;
  // Seconds per picture, as a fraction.
  std::int64_t frameDurationNum = 1;
  std::int64_t frameDurationDen = 10;
  std::int64_t bitRate = 0;  // bits per second; 0 chooses one from the size and the rate
};

// The bit rate chosen for a video without one: about a tenth of a bit per pixel, which keeps
// footage recognisable at a fraction of the size of its JPEG pictures.
std::int64_t defaultWmvBitRate(const VideoSpec& video);

class WmvWriter {
 public:
  // Writes the header at once. Throws VideoError, or the file's RuntimeError.
  WmvWriter(WritableFile& file, const VideoSpec& video);
  ~WmvWriter();
  WmvWriter(const WmvWriter&) = delete;
  WmvWriter& operator=(const WmvWriter&) = delete;

  // The next picture, of the video's picture size.
  void addPicture(const RgbImage& picture);
  // Drains the encoder and completes the file.
  void finish();

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace toolkit
