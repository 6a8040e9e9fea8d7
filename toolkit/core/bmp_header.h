#pragma once

// The header of a Windows bitmap file: the 14 bytes of BITMAPFILEHEADER and the 40 of
// BITMAPINFOHEADER. The one place that knows where their fields lie.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace toolkit {

inline constexpr std::size_t kBmpHeaderBytes = 54;

struct BmpHeader {
  std::int32_t width = 0;
  std::int32_t height = 0;  // as stored: negative when the rows run top-down
  std::uint16_t bitCount = 24;
  std::uint32_t pixelOffset = kBmpHeaderBytes;  // bfOffBits
  std::uint32_t infoBytes = 40;                 // biSize
  std::uint32_t compression = 0;
  std::uint32_t colorsUsed = 0;  // biClrUsed

  // The bytes of one row, padded to 4. REQUIRES: width >= 0.
  constexpr std::uint64_t rowBytes() const {
    return (static_cast<std::uint64_t>(width) * bitCount + 31) / 32 * 4;
  }
  // The header and the rows right behind it. REQUIRES: width >= 0, height >= 0.
  constexpr std::uint64_t fileBytes() const {
    return kBmpHeaderBytes + rowBytes() * static_cast<std::uint64_t>(height);
  }
  // A bitmap as the program writes them: 24-bit, bottom-up, not empty, its rows whole within a
  // file of `fileSize` bytes.
  bool holdsRows(std::size_t fileSize) const;

  // The 54 bytes, with biPlanes 1, bfSize and biSizeImage from the size, 96 dpi. The defaults are
  // the header of every bitmap the program writes. REQUIRES: 54 writable bytes.
  void write(std::uint8_t* out) const;
  // The fields of a header that begins with "BM"; nullopt for anything shorter than 54 bytes or
  // of another signature. What the fields say is for the caller to check.
  static std::optional<BmpHeader> read(std::span<const std::uint8_t> bytes);

  // The program's header of a `width` x `height` picture.
  static constexpr BmpHeader of(std::int32_t width, std::int32_t height) {
    BmpHeader h;
    h.width = width;
    h.height = height;
    return h;
  }
};

}  // namespace toolkit
