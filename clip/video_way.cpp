// The clip reader's second way: a camera's video, read through the video reader. The module's
// variables and the Frame it hands on are the same as for a clip, so everything above the reader
// takes both.

#include <algorithm>
#include <filesystem>

#include "clip/clip_format.h"
#include "clip/separate_mjpg.h"
#include "toolkit/core/bmp_header.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"
#include "video/video_file.h"

namespace clip {

using toolkit::ErrorNumber;
using toolkit::MessageBoxRequest;
using toolkit::RuntimeError;

namespace {

// A picture exported from a video, where the frame has no JPEG bytes of its own.
constexpr int kVideoJpegQuality = 95;

}  // namespace

SeparateMJPG::SeparateMJPG(toolkit::Platform& platform)
    : m_platform(platform), m_scratch(platform.files, platform.programFolder) {}

SeparateMJPG::~SeparateMJPG() = default;

Boolean SeparateMJPG::OpenVideo(const std::string& path) {
  std::unique_ptr<video::VideoFile> opened;
  try {
    video::VideoFile::Options options;
    options.threads =
        VideoThreads > 0 ? VideoThreads : std::max(1, toolkit::ResourceBudget::machineThreads());
    opened = video::VideoFile::open(path, options);
  } catch (const video::VideoError& e) {
    const std::string name = std::filesystem::path(path).filename().string();
    m_platform.messages.show(
        MessageBoxRequest::critical(name + " cannot be opened: " + e.what() + ".", "Warning"));
    return toolkit::kFalse;
  }
  const video::VideoFacts& facts = opened->facts();
  m_video = std::move(opened);
  ClipPath = path;
  ClipWidth = facts.width;
  ClipHeight = facts.height;
  MicroSecPerFrame = facts.microSecPerFrame;
  JunkSize = 0;
  IndexEntryCount = 0;
  IndexSizes.clear();
  FrameSizes.clear();
  FramePositions.clear();
  return toolkit::kTrue;
}

const video::VideoFacts* SeparateMJPG::videoFacts() const {
  return m_video ? &m_video->facts() : nullptr;
}

// A frame that cannot be decoded is a picture that cannot be shown, as a clip's broken JPEG is:
// its box comes from the comparison, and the search goes on.
FramePtr SeparateMJPG::videoFrame(std::int32_t index) {
  FramePtr frame = m_pool.make();
  frame->index = index;
  frame->fromVideo = true;
  try {
    // The pool's bitmap, kept from an earlier frame, is written over instead of a fresh one.
    video::VideoFrame picture;
    picture.bitmap.swap(frame->bitmap);
    m_video->frameInto(index, picture);
    frame->bitmap.swap(picture.bitmap);
    if (!picture.jpeg.empty()) {
      frame->fromVideo = false;
      frame->jpeg = std::move(picture.jpeg);
      return frame;
    }
    frame->width = picture.width;
    frame->height = picture.height;
    frame->rowBytes = picture.rowBytes;
    frame->picture = Frame::Picture::Decoded;
    // Nothing but the frame itself made its picture: no tail of "Temp.jpg" can change it.
    frame->clean = true;
  } catch (const video::VideoError&) {
    frame->picture = Frame::Picture::Undecodable;
  }
  return frame;
}

Long SeparateMJPG::videoFrameCount() {
  // The reader indexes at most 2^24 frames, well inside 32 bits.
  IndexEntryCount = static_cast<std::int32_t>(m_video->facts().frameCount);
  return IndexEntryCount;
}

std::string SeparateMJPG::extractVideoFrame(Long frame) {
  if (frame.value() < 0 || frame.value() >= IndexEntryCount.value()) {
    throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  }
  FramePtr value = videoFrame(frame.value());
  ExtractedSize = static_cast<std::int32_t>(value->jpeg.size());
  ExtractedPosition = 0;
  m_scratch.putJpeg(value);
  m_lastExtracted = std::move(value);
  return m_scratch.jpegPath();
}

std::vector<std::uint8_t> SeparateMJPG::frameJpeg(Long frame) {
  if (!m_video) {
    std::vector<std::uint8_t> bytes;
    readFrameBytes(*m_platform.files.openRead(ClipPath), placeOf(frame), bytes);
    return bytes;
  }
  if (frame.value() < 0 || frame.value() >= IndexEntryCount.value()) {
    throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  }
  const FramePtr value = videoFrame(frame.value());
  if (!value->fromVideo) return value->jpeg;
  return videoFrameJpeg(*value);
}

std::vector<std::uint8_t> videoFrameJpeg(const Frame& frame) {
  if (!frame.decoded()) return {};
  toolkit::RgbImage image;
  image.width = frame.width;
  image.height = frame.height;
  image.pixels.resize(static_cast<std::size_t>(frame.width) * frame.height * 3);
  // The bitmap's rows run bottom-up in blue, green, red.
  for (std::int32_t y = 0; y < frame.height; ++y) {
    const std::uint8_t* row = frame.bitmap.data() + toolkit::kBmpHeaderBytes +
                              static_cast<std::size_t>(frame.height - 1 - y) * frame.rowBytes;
    std::uint8_t* out = image.pixels.data() + static_cast<std::size_t>(y) * frame.width * 3;
    for (std::int32_t x = 0; x < frame.width; ++x, row += 3, out += 3) {
      out[0] = row[2];
      out[1] = row[1];
      out[2] = row[0];
    }
  }
  return toolkit::encodeJpeg(image, kVideoJpegQuality);
}

}  // namespace clip
