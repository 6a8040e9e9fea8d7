#pragma once

// One frame of a clip on its way through the program. It is read from the clip once, decoded at
// most once, and then compared, marked, shown and written to the scratch files as this one value:
// nothing downstream reads a file back to learn what it holds.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "toolkit/core/resource_budget.h"

namespace clip {

struct Frame {
  enum class Picture { NotDecoded, Decoded, Undecodable };

  std::int32_t index = -1;  // from 0
  // The frame's bytes, exactly as SeparateMJPG::ExtractCurrentJpg reads them from the clip.
  std::vector<std::uint8_t> jpeg;

  Picture picture = Picture::NotDecoded;
  // Undecodable because decoding it would cost far more than any real picture does
  // (toolkit/core/jpeg_decoding.h).
  bool tooCostly = false;
  // The picture as the converter's 24-bit bitmap file (a 54-byte header, then the rows bottom-up,
  // blue, green, red, each padded to 4 bytes). Holds it only while picture is Decoded.
  std::vector<std::uint8_t> bitmap;
  // The picture's size and the bytes of one of the bitmap's rows, as the decoder made them; 0
  // while picture is not Decoded.
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::size_t rowBytes = 0;
  // The decoding read the stream to its end marker without a warning, so no byte after the
  // frame's own could have changed the picture.
  bool clean = false;
  // The picture was decoded from the frame's bytes followed by the stale tail of "Temp.jpg"
  // (see ScratchFiles), as the converter, which reads the whole file, decodes a frame that does
  // not end cleanly.
  bool withTail = false;
  // The picture came decoded from a camera's video, not from `jpeg`, which stays empty until
  // someone needs the frame as a JPEG (videoFrameJpeg).
  bool fromVideo = false;
  // The brightness sums of the picture's cells of `cellSize` pixels, when whoever decoded the
  // frame made them too (0: not made).
  int cellSize = 0;
  std::vector<float> cellSums;
  // The bytes of its picture in the process's budget, held while the frame is (see
  // search::FrameDecoder); given back when the frame goes back to its pool.
  toolkit::Reservation reservation;

  bool decoded() const { return picture == Picture::Decoded; }
  // Whether the picture is what a "Temp.jpg" of `fileBytes` bytes that begins with this frame
  // decodes to: the decoding never read past the frame's bytes, took the tail, or there is none.
  bool pictureOfFile(std::size_t fileBytes) const {
    return decoded() && (clean || withTail || fileBytes <= jpeg.size());
  }
  // The bitmap file, or empty when the frame is not decoded.
  std::span<const std::uint8_t> bitmapFile() const {
    return decoded() ? std::span<const std::uint8_t>(bitmap) : std::span<const std::uint8_t>();
  }
};

// Frames are shared by whoever still needs them (the comparison, the scratch files, the view) and
// never changed once handed on, except by the one thread that holds the only reference.
using FramePtr = std::shared_ptr<Frame>;

// A video frame's picture as a JPEG of quality 95, as an export or "Temp.jpg" holds it; empty
// when the frame has no picture.
std::vector<std::uint8_t> videoFrameJpeg(const Frame& frame);

// Makes frames whose buffers come back here when the last holder lets go, so that walking a clip
// allocates no picture memory after its first frames: a fresh 2.7 MB bitmap costs its page
// faults on every frame. Thread-safe; frames may outlive the pool.
class FramePool {
 public:
  // A few spares of a camera's pictures, or one of the largest: its fresh bitmap would cost
  // 100 MB of page faults a frame.
  static constexpr std::size_t kDefaultKeepBytes = std::size_t{128} << 20;

  // `keep`: how many spare frames to hold at most, and `keepBytes`: how many bytes of buffers.
  // With a budget, a spare is kept only while its buffers fit in it too, beside the pictures in
  // flight, and they count there until the spare is made into a frame again.
  explicit FramePool(std::size_t keep = 8, std::size_t keepBytes = kDefaultKeepBytes,
                     const toolkit::ResourceBudget* budget = nullptr);

  // A frame with index -1, no bytes and no picture; its vectors may keep memory of earlier use.
  FramePtr make();

 private:
  struct Spares {
    std::mutex mutex;
    std::vector<std::unique_ptr<Frame>> frames;
    std::size_t keep;
    std::size_t keepBytes;
    std::size_t bytes = 0;  // of the spares' buffers
    std::optional<toolkit::ResourceBudget> budget;
  };
  std::shared_ptr<Spares> m_spares;
};

}  // namespace clip
