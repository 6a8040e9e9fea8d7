#include "export/core/exports.h"

#include <algorithm>
#include <filesystem>
#include <functional>

#include "clip/clip_writer.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"
#include "toolkit/writers/video_writer.h"

namespace exporting {
namespace {

using toolkit::RuntimeError;

constexpr std::uint32_t kDefaultMicroSecPerFrame = 100000;

std::string failureText(const std::string& destination, const std::string& reason) {
  return "Could not write \"" + destination + "\".\r\n" + reason;
}

bool sameFile(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (fs::equivalent(a, b, ec)) return true;
  const fs::path ca = fs::weakly_canonical(a, ec);
  if (ec) return a == b;
  const fs::path cb = fs::weakly_canonical(b, ec);
  return ec ? a == b : ca == cb;
}

// Runs `write` through replaceFile, refusing the open clip as destination and turning every
// failure into one that names the destination.
void writeReplacing(toolkit::FileSystem& files, const std::string& destination,
                    const std::string& openClip,
                    const std::function<void(toolkit::WritableFile&)>& write) {
  if (destination.empty()) throw ExportFailure(failureText(destination, "No file name given."));
  if (!openClip.empty() && sameFile(destination, openClip)) {
    throw ExportFailure("\"" + destination +
                        "\" is the clip on show and cannot be replaced by an export.\r\n"
                        "Choose another file name.");
  }
  try {
    toolkit::replaceFile(files, destination, write);
  } catch (const RuntimeError& e) {
    throw ExportFailure(
        failureText(destination, "Error:" + std::to_string(e.number()) + "\r\n" + e.description()));
  } catch (const toolkit::VideoError& e) {
    throw ExportFailure(failureText(destination, e.what()));
  } catch (const ExportFailure& e) {
    throw ExportFailure(failureText(destination, e.what()));
  }
}

// Frame `index`'s bytes as the index gives them; a video's as a clip of it would hold them.
std::vector<std::uint8_t> readFrame(clip::SeparateMJPG& clip, toolkit::ReadableFile& file,
                                    std::int32_t index) {
  if (clip.videoFacts()) return clip.frameJpeg(index);
  const auto i = static_cast<std::size_t>(index);
  if (index < 0 || i >= clip.FrameSizes.size() || i >= clip.FramePositions.size()) {
    throw RuntimeError::of(toolkit::ErrorNumber::SubscriptOutOfRange);
  }
  const std::int64_t size = clip.FrameSizes[i];
  const std::int64_t position = std::int64_t{clip.FramePositions[i]} - 1;
  if (size <= 0 || position < 0 || position + size > file.length()) {
    throw RuntimeError::of(toolkit::ErrorNumber::InputPastEndOfFile);
  }
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (file.readAt(position, bytes) != bytes.size()) {
    throw RuntimeError::of(toolkit::ErrorNumber::InputPastEndOfFile);
  }
  return bytes;
}

}  // namespace

ExportRange exportRange(const clip::SeparateMJPG& clip, std::int32_t length) {
  const std::int64_t left =
      std::int64_t{clip.IndexEntryCount.value()} - std::int64_t{clip.ExtractedFrame.value()};
  return {clip.ExtractedFrame.value(), static_cast<std::int32_t>(std::clamp<std::int64_t>(
                                           std::min<std::int64_t>(length, left), 0, INT32_MAX))};
}

std::uint32_t clipMicroSecPerFrame(const clip::SeparateMJPG& clip) {
  return clip.MicroSecPerFrame == 0 ? kDefaultMicroSecPerFrame : clip.MicroSecPerFrame;
}

void CopyCurrentJpg(clip::SeparateMJPG& clip, toolkit::FileSystem& files,
                    const std::string& destination) {
  std::vector<std::uint8_t> bytes;
  try {
    if (clip.videoFacts()) {
      bytes = clip.frameJpeg(clip.ExtractedFrame.value());
      if (bytes.empty()) throw RuntimeError::of(toolkit::ErrorNumber::InvalidPicture);
    } else {
      bytes.resize(static_cast<std::size_t>(std::max(clip.ExtractedSize.value(), 0)));
      auto file = files.openRead(clip.ClipPath);
      if (bytes.empty() || clip.ExtractedPosition.value() < 1 ||
          std::int64_t{clip.ExtractedPosition.value()} - 1 + clip.ExtractedSize.value() >
              file->length()) {
        throw RuntimeError::of(toolkit::ErrorNumber::InputPastEndOfFile);
      }
      file->readAt(std::int64_t{clip.ExtractedPosition.value()} - 1, bytes);
    }
  } catch (const RuntimeError& e) {
    throw ExportFailure(failureText(
        destination,
        "The clip cannot be read. Error:" + std::to_string(e.number()) + "\r\n" + e.description()));
  }
  writeReplacing(files, destination, clip.ClipPath,
                 [&](toolkit::WritableFile& file) { file.writeAt(0, bytes); });
}

void ExportHgvClip(clip::SeparateMJPG& clip, toolkit::FileSystem& files,
                   const std::string& destination, std::int32_t length) {
  const ExportRange range = exportRange(clip, length);
  ExportHgvRun(clip, files, destination, range);
}

void ExportHgvRun(clip::SeparateMJPG& clip, toolkit::FileSystem& files,
                  const std::string& destination, const ExportRange& range) {
  writeReplacing(files, destination, clip.ClipPath, [&](toolkit::WritableFile& out) {
    clip::ClipLayout layout;
    layout.width = clip.ClipWidth.value();
    layout.height = clip.ClipHeight.value();
    layout.microSecPerFrame = clipMicroSecPerFrame(clip);
    auto source = files.openRead(clip.ClipPath);
    clip::ClipWriter writer(out, layout);
    for (std::int32_t i = 0; i < range.count; ++i) {
      writer.addFrame(readFrame(clip, *source, range.first + i));
    }
    writer.finish();
  });
}

int TOWMV(clip::SeparateMJPG& clip, toolkit::FileSystem& files, const std::string& source,
          const std::string& target, int rate, std::int32_t first, std::int32_t count,
          std::int32_t width, std::int32_t height) {
  (void)rate;
  ExportVideoRun(clip, files, source, target, {first, count}, width, height,
                 toolkit::VideoFormat::Wmv);
  return 0;
}

void ExportVideoRun(clip::SeparateMJPG& clip, toolkit::FileSystem& files, const std::string& source,
                    const std::string& target, const ExportRange& range, std::int32_t width,
                    std::int32_t height, toolkit::VideoFormat format) {
  const std::int32_t first = range.first, count = range.count;
  if (static_cast<std::int64_t>(width) * height > toolkit::kMaxPicturePixels || width < 2 ||
      height < 2) {
    throw ExportFailure(failureText(target, "The clip's picture size cannot be made a video."));
  }
  writeReplacing(files, target, source, [&](toolkit::WritableFile& out) {
    toolkit::VideoSpec video;
    video.format = format;
    video.width = width;
    video.height = height;
    video.frameDurationNum = clipMicroSecPerFrame(clip);
    video.frameDurationDen = 1000000;
    auto input = files.openRead(source);
    toolkit::VideoWriter writer(out, video);
    for (std::int32_t i = 0; i < count; ++i) {
      const auto picture = toolkit::decodeJpeg(readFrame(clip, *input, first + i));
      if (!picture) {
        throw ExportFailure("Frame " + std::to_string(first + i + 1) + " cannot be decoded.");
      }
      if (picture->width != width || picture->height != height) {
        throw ExportFailure("Frame " + std::to_string(first + i + 1) +
                            " is not of the clip's picture size.");
      }
      writer.addPicture(*picture);
    }
    writer.finish();
  });
}

}  // namespace exporting
