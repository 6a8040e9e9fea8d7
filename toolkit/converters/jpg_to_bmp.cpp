#include "toolkit/converters/jpg_to_bmp.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

constexpr std::size_t kHeaderBytes = 54;

void put32(std::uint8_t* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

void writeHeader(std::uint8_t* h, int width, int height, std::size_t fileSize) {
  std::memset(h, 0, kHeaderBytes);
  h[0] = 'B';
  h[1] = 'M';
  put32(h + 2, static_cast<std::uint32_t>(fileSize));
  put32(h + 10, kHeaderBytes);
  put32(h + 14, 40);
  put32(h + 18, static_cast<std::uint32_t>(width));
  put32(h + 22, static_cast<std::uint32_t>(height));
  h[26] = 1;   // biPlanes
  h[28] = 24;  // biBitCount
  put32(h + 34, static_cast<std::uint32_t>(fileSize - kHeaderBytes));
  put32(h + 38, 3780);  // 96 dpi
  put32(h + 42, 3780);
}

}  // namespace

JpegBitmapDecoder::~JpegBitmapDecoder() {
  if (m_tj) tjDestroy(m_tj);
}

JpgToBmpConverter::JpgToBmpConverter(FileSystem& fs) : m_fs(fs) {}

JpgToBmpConverter::~JpgToBmpConverter() = default;

std::span<const std::uint8_t> JpgToBmpConverter::bitmap() const {
  if (!m_decoded) return {};
  return m_bmp;
}

std::span<const std::uint8_t> JpgToBmpConverter::bitmapOf(
    std::span<const std::uint8_t> jpeg) const {
  if (!m_bmpValid ||
      !std::equal(jpeg.begin(), jpeg.end(), m_bmpSource.begin(), m_bmpSource.end())) {
    return {};
  }
  return m_bmp;
}

bool JpgToBmpConverter::convert(const std::string& source, const std::string& target,
                                Integer /*width*/, Integer /*height*/) {
  if (decode(source)) return write(target);
  discardTarget(target);
  return false;
}

bool JpgToBmpConverter::decode(const std::string& source) {
  m_decoded = false;
  try {
    auto in = m_fs.openRead(source);
    m_jpeg.resize(static_cast<std::size_t>(in->length()));
    m_jpeg.resize(in->readAt(0, m_jpeg));
    in.reset();
    if (!bitmapOf(m_jpeg).empty()) {
      m_decoded = true;
      return m_decoded;
    }
    m_bmpValid = false;
    m_decoded = (m_ahead && m_ahead(m_jpeg, m_bmp)) || m_decoder.decode(m_jpeg, m_bmp);
    if (m_decoded) {
      m_bmpSource.swap(m_jpeg);
      m_bmpValid = true;
    }
  } catch (const RuntimeError&) {
  } catch (const std::bad_alloc&) {
  }
  return m_decoded;
}

bool JpgToBmpConverter::write(const std::string& target) {
  if (m_decoded) {
    try {
      auto out = m_fs.openWrite(target);
      out->writeAt(0, m_bmp);
      out->truncate(static_cast<std::int64_t>(m_bmp.size()));
      return true;
    } catch (const RuntimeError&) {
    }
  }
  discardTarget(target);
  return false;
}

bool JpegBitmapDecoder::decode(std::span<const std::uint8_t> jpeg,
                               std::vector<std::uint8_t>& bitmap) {
  m_clean = false;
  if (jpeg.size() < 4) return false;
  if (!m_tj) m_tj = tjInitDecompress();
  if (!m_tj) return false;
  // TurboJPEG's API takes non-const buffers but does not write to the source.
  auto* src = const_cast<unsigned char*>(jpeg.data());
  const auto size = static_cast<unsigned long>(jpeg.size());
  int width = 0, height = 0, subsamp = 0, colorspace = 0;
  if (tjDecompressHeader3(m_tj, src, size, &width, &height, &subsamp, &colorspace) != 0) {
    return false;
  }
  if (!plausibleJpegSize(width, height, jpeg.size())) return false;
  const int row = bmpRowBytes(width);
  const std::size_t fileSize =
      kHeaderBytes + static_cast<std::size_t>(row) * static_cast<std::size_t>(height);
  if (bitmap.size() != fileSize) bitmap.assign(fileSize, 0);
  writeHeader(bitmap.data(), width, height, fileSize);

  std::uint8_t* pixels = bitmap.data() + kHeaderBytes;
  // A corrupt or cut-off stream is only a warning: libjpeg-turbo fills what is missing, as every
  // other decoder of the program does. Only a fatal error leaves no picture.
  if (tjDecompress2(m_tj, src, size, pixels, width, row, height, TJPF_BGR, TJFLAG_BOTTOMUP) != 0) {
    if (tjGetErrorCode(m_tj) == TJERR_FATAL) return false;
  } else {
    m_clean = true;
  }
  const int pad = row - width * 3;
  if (pad > 0) {
    for (int y = 0; y < height; ++y) {
      std::memset(pixels + static_cast<std::size_t>(y) * row + width * 3, 0,
                  static_cast<std::size_t>(pad));
    }
  }
  return true;
}

void JpgToBmpConverter::discardTarget(const std::string& target) {
  try {
    if (m_fs.exists(target)) m_fs.remove(target);
    return;
  } catch (const RuntimeError&) {
  }
  try {
    m_fs.openWrite(target)->truncate(0);
  } catch (const RuntimeError&) {
  }
}

bool JPG_TO_BMP(FileSystem& fs, const std::string& source, const std::string& target, Integer width,
                Integer height) {
  JpgToBmpConverter converter(fs);
  return converter.convert(source, target, width, height);
}

}  // namespace toolkit
