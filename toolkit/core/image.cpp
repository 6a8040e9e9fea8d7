#include "toolkit/core/image.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#include "toolkit/core/file_system.h"
#include "toolkit/core/jpeg_decoding.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

struct TjDeleter {
  void operator()(void* handle) const { tjDestroy(handle); }
};
using TjHandle = std::unique_ptr<void, TjDeleter>;

// nullopt when `bytes` gave a picture at `eighths`/8 of its size; else why not.
std::optional<JpegFailure> decodeScaledInto(std::span<const std::uint8_t> bytes, PixelOrder order,
                                            int eighths, const PixelAllocator& allocate) {
  if (bytes.size() < 4) return JpegFailure::Undecodable;
  TjHandle tj(tjInitDecompress());
  if (!tj) return JpegFailure::Undecodable;
  // TurboJPEG's header check decides what is a picture: a header with a warning, or a sampling it
  // cannot name, is none. TurboJPEG's API takes non-const buffers but does not write to them.
  int width = 0, height = 0, subsamp = 0, colorspace = 0;
  auto* src = const_cast<unsigned char*>(bytes.data());
  auto size = static_cast<unsigned long>(bytes.size());
  if (tjDecompressHeader3(tj.get(), src, size, &width, &height, &subsamp, &colorspace) != 0) {
    return JpegFailure::Undecodable;
  }
  if (!plausibleJpegSize(width, height, bytes.size())) return JpegFailure::TooCostly;
  JpegOutput output;
  output.order = order;
  output.eighths = eighths;
  output.allocate = [&](int w, int h, std::ptrdiff_t& pitch) {
    int rowPitch = 0;
    std::uint8_t* rows = allocate(w, h, rowPitch);
    pitch = rowPitch;
    return rows;
  };
  // A corrupt or cut-off stream is only a warning: libjpeg-turbo fills what is missing.
  switch (decodeJpegRows(bytes, output)) {
    case JpegResult::Clean:
    case JpegResult::Warned:
      return std::nullopt;
    case JpegResult::Refused:
      return JpegFailure::TooCostly;
    case JpegResult::Failed:
      break;
  }
  return JpegFailure::Undecodable;
}

}  // namespace

bool decodeJpegInto(std::span<const std::uint8_t> bytes, PixelOrder order,
                    const PixelAllocator& allocate) {
  return !decodeScaledInto(bytes, order, 8, allocate);
}

std::optional<RgbImage> decodeJpegScaled(std::span<const std::uint8_t> bytes, int eighths,
                                         JpegFailure* failure) {
  RgbImage image;
  const std::optional<JpegFailure> failed =
      decodeScaledInto(bytes, PixelOrder::Rgb, eighths, [&](int width, int height, int& pitch) {
        image.width = width;
        image.height = height;
        pitch = width * 3;
        image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
        return image.pixels.data();
      });
  if (failed) {
    if (failure) *failure = *failed;
    return std::nullopt;
  }
  return image;
}

std::optional<RgbImage> decodeJpeg(std::span<const std::uint8_t> bytes, JpegFailure* failure) {
  return decodeJpegScaled(bytes, 8, failure);
}

int coveringEighths(int width, int height, int coverWidth, int coverHeight) {
  for (int eighths = 1; eighths < 8; ++eighths) {
    // libjpeg rounds a scaled size up.
    const std::int64_t w = (std::int64_t{width} * eighths + 7) / 8;
    const std::int64_t h = (std::int64_t{height} * eighths + 7) / 8;
    if (w >= coverWidth && h >= coverHeight) return eighths;
  }
  return 8;
}

std::optional<RgbImage> decodeJpegCovering(std::span<const std::uint8_t> bytes, int boxWidth,
                                           int boxHeight, Size& full, JpegFailure* failure) {
  int eighths = 8;
  full = {};
  if (const std::optional<JpegCost> cost = jpegCost(bytes)) {
    full = {cost->width, cost->height};
    if (std::int64_t{cost->width} * cost->height * 3 > kWholePictureBytes) {
      const Size fit = fitWithin(cost->width, cost->height, boxWidth, boxHeight);
      eighths = coveringEighths(cost->width, cost->height, fit.width, fit.height);
    }
  }
  return decodeJpegScaled(bytes, eighths, failure);
}

std::vector<std::uint8_t> encodeJpeg(const RgbImage& image, int quality,
                                     ChromaSubsampling subsampling) {
  TjHandle tj(tjInitCompress());
  unsigned char* out = nullptr;
  unsigned long outSize = 0;
  int samp = subsampling == ChromaSubsampling::k444 ? TJSAMP_444 : TJSAMP_420;
  if (!tj || tjCompress2(tj.get(), image.pixels.data(), image.width, 0, image.height, TJPF_RGB,
                         &out, &outSize, samp, quality, 0) != 0) {
    tjFree(out);
    return {};
  }
  std::vector<std::uint8_t> jpeg(out, out + outSize);
  tjFree(out);
  return jpeg;
}

std::vector<std::uint8_t> encodeBmp24(const RgbImage& image) {
  std::vector<std::uint8_t> bmp;
  encodeBmp24(image, bmp);
  return bmp;
}

void encodeBmp24(const RgbImage& image, std::vector<std::uint8_t>& bmp) {
  const BmpHeader header = BmpHeader::of(image.width, image.height);
  const auto row = static_cast<std::size_t>(header.rowBytes());
  bmp.assign(static_cast<std::size_t>(header.fileBytes()), 0);
  std::uint8_t* h = bmp.data();
  header.write(h);
  for (int y = 0; y < image.height; ++y) {
    const std::uint8_t* src =
        image.pixels.data() + static_cast<std::size_t>(image.height - 1 - y) * image.width * 3;
    std::uint8_t* dst = h + kBmpHeaderBytes + static_cast<std::size_t>(y) * row;
    for (int x = 0; x < image.width; ++x) {
      dst[3 * x] = src[3 * x + 2];
      dst[3 * x + 1] = src[3 * x + 1];
      dst[3 * x + 2] = src[3 * x];
    }
  }
}

std::optional<RgbImage> decodeBmp(std::span<const std::uint8_t> b) {
  const std::optional<BmpHeader> header = BmpHeader::read(b);
  if (!header) return std::nullopt;
  const std::uint32_t offBits = header->pixelOffset;
  const std::uint32_t infoSize = header->infoBytes;
  const std::int32_t width = header->width;
  const std::int32_t rawHeight = header->height;
  const std::uint16_t bits = header->bitCount;
  const std::uint32_t compression = header->compression;
  std::uint32_t colors = header->colorsUsed;
  if (infoSize < 40 || width <= 0 || rawHeight == 0 || rawHeight == INT32_MIN) return std::nullopt;
  if (compression != 0 && !(compression == 3 && bits == 32)) return std::nullopt;
  if (bits != 8 && bits != 24 && bits != 32) return std::nullopt;
  const bool topDown = rawHeight < 0;
  const std::int32_t height = topDown ? -rawHeight : rawHeight;
  const auto rowBytes = static_cast<std::int64_t>(header->rowBytes());
  if (offBits > b.size() || rowBytes * height > static_cast<std::int64_t>(b.size() - offBits)) {
    return std::nullopt;
  }
  std::span<const std::uint8_t> palette;
  if (bits == 8) {
    if (colors == 0 || colors > 256) colors = 256;
    const std::size_t palAt = 14 + infoSize;
    if (palAt + std::size_t{colors} * 4 > b.size()) return std::nullopt;
    palette = b.subspan(palAt, std::size_t{colors} * 4);
  }
  RgbImage image{width, height, {}};
  image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  for (std::int32_t y = 0; y < height; ++y) {
    const std::int32_t fileRow = topDown ? y : height - 1 - y;
    const std::uint8_t* src = b.data() + offBits + static_cast<std::size_t>(fileRow * rowBytes);
    std::uint8_t* dst = image.pixels.data() + static_cast<std::size_t>(y) * width * 3;
    for (std::int32_t x = 0; x < width; ++x) {
      const std::uint8_t* bgr = nullptr;
      if (bits == 8) {
        std::size_t index = src[x];
        if (index * 4 + 3 >= palette.size()) index = 0;
        bgr = palette.data() + index * 4;
      } else {
        bgr = src + static_cast<std::size_t>(x) * (bits / 8);
      }
      dst[3 * x] = bgr[2];
      dst[3 * x + 1] = bgr[1];
      dst[3 * x + 2] = bgr[0];
    }
  }
  return image;
}

RgbImage loadPicture(FileSystem& fs, const std::string& path) {
  std::string bytes = readWholeFile(fs, path);
  std::span<const std::uint8_t> data(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                     bytes.size());
  std::optional<RgbImage> image;
  if (data.size() >= 2 && data[0] == 'B' && data[1] == 'M') {
    image = decodeBmp(data);
  } else {
    image = decodeJpeg(data);
  }
  if (!image) throw RuntimeError::of(ErrorNumber::InvalidPicture);
  return std::move(*image);
}

std::vector<std::uint8_t> encodePng(const RgbImage& image) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width);
  png.height = static_cast<png_uint_32>(image.height);
  png.format = PNG_FORMAT_RGB;
  // A first call without memory gives the size, the second writes.
  png_alloc_size_t size = 0;
  std::vector<std::uint8_t> out;
  if (png_image_write_to_memory(&png, nullptr, &size, 0, image.pixels.data(), 0, nullptr)) {
    out.resize(size);
    if (png_image_write_to_memory(&png, out.data(), &size, 0, image.pixels.data(), 0, nullptr)) {
      out.resize(size);
      return out;
    }
  }
  png_image_free(&png);
  // The picture's own size is always one libpng takes: only memory can run out.
  throw std::bad_alloc();
}

RgbImage shrinkImage(const RgbImage& picture, int width, int height) {
  RgbImage shrunk;
  shrunk.width = std::clamp(width, 1, std::max(1, picture.width));
  shrunk.height = std::clamp(height, 1, std::max(1, picture.height));
  shrunk.pixels.resize(static_cast<std::size_t>(shrunk.width) * shrunk.height * 3);
  if (picture.empty()) return shrunk;
  for (int ty = 0; ty < shrunk.height; ++ty) {
    const int y0 = static_cast<int>(static_cast<long long>(ty) * picture.height / shrunk.height);
    const int y1 = std::max(
        y0 + 1, static_cast<int>(static_cast<long long>(ty + 1) * picture.height / shrunk.height));
    for (int tx = 0; tx < shrunk.width; ++tx) {
      const int x0 = static_cast<int>(static_cast<long long>(tx) * picture.width / shrunk.width);
      const int x1 = std::max(
          x0 + 1, static_cast<int>(static_cast<long long>(tx + 1) * picture.width / shrunk.width));
      unsigned long sum[3] = {0, 0, 0};
      for (int y = y0; y < y1; ++y) {
        const std::uint8_t* p =
            &picture.pixels[(static_cast<std::size_t>(y) * picture.width + x0) * 3];
        for (int x = x0; x < x1; ++x, p += 3) {
          sum[0] += p[0];
          sum[1] += p[1];
          sum[2] += p[2];
        }
      }
      const unsigned long n =
          static_cast<unsigned long>(y1 - y0) * static_cast<unsigned long>(x1 - x0);
      std::uint8_t* t = &shrunk.pixels[(static_cast<std::size_t>(ty) * shrunk.width + tx) * 3];
      for (int c = 0; c < 3; ++c) t[c] = static_cast<std::uint8_t>((sum[c] + n / 2) / n);
    }
  }
  return shrunk;
}

Size fitWithin(int pictureWidth, int pictureHeight, int width, int height) {
  if (pictureWidth <= 0 || pictureHeight <= 0) return {1, 1};
  if (pictureWidth <= width && pictureHeight <= height) return {pictureWidth, pictureHeight};
  if (std::int64_t{pictureWidth} * height >= std::int64_t{pictureHeight} * width) {
    return {width, std::max(1, static_cast<int>(std::lround(static_cast<double>(pictureHeight) *
                                                            width / pictureWidth)))};
  }
  return {std::max(1, static_cast<int>(
                          std::lround(static_cast<double>(pictureWidth) * height / pictureHeight))),
          height};
}

}  // namespace toolkit
