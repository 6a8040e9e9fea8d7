#pragma once

// The toolkit's picture: an immutable bitmap that controls show and paint from. Copies share
// their pixels.

#include <QImage>
#include <cstdint>
#include <span>
#include <string>

#include "toolkit/core/image.h"

namespace toolkit {

class FileSystem;

class Picture {
 public:
  Picture() = default;
  // Keeps the image as Format_RGB32 (alpha is kept for ARGB images such as the icon).
  explicit Picture(QImage image);

  bool empty() const { return m_image.isNull(); }
  int widthPixels() const { return m_image.width(); }
  int heightPixels() const { return m_image.height(); }
  const QImage& image() const { return m_image; }

  static Picture fromRgb(const RgbImage& rgb);
  // From a 24-bit bottom-up bitmap file as the converter writes it (54-byte header, rows padded
  // to 4 bytes); empty if it is not one.
  static Picture fromBitmap(std::span<const std::uint8_t> bitmapFile);
  // The same with the header its maker already holds (a decoded frame's size) instead of one read
  // from the file; empty when the file does not hold the rows it says.
  static Picture fromBitmap(std::span<const std::uint8_t> bitmapFile, const BmpHeader& header);
  RgbImage toRgb() const;

 private:
  friend Picture LoadPicture(std::span<const std::uint8_t> bytes);
  QImage m_image;
};

// A JPEG or BMP file as a picture. Throws the file's error, or RuntimeError 481 "Invalid picture"
// for anything that does not decode.
Picture LoadPicture(FileSystem& files, const std::string& path);
// The same for the file's bytes.
Picture LoadPicture(std::span<const std::uint8_t> bytes);

// Writes the picture as a 24-bit Windows bitmap, replacing the file.
void SavePicture(FileSystem& files, const Picture& picture, const std::string& path);

}  // namespace toolkit
