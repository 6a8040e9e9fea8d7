#include "clip/separate_mjpg.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "clip/clip_format.h"
#include "clip/clip_scan.h"
#include "clip/footage_types.h"
#include "toolkit/core/little_endian.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/core/runtime_error.h"
#include "video/video_file.h"

namespace clip {

using toolkit::ErrorNumber;
using toolkit::MessageBoxRequest;
using toolkit::MsgIcon;
using toolkit::RuntimeError;

namespace {

constexpr const char* kEmptyFileText = "The file doesn't exist or no content in it.";
constexpr const char* kUnvalidTypeText = "The file type is unvalid!";

std::int32_t signed32(const std::uint8_t* b) {
  return static_cast<std::int32_t>(toolkit::decodeFixed32(b));
}

bool tagIs(const std::uint8_t* b, std::string_view tag) {
  return std::memcmp(b, tag.data(), tag.size()) == 0;
}

// Reads a record at a 0-based offset; what lies past the end of the file reads as zeros.
template <std::size_t N>
std::array<std::uint8_t, N> readRecord(toolkit::ReadableFile& file, std::int64_t offset) {
  std::array<std::uint8_t, N> record{};
  file.readAt(offset, record);
  return record;
}

}  // namespace

bool SeparateMJPG::isClipFile(toolkit::FileSystem& files, const std::string& path) {
  if (hasExtension(path, kClipExtension)) return true;
  try {
    auto file = files.openRead(path);
    if (file->length() == 0) return true;
    // The tags the header check tests, where it tests them.
    const auto riff = readRecord<12>(*file, format::kRiffOffset);
    const auto main = readRecord<4>(*file, format::kMainHeaderOffset);
    const auto junk = readRecord<4>(*file, format::kJunkOffset);
    return tagIs(riff.data(), format::kRiffTag) && tagIs(riff.data() + 8, format::kAviFormType) &&
           tagIs(main.data(), format::kMainHeaderTag) && tagIs(junk.data(), format::kJunkTag);
  } catch (const RuntimeError&) {
    return true;
  }
}

Boolean SeparateMJPG::InitialAviInfo(const std::string& path) {
  // Whatever this check says, the video that was open is closed: the session's file is this one.
  m_video.reset();
  auto refuse = [this](MessageBoxRequest box) {
    m_platform.messages.show(box);
    return toolkit::kFalse;
  };
  try {
    std::int32_t width = 0, height = 0, junkSize = 0;
    std::uint32_t microSecPerFrame = 0;
    {
      auto file = m_platform.files.openRead(path);
      if (file->length() == 0) return refuse(MessageBoxRequest::plain(kEmptyFileText));

      auto riff = readRecord<12>(*file, format::kRiffOffset);
      if (tagIs(riff.data(), format::kRiffTag) && !tagIs(riff.data() + 8, format::kAviFormType)) {
        return refuse(MessageBoxRequest::critical(kUnvalidTypeText, "Warning"));
      }
      auto main = readRecord<format::kMainHeaderRecordBytes>(*file, format::kMainHeaderOffset);
      if (!tagIs(main.data(), format::kMainHeaderTag)) {
        return refuse(MessageBoxRequest::critical(kUnvalidTypeText, "Warning"));
      }
      auto junk = readRecord<8>(*file, format::kJunkOffset);
      if (!tagIs(junk.data(), format::kJunkTag)) {
        return refuse(MessageBoxRequest::critical(kUnvalidTypeText, "Warning"));
      }
      width = signed32(main.data() + (format::kWidthOffset - format::kMainHeaderOffset));
      height = signed32(main.data() + (format::kHeightOffset - format::kMainHeaderOffset));
      microSecPerFrame = toolkit::decodeFixed32(
          main.data() + (format::kMicroSecPerFrameOffset - format::kMainHeaderOffset));
      junkSize = signed32(junk.data() + 4);
    }
    ClipPath = path;
    ClipHeight = height;
    ClipWidth = width;
    MicroSecPerFrame = microSecPerFrame;
    JunkSize = junkSize;  // a size that does not fit 16 bits overflows here, after the others
    return toolkit::kTrue;
  } catch (const RuntimeError& e) {
    m_platform.messages.show(
        MessageBoxRequest::critical(toolkit::errorBoxText("InitialAviInfo", e)));
    return toolkit::kFalse;
  }
}

Long SeparateMJPG::SaveAviChunk(const std::string& path) {
  m_scanShowedBox = false;
  if (m_video) return videoFrameCount();
  try {
    auto file = m_platform.files.openRead(path);
    ClipScanner scan(*file);

    const std::int64_t indexPos = scan.findLast(format::kIndexTag);
    if (indexPos <= 0) return recoverCutOffRecording(scan).value();
    const Long count = scan.number(indexPos + 4) / Long(format::kIndexEntryBytes);
    if (!scan.tagAt(indexPos + 8, format::kFrameTag)) return recoverCutOffRecording(scan).value();
    IndexEntryCount = count;
    // Past 32,768 entries the 16-bit frame counter overflows before a second entry is read,
    // so the table is never needed: a hostile size field cannot make us allocate gigabytes.
    const bool tooMany = count.value() > format::kMaxFrames + 1;
    IndexSizes.assign(tooMany ? 1 : static_cast<std::size_t>(count.value()) + 1, 0);
    std::int64_t at = indexPos + 8 + format::kIndexEntrySizeOffset;
    IndexSizes[0] = scan.number(at).value();
    // The loop's bound and counter are 16-bit. 32,768 entries overflow only when the counter
    // steps past 32,767, after the last entry was read.
    for (Integer k = 1, last = (count - Long(1)).value(); k <= last; ++k) {
      at += format::kIndexEntryBytes;
      IndexSizes[static_cast<std::size_t>(k.value())] = scan.number(at).value();
    }

    const std::size_t tableSize = IndexSizes.size();
    FramePositions.assign(tableSize, 0);
    FrameSizes.assign(tableSize, 0);
    const std::int64_t firstPos = scan.findFirst(format::kFirstFrameMarker);
    if (firstPos > 0) {
      FrameSizes[0] = scan.number(firstPos + 8).value();
      FramePositions[0] = (Long(firstPos) + Long(12)).value();
      for (std::size_t k = 1; k + 1 < tableSize; ++k) {
        const Long s = Long(FramePositions[k - 1]) + Long(IndexSizes[k - 1]) + Long(4);
        FrameSizes[k] = scan.number(s.value()).value();
        FramePositions[k] = (s + Long(4)).value();
      }
    }
    // A clip's frame count is 16 bits, as it always was.
    return Integer(IndexEntryCount.value()).value();
  } catch (const RuntimeError& e) {
    m_scanShowedBox = true;
    m_platform.messages.show(MessageBoxRequest::critical(toolkit::errorBoxText("SaveAviChunk", e)));
    return 0;
  }
}

// A clip without an index, or whose index does not begin with a frame entry, is a recording
// that was cut off (a camera that lost power never writes its index). Its frames are still
// there: walk the chunks by their own headers and keep every frame whose data is whole.
Integer SeparateMJPG::recoverCutOffRecording(ClipScanner& scan) {
  std::vector<std::int32_t> sizes;
  std::vector<std::int32_t> positions;
  const std::int64_t length = scan.length();
  std::int64_t tagPos = scan.findFirst(format::kFirstFrameMarker);
  if (tagPos > 0) tagPos += 4;
  while (tagPos > 0) {
    const std::int64_t size = scan.unsignedNumber(tagPos + 4);
    const std::int64_t dataPos = tagPos + 8;
    // The writer died inside this frame; frames past 2 GB cannot be addressed at all.
    if (dataPos - 1 + size > length || dataPos + size > INT32_MAX) break;
    if (sizes.size() == format::kMaxFrames) throw RuntimeError::of(ErrorNumber::Overflow);
    sizes.push_back(static_cast<std::int32_t>(size));
    positions.push_back(static_cast<std::int32_t>(dataPos));
    std::int64_t next = dataPos + size;
    // Writers that pad odd chunks to an even length leave one byte before the next tag.
    if (!scan.isFrameTag(next) && (size & 1) != 0 && scan.isFrameTag(next + 1)) ++next;
    tagPos = scan.isFrameTag(next) ? next : 0;
  }
  IndexEntryCount = static_cast<std::int32_t>(sizes.size());
  sizes.push_back(0);
  positions.push_back(0);
  IndexSizes = sizes;
  FrameSizes = std::move(sizes);
  FramePositions = std::move(positions);
  return Integer(IndexEntryCount.value());
}

void readFrameBytes(toolkit::ReadableFile& file, const FramePlace& place,
                    std::vector<std::uint8_t>& out) {
  // A frame larger than the whole clip is damage, not a short tail: refuse it rather than
  // allocate what the file cannot hold.
  if (place.size > file.length()) throw RuntimeError::of(ErrorNumber::InputPastEndOfFile);
  out.assign(static_cast<std::size_t>(place.size), 0);
  file.readAt(place.offset, out);
}

FramePlace SeparateMJPG::placeOf(Long frame) const {
  const auto index = static_cast<std::size_t>(frame.value());
  if (frame.value() < 0 || index >= FrameSizes.size() || index >= FramePositions.size()) {
    throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  }
  if (FrameSizes[index] <= 0) throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  return {frame.value(), std::int64_t{FramePositions[index]} - 1, FrameSizes[index]};
}

std::string SeparateMJPG::ExtractCurrentJpg(const std::string& path, Long frame) {
  ExtractedFrame = frame.value();
  if (m_video) return extractVideoFrame(frame);
  const auto index = static_cast<std::size_t>(frame.value());
  if (frame.value() < 0 || index >= FrameSizes.size() || index >= FramePositions.size()) {
    throw RuntimeError::of(ErrorNumber::SubscriptOutOfRange);
  }
  ExtractedSize = FrameSizes[index];
  ExtractedPosition = FramePositions[index];
  const FramePlace place = placeOf(frame);

  FramePtr value = m_source ? m_source->take(path, place.frame) : nullptr;
  if (!value) {
    value = m_pool.make();
    value->index = place.frame;
    readFrameBytes(*m_platform.files.openRead(path), place, value->jpeg);
  }
  m_scratch.putJpeg(value);
  m_lastExtracted = std::move(value);
  return m_scratch.jpegPath();
}

}  // namespace clip
