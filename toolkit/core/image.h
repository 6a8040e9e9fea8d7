#pragma once

// Plain pixel buffers and the two picture formats the program reads and writes: JPEG through
// libjpeg-turbo with its default (accurate) decoding, and uncompressed Windows bitmaps.

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "toolkit/core/bmp_header.h"

namespace toolkit {

class FileSystem;

// RGB, 3 bytes a pixel, top row first, rows tightly packed.
struct RgbImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;

  bool empty() const { return width <= 0 || height <= 0; }
  friend bool operator==(const RgbImage&, const RgbImage&) = default;
};

// Why a JPEG gave no picture.
enum class JpegFailure {
  Undecodable,
  // Its decoding would cost far more than any real picture's does (toolkit/core/jpeg_decoding.h).
  TooCostly,
};

// nullopt for anything libjpeg-turbo cannot decode, with the reason in `failure` when it is given.
// Pictures of more than kMaxPicturePixels are refused, so a hostile header cannot make us
// allocate gigabytes.
std::optional<RgbImage> decodeJpeg(std::span<const std::uint8_t> bytes,
                                   JpegFailure* failure = nullptr);
// The same picture at eighths/8 of its size (1 to 8), by libjpeg's DCT scaling: a thumbnail of a
// huge picture without the memory or the time of the whole one.
std::optional<RgbImage> decodeJpegScaled(std::span<const std::uint8_t> bytes, int eighths,
                                         JpegFailure* failure = nullptr);
// The fewest eighths (1 to 8) at which a `width` x `height` picture still covers `coverWidth` x
// `coverHeight`, or 8 when no scale short of the whole picture does.
int coveringEighths(int width, int height, int coverWidth, int coverHeight);

// The same decoding into memory of the caller's: `allocate(width, height)` returns where the
// rows go and sets `pitch`, the bytes from one row to the next. Bgrx is blue, green, red and a
// byte of 255, the layout of a 32-bit QImage; Bgr the rows of a 24-bit bitmap. The colours are
// those decodeJpeg gives.
enum class PixelOrder { Rgb, Bgrx, Bgr };
using PixelAllocator = std::function<std::uint8_t*(int width, int height, int& pitch)>;
bool decodeJpegInto(std::span<const std::uint8_t> bytes, PixelOrder order,
                    const PixelAllocator& allocate);
// The largest picture decoded: 8K UHD (7,680 x 4,320) fits, and its bitmap takes about 100 MB.
inline constexpr std::int64_t kMaxPicturePixels = std::int64_t{1} << 25;

// Whether a JPEG of `bytes` bytes can really hold a picture of that size. Even a flat grey
// baseline JPEG spends a byte on every 170 pixels or so; a header that claims far more pixels
// than its file can carry is hostile, and decoding it would make a few hundred bytes cost
// hundreds of megabytes. Camera frames are always well inside this bound.
inline constexpr std::int64_t kMaxPixelsPerJpegByte = 256;
constexpr bool plausibleJpegSize(std::int64_t width, std::int64_t height, std::size_t bytes) {
  return width > 0 && height > 0 && width * height <= kMaxPicturePixels &&
         width * height <= static_cast<std::int64_t>(bytes) * kMaxPixelsPerJpegByte;
}

enum class ChromaSubsampling { k444, k420 };
std::vector<std::uint8_t> encodeJpeg(const RgbImage& image, int quality = 85,
                                     ChromaSubsampling subsampling = ChromaSubsampling::k420);

// A 24-bit bottom-up bitmap with the 54-byte header, biClrUsed 0, rows padded to 4 bytes.
std::vector<std::uint8_t> encodeBmp24(const RgbImage& image);
// The same into `bmp`, whose memory is reused when it has room.
void encodeBmp24(const RgbImage& image, std::vector<std::uint8_t>& bmp);

// An 8-bit RGB PNG of the picture, without interlacing.
std::vector<std::uint8_t> encodePng(const RgbImage& image);

// The picture at `width` x `height` (no larger than it), each pixel the mean of the picture's
// pixels it covers.
RgbImage shrinkImage(const RgbImage& picture, int width, int height);
// The largest size of the picture's shape that fits `width` x `height` without enlarging it, at
// least 1 by 1.
struct Size {
  int width = 0;
  int height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};
Size fitWithin(int pictureWidth, int pictureHeight, int width, int height);

// A picture that is to be shrunk to fit `boxWidth` x `boxHeight`: the whole picture when it takes
// at most kWholePictureBytes, else decoded at the fewest eighths that still cover what it shrinks
// to, so that a thumbnail of a huge picture costs neither its memory nor its time. `full` gets
// the whole picture's size, which the thumbnail's size and scale go by.
inline constexpr std::int64_t kWholePictureBytes = std::int64_t{32} << 20;
std::optional<RgbImage> decodeJpegCovering(std::span<const std::uint8_t> bytes, int boxWidth,
                                           int boxHeight, Size& full,
                                           JpegFailure* failure = nullptr);

// Reads uncompressed 8-bit (palette), 24-bit and 32-bit bitmaps, bottom-up or top-down.
std::optional<RgbImage> decodeBmp(std::span<const std::uint8_t> bytes);

// The toolkit's LoadPicture: a JPEG or BMP file to pixels. A missing file raises its file error;
// anything undecodable is "Invalid picture" (481).
RgbImage loadPicture(FileSystem& fs, const std::string& path);

}  // namespace toolkit
