#include "fuzz/video_file_fuzz.h"

#include <cstdlib>
#include <vector>

#include "toolkit/core/bmp_header.h"
#include "toolkit/core/image.h"
#include "video/video_file.h"

namespace fuzzing {
namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

void checkFrame(const video::VideoFrame& frame, std::int64_t index, std::size_t size) {
  check(frame.index == index);
  if (!frame.jpeg.empty() || frame.bitmap.empty()) {
    // A JPEG frame is a packet of the input, never more than it.
    check(frame.bitmap.empty() && frame.jpeg.size() <= size);
    return;
  }
  check(frame.width > 0 && frame.height > 0 &&
        std::int64_t{frame.width} * frame.height <= toolkit::kMaxPicturePixels);
  const auto header = toolkit::BmpHeader::of(frame.width, frame.height);
  check(frame.rowBytes == header.rowBytes() && frame.bitmap.size() == header.fileBytes());
}

}  // namespace

void openVideoBytes(const std::uint8_t* data, std::size_t size) {
  video::VideoFile::Options options;
  options.cacheBytes = std::size_t{16} << 20;
  std::unique_ptr<video::VideoFile> file;
  try {
    file =
        video::VideoFile::openBytes(std::vector<std::uint8_t>(data, data + size), "video", options);
  } catch (const video::VideoError&) {
    return;
  }
  const video::VideoFacts& facts = file->facts();
  check(facts.frameCount >= 1 && facts.frameCount <= std::int64_t{1} << 24);
  check(facts.width > 0 && facts.height > 0 &&
        std::int64_t{facts.width} * facts.height <= toolkit::kMaxPicturePixels);
  const std::int64_t last = facts.frameCount - 1;
  for (std::int64_t index : {std::int64_t{0}, std::int64_t{1}, last, last - 1, std::int64_t{0}}) {
    if (index < 0 || index > last) continue;
    try {
      checkFrame(file->frame(index), index, size);
    } catch (const video::VideoError&) {
    }
  }
  bool refused = false;
  try {
    file->frame(facts.frameCount);
  } catch (const video::VideoError&) {
    refused = true;
  }
  check(refused);
}

}  // namespace fuzzing

#ifdef HG_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzing::openVideoBytes(data, size);
  return 0;
}
#endif
