#include "toolkit/converters/jpg_to_bmp.h"

#include <turbojpeg.h>

#include <cstring>
#include <new>

#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/jpeg_decoding.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {

JpegBitmapDecoder::~JpegBitmapDecoder() {
  if (m_tj) tjDestroy(m_tj);
}

bool JpegBitmapDecoder::decode(std::span<const std::uint8_t> jpeg,
                               std::vector<std::uint8_t>& bitmap, const RowsDone& rowsDone) {
  m_clean = false;
  m_refused = false;
  if (jpeg.size() < 4) return false;
  if (!m_tj) m_tj = tjInitDecompress();
  if (!m_tj) return false;
  // TurboJPEG's API takes non-const buffers but does not write to the source. Its header check
  // decides what is a picture: a header with a warning, or a sampling it cannot name, is none.
  auto* src = const_cast<unsigned char*>(jpeg.data());
  const auto size = static_cast<unsigned long>(jpeg.size());
  int width = 0, height = 0, subsamp = 0, colorspace = 0;
  if (tjDecompressHeader3(m_tj, src, size, &width, &height, &subsamp, &colorspace) != 0) {
    // A header that breaks off leaves the handle halfway through it, and the next picture's
    // header would be read on from there: start the next one on a fresh handle.
    tjDestroy(m_tj);
    m_tj = nullptr;
    return false;
  }
  if (!plausibleJpegSize(width, height, jpeg.size())) {
    m_refused = true;
    return false;
  }
  JpegOutput output;
  output.order = PixelOrder::Bgr;
  output.allocate = [&](int w, int h, std::ptrdiff_t& pitch) -> std::uint8_t* {
    if (w != width || h != height) return nullptr;
    m_header = BmpHeader::of(width, height);
    const auto row = static_cast<std::ptrdiff_t>(m_header.rowBytes());
    const auto fileSize = static_cast<std::size_t>(m_header.fileBytes());
    if (bitmap.size() != fileSize) bitmap.assign(fileSize, 0);
    m_header.write(bitmap.data());
    std::uint8_t* pixels = bitmap.data() + kBmpHeaderBytes;
    const int pad = row - width * 3;
    for (int y = 0; pad > 0 && y < height; ++y) {
      std::memset(pixels + static_cast<std::size_t>(y) * row + width * 3, 0,
                  static_cast<std::size_t>(pad));
    }
    // The rows lie bottom-up: the top one is the last in the file.
    pitch = -row;
    return pixels + static_cast<std::size_t>(height - 1) * row;
  };
  if (rowsDone) output.rowsDone = [&](int done) { rowsDone(height - done); };
  // A corrupt or cut-off stream is only a warning: libjpeg-turbo fills what is missing, as every
  // other decoder of the program does. Only a fatal error leaves no picture.
  const JpegResult decoded = decodeJpegRows(jpeg, output);
  m_clean = decoded == JpegResult::Clean;
  m_refused = decoded == JpegResult::Refused;
  return decoded == JpegResult::Clean || decoded == JpegResult::Warned;
}

bool JPG_TO_BMP(FileSystem& fs, const std::string& source, const std::string& target,
                Integer /*width*/, Integer /*height*/) {
  try {
    const std::string jpeg = readWholeFile(fs, source);
    JpegBitmapDecoder decoder;
    std::vector<std::uint8_t> bitmap;
    if (decoder.decode(bytesOf(jpeg), bitmap)) {
      auto out = fs.openWrite(target);
      out->writeAt(0, bitmap);
      out->truncate(static_cast<std::int64_t>(bitmap.size()));
      return true;
    }
  } catch (const RuntimeError&) {
  } catch (const std::bad_alloc&) {
  }
  discardFile(fs, target);
  return false;
}

}  // namespace toolkit
