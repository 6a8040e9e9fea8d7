#include "clip/clip_writer.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "clip/clip_format.h"
#include "toolkit/core/little_endian.h"
#include "toolkit/core/runtime_error.h"

namespace clip {
namespace {

namespace fmt = clip::format;

class Bytes {
 public:
  void tag(const std::string& t) {
    for (std::size_t i = 0; i < 4; ++i)
      m_b.push_back(i < t.size() ? static_cast<std::uint8_t>(t[i]) : 0);
  }
  void u32(std::uint32_t v) { toolkit::putFixed32(m_b, v); }
  void u16(std::uint16_t v) { toolkit::putFixed16(m_b, v); }
  void zeros(std::size_t n) { m_b.insert(m_b.end(), n, 0); }
  std::size_t size() const { return m_b.size(); }
  const std::vector<std::uint8_t>& data() const { return m_b; }

 private:
  std::vector<std::uint8_t> m_b;
};

void put32(WritableFile& file, std::int64_t offset, std::uint32_t v) {
  std::uint8_t b[4];
  toolkit::encodeFixed32(b, v);
  file.writeAt(offset, b);
}

std::uint32_t clamp32(std::int64_t v) {
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(v, 0, UINT32_MAX));
}

// Writes into a vector, for buildClip.
class VectorFile : public WritableFile {
 public:
  void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) override {
    auto end = static_cast<std::size_t>(offset) + data.size();
    if (m_bytes.size() < end) m_bytes.resize(end, 0);
    std::copy(data.begin(), data.end(), m_bytes.begin() + offset);
  }
  void truncate(std::int64_t length) override { m_bytes.resize(static_cast<std::size_t>(length)); }
  std::vector<std::uint8_t> take() { return std::move(m_bytes); }

 private:
  std::vector<std::uint8_t> m_bytes;
};

}  // namespace

ClipWriter::ClipWriter(WritableFile& file, ClipLayout layout)
    : m_file(file), m_layout(std::move(layout)) {
  Bytes h;
  h.tag(m_layout.riffTag);
  h.u32(0);  // completed by finish()
  h.tag(m_layout.formType);
  h.tag("LIST");
  h.u32(4 + (8 + 56) + (12 + 8 + 56 + 8 + 40));
  h.tag("hdrl");
  h.tag(m_layout.mainHeaderTag);
  h.u32(56);
  h.u32(m_layout.microSecPerFrame);
  h.u32(0);                 // dwMaxBytesPerSec, completed by finish()
  h.u32(0);                 // dwPaddingGranularity
  h.u32(0x10);              // dwFlags: has an index
  h.u32(0);                 // dwTotalFrames, completed by finish()
  h.u32(0);                 // dwInitialFrames
  h.u32(m_layout.streams);  // dwStreams
  h.u32(0);                 // dwSuggestedBufferSize, completed by finish()
  h.u32(static_cast<std::uint32_t>(m_layout.width));
  h.u32(static_cast<std::uint32_t>(m_layout.height));
  h.zeros(16);
  h.tag("LIST");
  h.u32(4 + 8 + 56 + 8 + 40);
  h.tag("strl");
  h.tag("strh");
  h.u32(56);
  h.tag("vids");
  h.tag("MJPG");
  h.zeros(12);                       // flags, priority, language, initial frames
  h.u32(m_layout.microSecPerFrame);  // scale
  h.u32(1000000);                    // rate
  h.u32(0);                          // start
  h.u32(0);                          // length, completed by finish()
  h.u32(0);                          // suggested buffer size
  h.u32(UINT32_MAX);                 // quality
  h.u32(0);                          // sample size
  h.u16(0);
  h.u16(0);
  h.u16(static_cast<std::uint16_t>(m_layout.width));
  h.u16(static_cast<std::uint16_t>(m_layout.height));
  h.tag("strf");
  h.u32(40);
  h.u32(40);
  h.u32(static_cast<std::uint32_t>(m_layout.width));
  h.u32(static_cast<std::uint32_t>(m_layout.height));
  h.u16(1);
  h.u16(24);
  h.tag("MJPG");
  h.u32(static_cast<std::uint32_t>(m_layout.width * 3 * m_layout.height));
  h.zeros(16);
  h.tag(m_layout.junkTag);
  h.u32(static_cast<std::uint32_t>(m_layout.junkSize));
  m_file.writeAt(0, h.data());
  const std::int64_t junkBytes = m_layout.junkDataBytes.value_or(
      static_cast<std::uint32_t>(std::clamp<std::int64_t>(m_layout.junkSize, 0, 1 << 20)));
  std::vector<std::uint8_t> junk(static_cast<std::size_t>(junkBytes), 0);
  std::copy_n(m_layout.junkFill.begin(), std::min(m_layout.junkFill.size(), junk.size()),
              junk.begin());
  m_file.writeAt(fmt::kJunkDataOffset, junk);
  m_moviListOffset = fmt::kJunkDataOffset + junkBytes;
  Bytes movi;
  movi.tag("LIST");
  movi.u32(0);  // completed by finish()
  movi.tag("movi");
  m_file.writeAt(m_moviListOffset, movi.data());
  m_end = m_moviListOffset + 12;
}

void ClipWriter::addChunk(std::span<const std::uint8_t> data, std::uint32_t dataSize,
                          std::uint32_t headerSize, std::uint32_t indexSize,
                          const std::string& tag) {
  Bytes header;
  header.tag(tag);
  header.u32(headerSize);
  m_file.writeAt(m_end, header.data());
  if (!data.empty()) m_file.writeAt(m_end + 8, data);
  m_index.push_back({tag, clamp32(m_end - (m_moviListOffset + 8)), indexSize});
  m_maxFrameBytes = std::max(m_maxFrameBytes, dataSize);
  m_end += 8 + dataSize;
  if (m_layout.padOddFrames && (dataSize & 1) != 0) {
    const std::uint8_t pad = 0;
    m_file.writeAt(m_end, std::span(&pad, 1));
    ++m_end;
  }
}

void ClipWriter::addFrame(const ClipFrame& frame) {
  const auto size = static_cast<std::uint32_t>(frame.data.size());
  addChunk(frame.data, size, frame.headerSize.value_or(size), frame.indexSize.value_or(size),
           frame.tag);
}

void ClipWriter::addFrame(std::span<const std::uint8_t> jpeg) {
  const auto size = static_cast<std::uint32_t>(jpeg.size());
  addChunk(jpeg, size, size, size, std::string(fmt::kFrameTag));
}

void ClipWriter::addSparseFrame(std::uint32_t size) {
  addChunk({}, size, size, size, std::string(fmt::kFrameTag));
}

std::int64_t ClipWriter::finish() {
  const auto frames = static_cast<std::uint32_t>(m_index.size());
  put32(m_file, m_moviListOffset + 4, clamp32(m_end - (m_moviListOffset + 8)));
  if (m_layout.writeIndex) {
    Bytes idx;
    idx.tag(std::string(fmt::kIndexTag));
    const std::uint32_t entryBytes =
        frames * static_cast<std::uint32_t>(fmt::kIndexEntryBytes) + m_layout.extraIndexBytes;
    idx.u32(m_layout.indexSizeField.value_or(entryBytes));
    for (std::size_t i = 0; i < m_index.size(); ++i) {
      idx.tag(i == 0 ? m_layout.firstIndexTag : m_index[i].tag);
      idx.u32(clip::format::kIndexKeyFrameFlag);
      idx.u32(m_index[i].offset);
      idx.u32(m_index[i].size);
    }
    idx.zeros(m_layout.extraIndexBytes);
    m_file.writeAt(m_end, idx.data());
    m_end += static_cast<std::int64_t>(idx.size());
  }
  put32(m_file, 4, clamp32(m_end - 8));
  const std::uint64_t perSecond =
      m_layout.microSecPerFrame == 0
          ? 0
          : std::uint64_t{m_maxFrameBytes} * 1000000 / m_layout.microSecPerFrame;
  put32(m_file, 36,
        clamp32(static_cast<std::int64_t>(std::min<std::uint64_t>(perSecond, UINT32_MAX))));
  put32(m_file, 48, m_layout.totalFramesField.value_or(frames));
  put32(m_file, 60, m_maxFrameBytes);
  put32(m_file, 140, frames);  // the stream's length
  return m_end;
}

std::vector<std::uint8_t> buildClip(const ClipLayout& layout,
                                    const std::vector<ClipFrame>& frames) {
  VectorFile file;
  ClipWriter writer(file, layout);
  for (const auto& f : frames) writer.addFrame(f);
  writer.finish();
  return file.take();
}

void writeClip(FileSystem& fs, const std::string& path, std::int32_t width, std::int32_t height,
               const std::vector<std::vector<std::uint8_t>>& jpegs) {
  auto file = fs.openWrite(path);
  file->truncate(0);
  ClipLayout layout;
  layout.width = width;
  layout.height = height;
  ClipWriter writer(*file, layout);
  for (const auto& j : jpegs) writer.addFrame(j);
  writer.finish();
}

}  // namespace clip
