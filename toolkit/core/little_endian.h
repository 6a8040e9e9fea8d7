#pragma once

// The one coder of the little-endian numbers in clips, indexes and bitmaps: every reader and
// writer of those formats goes through these, none composes bytes by hand.

#include <cstdint>
#include <vector>

namespace toolkit {

// REQUIRES: p points at 2 (4) readable bytes.
inline std::uint16_t decodeFixed16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t decodeFixed32(const std::uint8_t* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 |
         std::uint32_t{p[3]} << 24;
}

// REQUIRES: p points at 2 (4) writable bytes.
inline void encodeFixed16(std::uint8_t* p, std::uint16_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void encodeFixed32(std::uint8_t* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// Appends the number to `out`.
inline void putFixed16(std::vector<std::uint8_t>& out, std::uint16_t v) {
  std::uint8_t b[2];
  encodeFixed16(b, v);
  out.insert(out.end(), b, b + 2);
}
inline void putFixed32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  std::uint8_t b[4];
  encodeFixed32(b, v);
  out.insert(out.end(), b, b + 4);
}

}  // namespace toolkit
