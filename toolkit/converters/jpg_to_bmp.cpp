#include "toolkit/converters/jpg_to_bmp.h"

#include <turbojpeg.h>
// jpeglib.h needs the C standard types declared first.
#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>

#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {

namespace {

struct ErrorManager {
  jpeg_error_mgr pub;
  std::jmp_buf jump;
};

[[noreturn]] void errorExit(j_common_ptr cinfo) {
  std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->jump, 1);
}
// Messages are counted (num_warnings), never printed.
void outputMessage(j_common_ptr) {}

enum class Decoded { Clean, Warned, Failed };

// libjpeg's decompressor into `pixels` (rows bottom-up, `pitch` bytes apart), one band of
// scanlines at a time so that `rowsDone` hears of each. The pixels are those tjDecompress2 gives.
// A fatal error after a warning still leaves a picture, as TurboJPEG has it; rows not reached
// then keep what they held.
Decoded decodeRows(std::span<const std::uint8_t> jpeg, std::uint8_t* pixels, int height, int pitch,
                   const JpegBitmapDecoder::RowsDone& rowsDone) {
  jpeg_decompress_struct cinfo;
  ErrorManager errors;
  cinfo.err = jpeg_std_error(&errors.pub);
  errors.pub.error_exit = errorExit;
  errors.pub.output_message = outputMessage;
  jpeg_create_decompress(&cinfo);
  JSAMPROW rows[16];
  volatile Decoded result = Decoded::Failed;
  if (setjmp(errors.jump) == 0) {
    jpeg_mem_src(&cinfo, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
    jpeg_read_header(&cinfo, TRUE);
    cinfo.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&cinfo);
    if (static_cast<int>(cinfo.output_height) != height)
      errorExit(reinterpret_cast<j_common_ptr>(&cinfo));
    while (cinfo.output_scanline < cinfo.output_height) {
      const auto top = static_cast<int>(cinfo.output_scanline);
      const int count = std::min(16, height - top);
      for (int i = 0; i < count; ++i) {
        rows[i] = pixels + static_cast<std::size_t>(height - 1 - top - i) * pitch;
      }
      const auto read =
          static_cast<int>(jpeg_read_scanlines(&cinfo, rows, static_cast<JDIMENSION>(count)));
      if (rowsDone && read > 0) rowsDone(height - top - read);
    }
    jpeg_finish_decompress(&cinfo);
    result = errors.pub.num_warnings == 0 ? Decoded::Clean : Decoded::Warned;
  } else {
    result = errors.pub.num_warnings == 0 ? Decoded::Failed : Decoded::Warned;
  }
  jpeg_destroy_decompress(&cinfo);
  return result;
}

}  // namespace

JpegBitmapDecoder::~JpegBitmapDecoder() {
  if (m_tj) tjDestroy(m_tj);
}

bool JpegBitmapDecoder::decode(std::span<const std::uint8_t> jpeg,
                               std::vector<std::uint8_t>& bitmap, const RowsDone& rowsDone) {
  m_clean = false;
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
  if (!plausibleJpegSize(width, height, jpeg.size())) return false;
  const int row = bmpRowBytes(width);
  const std::size_t fileSize = bmpFileBytes(width, height);
  if (bitmap.size() != fileSize) bitmap.assign(fileSize, 0);
  writeBmpHeader(bitmap.data(), width, height);

  std::uint8_t* pixels = bitmap.data() + kBmpHeaderBytes;
  const int pad = row - width * 3;
  if (pad > 0) {
    for (int y = 0; y < height; ++y) {
      std::memset(pixels + static_cast<std::size_t>(y) * row + width * 3, 0,
                  static_cast<std::size_t>(pad));
    }
  }
  // A corrupt or cut-off stream is only a warning: libjpeg-turbo fills what is missing, as every
  // other decoder of the program does. Only a fatal error leaves no picture.
  const Decoded decoded = decodeRows(jpeg, pixels, height, row, rowsDone);
  m_clean = decoded == Decoded::Clean;
  return decoded != Decoded::Failed;
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
