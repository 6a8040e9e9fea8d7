#include "toolkit/core/bmp_header.h"

#include <cstring>

#include "toolkit/core/little_endian.h"

namespace toolkit {

namespace {
constexpr std::uint32_t kPixelsPerMetreAt96Dpi = 3780;
}  // namespace

bool BmpHeader::holdsRows(std::size_t fileSize) const {
  return width > 0 && height > 0 && bitCount == 24 && fileBytes() <= fileSize;
}

void BmpHeader::write(std::uint8_t* h) const {
  const auto fileSize = static_cast<std::uint32_t>(fileBytes());
  std::memset(h, 0, kBmpHeaderBytes);
  h[0] = 'B';
  h[1] = 'M';
  encodeFixed32(h + 2, fileSize);
  encodeFixed32(h + 10, pixelOffset);
  encodeFixed32(h + 14, infoBytes);
  encodeFixed32(h + 18, static_cast<std::uint32_t>(width));
  encodeFixed32(h + 22, static_cast<std::uint32_t>(height));
  encodeFixed16(h + 26, 1);  // biPlanes
  encodeFixed16(h + 28, bitCount);
  encodeFixed32(h + 30, compression);
  encodeFixed32(h + 34, fileSize - static_cast<std::uint32_t>(kBmpHeaderBytes));
  encodeFixed32(h + 38, kPixelsPerMetreAt96Dpi);
  encodeFixed32(h + 42, kPixelsPerMetreAt96Dpi);
  encodeFixed32(h + 46, colorsUsed);
}

std::optional<BmpHeader> BmpHeader::read(std::span<const std::uint8_t> b) {
  if (b.size() < kBmpHeaderBytes || b[0] != 'B' || b[1] != 'M') return std::nullopt;
  BmpHeader h;
  h.pixelOffset = decodeFixed32(&b[10]);
  h.infoBytes = decodeFixed32(&b[14]);
  h.width = static_cast<std::int32_t>(decodeFixed32(&b[18]));
  h.height = static_cast<std::int32_t>(decodeFixed32(&b[22]));
  h.bitCount = decodeFixed16(&b[28]);
  h.compression = decodeFixed32(&b[30]);
  h.colorsUsed = decodeFixed32(&b[46]);
  return h;
}

}  // namespace toolkit
