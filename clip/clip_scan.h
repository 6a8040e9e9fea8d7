#pragma once

// Reads a clip the way the index scan needs it: numbers and tags at file positions counted from
// 1, where everything past the end of the file reads as zeros, and the two pattern searches
// (rightmost, leftmost), done in blocks with the same matches as a byte-by-byte search.

#include <cstdint>
#include <string_view>
#include <vector>

#include "toolkit/core/file_system.h"
#include "toolkit/core/vb_types.h"

namespace clip {

class ClipScanner {
 public:
  explicit ClipScanner(toolkit::ReadableFile& file) : m_file(file), m_length(file.length()) {}

  std::int64_t length() const { return m_length; }

  // The four bytes at `pos` as a signed 32-bit number; one of 2,147,483,648 or more is the
  // run-time error "Overflow".
  toolkit::Long number(std::int64_t pos);
  // The same four bytes read as unsigned.
  std::int64_t unsignedNumber(std::int64_t pos);

  bool tagAt(std::int64_t pos, std::string_view tag);
  // A frame chunk's tag: two digits of a stream number, then "dc" or "db".
  bool isFrameTag(std::int64_t pos);

  // The position of the last / first full occurrence of `pattern`, or 0 if there is none.
  std::int64_t findLast(std::string_view pattern);
  std::int64_t findFirst(std::string_view pattern);

 private:
  void readAt(std::int64_t pos, std::uint8_t* out, std::size_t n);

  toolkit::ReadableFile& m_file;
  std::int64_t m_length;
  std::vector<std::uint8_t> m_block;
  // The small reads of numbers and tags go through a window of the file, so that the index's
  // entries, which lie side by side, cost one read per window rather than one each.
  std::vector<std::uint8_t> m_window;
  std::int64_t m_windowStart = -1;  // 0-based offset of m_window[0]
};

}  // namespace clip
