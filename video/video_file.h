#pragma once

// A camera's video (MJPEG AVI, H.264/H.265 in MP4, MOV, MKV, MTS, ...) read through libavformat
// and libavcodec: its first video stream, every frame the decoder gives in presentation order,
// numbered from 0. Frames are reached at random: the packets are indexed at opening, a jump
// decodes from the keyframe before it, and recent pictures are kept so that stepping backwards
// through a group of pictures decodes it once.

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace video {

// Why a file could not be opened as a video, or a frame could not be read: a sentence for a
// message box ("no video stream", "not a video file (Invalid data found when processing input)").
class VideoError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// More frames than this is a hostile file, not a camera's (a week at 30 frames a second).
inline constexpr std::int64_t kMaxFrames = std::int64_t{1} << 24;

struct VideoFacts {
  std::string codec;      // libavcodec's short name: "h264", "hevc", "mjpeg", ...
  std::string container;  // libavformat's short name
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int64_t frameCount = 0;  // frames in presentation order, as indexed at opening
  // The frame rate as a fraction (30000/1001); 0/1 when the file does not say.
  std::int32_t rateNum = 0;
  std::int32_t rateDen = 1;
  // One frame's duration in microseconds, from the rate, rounded; 0 when the file does not say.
  std::uint32_t microSecPerFrame = 0;
  double durationSeconds = 0;  // frameCount frames at the rate; 0 when unknown
  // The container's creation time in seconds since 1970 (UTC), when it has one.
  std::optional<std::int64_t> creationTime;
  // The frames are JPEG pictures whose bytes are the packets themselves.
  bool jpegFrames = false;
};

// One frame. For JPEG frames, `jpeg` holds the packet's bytes and `bitmap` is empty; otherwise
// `bitmap` holds the picture as a 24-bit bitmap file (toolkit::BmpHeader, rows bottom-up, blue,
// green, red, each padded to 4), converted by libswscale with bicubic, accurate rounding,
// bit-exact and full chroma interpolation from the colour matrix and range the frame declares,
// and `jpeg` is empty.
struct VideoFrame {
  std::int64_t index = -1;
  std::vector<std::uint8_t> jpeg;
  std::vector<std::uint8_t> bitmap;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::size_t rowBytes = 0;
};

// Keeps FFmpeg's libraries from writing their own log to stderr; a program calls it once at its
// start. Our own messages say what went wrong with a file, in the program's words.
void silenceLibraryLog();

class VideoFile {
 public:
  // `threads`: libavcodec's decoding threads (1: on the caller's thread only). The pictures do
  // not depend on it. `cacheBytes`: how many bytes of decoded pictures to keep.
  struct Options {
    int threads = 1;
    std::size_t cacheBytes = std::size_t{256} << 20;
  };

  // Opens `path` and indexes its first video stream. Throws VideoError with the reason.
  static std::unique_ptr<VideoFile> open(const std::string& path, const Options& options);
  static std::unique_ptr<VideoFile> open(const std::string& path) { return open(path, {}); }
  // The same over bytes in memory; `name` is the file name the format's probe sees.
  static std::unique_ptr<VideoFile> openBytes(std::vector<std::uint8_t> bytes,
                                              const std::string& name, const Options& options);
  virtual ~VideoFile() = default;

  virtual const VideoFacts& facts() const = 0;
  // Frame `index` (0 .. frameCount - 1). Throws VideoError when it cannot be decoded (a damaged
  // frame); the file stays usable for other frames. Not thread-safe: one caller at a time.
  VideoFrame frame(std::int64_t index) {
    VideoFrame frame;
    frameInto(index, frame);
    return frame;
  }
  // The same into `frame`, whose bitmap buffer is written over when it has the size already: a
  // caller that keeps its buffers pays no fresh memory for each picture.
  virtual void frameInto(std::int64_t index, VideoFrame& frame) = 0;
  // How many frames the decoder has put out since opening (for the benchmarks and the tests
  // that count decodes per step).
  virtual std::int64_t framesDecoded() const = 0;
};

}  // namespace video
