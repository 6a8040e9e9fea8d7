#include "toolkit/widgets/picture.h"

#include <cstring>

#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {

Picture::Picture(QImage image) {
  if (image.isNull()) return;
  if (image.hasAlphaChannel()) {
    m_image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  } else {
    m_image = image.convertToFormat(QImage::Format_RGB32);
  }
}

Picture Picture::fromRgb(const RgbImage& rgb) {
  if (rgb.empty()) return {};
  QImage packed(rgb.pixels.data(), rgb.width, rgb.height, rgb.width * 3, QImage::Format_RGB888);
  // convertToFormat copies, so the picture owns its pixels after `rgb` is gone.
  Picture picture;
  picture.m_image = packed.convertToFormat(QImage::Format_RGB32);
  return picture;
}

RgbImage Picture::toRgb() const {
  RgbImage rgb;
  if (empty()) return rgb;
  QImage packed = m_image.convertToFormat(QImage::Format_RGB888);
  rgb.width = packed.width();
  rgb.height = packed.height();
  const auto rowBytes = static_cast<std::size_t>(rgb.width) * 3;
  rgb.pixels.resize(rowBytes * static_cast<std::size_t>(rgb.height));
  for (int y = 0; y < rgb.height; ++y) {
    std::memcpy(rgb.pixels.data() + rowBytes * static_cast<std::size_t>(y), packed.constScanLine(y),
                rowBytes);
  }
  return rgb;
}

Picture Picture::fromBitmap(std::span<const std::uint8_t> file) {
  const std::optional<BmpHeader> header = BmpHeader::read(file);
  return header ? fromBitmap(file, *header) : Picture{};
}

Picture Picture::fromBitmap(std::span<const std::uint8_t> file, const BmpHeader& header) {
  if (!header.holdsRows(file.size())) return {};
  const std::int32_t width = header.width, height = header.height;
  QImage image(width, height, QImage::Format_RGB32);
  if (image.isNull()) return {};
  const auto rowBytes = static_cast<std::size_t>(header.rowBytes());
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* src =
        file.data() + kBmpHeaderBytes + static_cast<std::size_t>(height - 1 - y) * rowBytes;
    auto* dst = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < width; ++x, src += 3) dst[x] = qRgb(src[2], src[1], src[0]);
  }
  Picture picture;
  picture.m_image = std::move(image);
  return picture;
}

Picture LoadPicture(FileSystem& files, const std::string& path) {
  const std::string bytes = readWholeFile(files, path);
  return LoadPicture(std::span<const std::uint8_t>(
      reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

Picture LoadPicture(std::span<const std::uint8_t> data) {
  if (data.size() >= 2 && data[0] == 'B' && data[1] == 'M') {
    std::optional<RgbImage> bitmap = decodeBmp(data);
    if (!bitmap) throw RuntimeError::of(ErrorNumber::InvalidPicture);
    return Picture::fromRgb(*bitmap);
  }
  // Straight into the picture's own layout: a frame is decoded once and never converted.
  QImage image;
  const bool decoded =
      decodeJpegInto(data, PixelOrder::Bgrx, [&](int width, int height, int& pitch) {
        image = QImage(width, height, QImage::Format_RGB32);
        pitch = static_cast<int>(image.bytesPerLine());
        return image.isNull() ? nullptr : image.bits();
      });
  if (!decoded) throw RuntimeError::of(ErrorNumber::InvalidPicture);
  Picture picture;
  picture.m_image = std::move(image);
  return picture;
}

void SavePicture(FileSystem& files, const Picture& picture, const std::string& path) {
  writeWholeFile(files, path, encodeBmp24(picture.toRgb()));
}

}  // namespace toolkit
