#pragma once

// Writes clips in the layout of clip/clip_format.h: the one the reader admits, and on request the
// odd ones it has to cope with (wrong tags, other JUNK sizes, sizes that disagree, pad bytes, no
// index). Used by the sub-clip export, hgvtool pack, the tests and the benchmarks.

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "toolkit/core/file_system.h"

namespace clip {

using toolkit::FileSystem;
using toolkit::WritableFile;

struct ClipLayout {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint32_t microSecPerFrame = 100000;
  // Tags at the fixed offsets; anything of four bytes.
  std::string riffTag = "RIFF";
  std::string formType = "AVI ";
  std::string mainHeaderTag = "avih";
  std::string junkTag = "JUNK";
  // The JUNK size field; the default puts "movi00dc" at file offset 4096. Bytes of junkFill are
  // written at the start of the JUNK data (e.g. a stray "movi00dc").
  std::int64_t junkSize = 3868;
  std::vector<std::uint8_t> junkFill;
  // Bytes of JUNK data actually written, when not junkSize (a hostile size field may say
  // anything).
  std::optional<std::uint32_t> junkDataBytes;
  std::optional<std::uint32_t> totalFramesField;  // dwTotalFrames; the frame count if unset
  std::uint32_t streams = 1;
  bool padOddFrames = false;  // a pad byte behind odd frame data, which the index does not count
  bool writeIndex = true;
  std::string firstIndexTag = "00dc";
  std::uint32_t extraIndexBytes = 0;  // entry bytes beyond the whole entries, e.g. 16 n + 5
  std::optional<std::uint32_t> indexSizeField;  // overrides the index's entry-bytes field
};

struct ClipFrame {
  std::vector<std::uint8_t> data;
  std::optional<std::uint32_t> headerSize;  // chunk header's size field if not data.size()
  std::optional<std::uint32_t> indexSize;   // index entry's size if not data.size()
  std::string tag = "00dc";
};

// Writes a clip frame by frame. The header is written first with placeholders and completed by
// finish(); frames may be given without their bytes (sparse), for benchmark clips of gigabytes.
class ClipWriter {
 public:
  ClipWriter(WritableFile& file, ClipLayout layout);

  void addFrame(const ClipFrame& frame);
  void addFrame(std::span<const std::uint8_t> jpeg);
  // A frame of `size` bytes whose data is left unwritten (a hole in a sparse file).
  void addSparseFrame(std::uint32_t size);
  // Writes the index and the sizes the header was waiting for. Returns the file's length.
  std::int64_t finish();

 private:
  void addChunk(std::span<const std::uint8_t> data, std::uint32_t dataSize,
                std::uint32_t headerSize, std::uint32_t indexSize, const std::string& tag);

  struct IndexEntry {
    std::string tag;
    std::uint32_t offset;
    std::uint32_t size;
  };

  WritableFile& m_file;
  ClipLayout m_layout;
  std::int64_t m_moviListOffset = 0;
  std::int64_t m_end = 0;
  std::uint32_t m_maxFrameBytes = 0;
  std::vector<IndexEntry> m_index;
};

// The whole clip in memory.
std::vector<std::uint8_t> buildClip(const ClipLayout& layout, const std::vector<ClipFrame>& frames);

// Writes a clip of the given pictures to `path` through `fs`, replacing any file there.
void writeClip(FileSystem& fs, const std::string& path, std::int32_t width, std::int32_t height,
               const std::vector<std::vector<std::uint8_t>>& jpegs);

}  // namespace clip
