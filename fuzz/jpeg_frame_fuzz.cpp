#include "fuzz/jpeg_frame_fuzz.h"

#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

#include "clip/frame.h"
#include "search/core/cell_sums.h"
#include "search/core/frame_decoder.h"
#include "toolkit/core/image.h"

namespace fuzzing {
namespace {

// The search's cells at program start.
constexpr int kCellSize = 16;
// Pictures up to this are compared pixel for pixel; larger ones by their size only.
constexpr std::int64_t kComparedPixels = std::int64_t{1} << 20;

void check(bool holds) {
  if (!holds) std::abort();
}

void checkPicture(const clip::Frame& frame, const toolkit::RgbImage& rgb) {
  const std::int32_t width = frame.width, height = frame.height;
  check(width == rgb.width && height == rgb.height);
  check(std::int64_t{width} * height <= toolkit::kMaxPicturePixels);
  // The size the frame carries is the one its bitmap's header says.
  const std::optional<toolkit::BmpHeader> header = toolkit::BmpHeader::read(frame.bitmap);
  check(header && header->width == width && header->height == height);
  check(frame.rowBytes == header->rowBytes() && frame.bitmap.size() == header->fileBytes());
  const auto cells =
      static_cast<std::size_t>(width / kCellSize) * static_cast<std::size_t>(height / kCellSize);
  check(frame.cellSize == kCellSize && frame.cellSums.size() == cells);
  if (std::int64_t{width} * height > kComparedPixels) return;
  check(toolkit::encodeBmp24(rgb) == frame.bitmap);
  std::vector<float> whole(cells);
  const search::BgrRows rows{frame.bitmap.data() + toolkit::kBmpHeaderBytes, frame.rowBytes, width,
                             height};
  if (cells > 0) search::cellSums(rows, kCellSize, whole.data());
  check(whole == frame.cellSums);
}

}  // namespace

void decodeFrameBytes(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);
  clip::Frame frame;
  frame.jpeg.assign(bytes.begin(), bytes.end());
  search::FrameDecoder().decode(frame, kCellSize);
  toolkit::JpegFailure failure = toolkit::JpegFailure::Undecodable;
  const std::optional<toolkit::RgbImage> rgb = toolkit::decodeJpeg(bytes, &failure);
  check(frame.decoded() == rgb.has_value());
  if (!rgb) {
    check(frame.picture == clip::Frame::Picture::Undecodable && frame.cellSums.empty());
    check(frame.tooCostly == (failure == toolkit::JpegFailure::TooCostly));
    return;
  }
  checkPicture(frame, *rgb);
}

}  // namespace fuzzing

#ifdef HG_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzing::decodeFrameBytes(data, size);
  return 0;
}
#endif
