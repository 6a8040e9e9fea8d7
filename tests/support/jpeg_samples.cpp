#include "tests/support/jpeg_samples.h"

// jpeglib.h needs the C standard types declared first.
#include <jpeglib.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace testing_support {
namespace {

[[noreturn]] void throwError(j_common_ptr cinfo) {
  char text[JMSG_LENGTH_MAX];
  (*cinfo->err->format_message)(cinfo, text);
  throw std::runtime_error(text);
}

}  // namespace

std::vector<std::uint8_t> encodeJpegAs(const toolkit::RgbImage& image, const JpegStyle& style) {
  jpeg_compress_struct cinfo;
  jpeg_error_mgr errors;
  cinfo.err = jpeg_std_error(&errors);
  errors.error_exit = throwError;
  jpeg_create_compress(&cinfo);
  unsigned char* out = nullptr;
  unsigned long size = 0;
  std::vector<std::uint8_t> jpeg;
  try {
    jpeg_mem_dest(&cinfo, &out, &size);
    cinfo.image_width = static_cast<JDIMENSION>(image.width);
    cinfo.image_height = static_cast<JDIMENSION>(image.height);
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_RGB;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, style.quality, TRUE);
    if (style.sampling == JpegStyle::Sampling::Grey) {
      jpeg_set_colorspace(&cinfo, JCS_GRAYSCALE);
    } else if (style.sampling == JpegStyle::Sampling::k444) {
      cinfo.comp_info[0].h_samp_factor = cinfo.comp_info[0].v_samp_factor = 1;
    }
    if (style.progressive) jpeg_simple_progression(&cinfo);
    cinfo.restart_in_rows = style.restartRows;
    jpeg_start_compress(&cinfo, TRUE);
    const std::size_t pitch = static_cast<std::size_t>(image.width) * 3;
    while (cinfo.next_scanline < cinfo.image_height) {
      auto* row = const_cast<JSAMPROW>(image.pixels.data() + cinfo.next_scanline * pitch);
      jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg.assign(out, out + size);
  } catch (...) {
    jpeg_destroy_compress(&cinfo);
    std::free(out);
    throw;
  }
  jpeg_destroy_compress(&cinfo);
  std::free(out);
  return jpeg;
}

toolkit::RgbImage flatPicture(int width, int height) {
  return {width, height,
          std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 3, 128)};
}

std::vector<std::uint8_t> manyScansJpeg(int width, int height, int scans,
                                        JpegStyle::Sampling sampling) {
  JpegStyle style;
  style.sampling = sampling;
  style.progressive = true;
  std::vector<std::uint8_t> jpeg = encodeJpegAs(flatPicture(16, 16), style);
  std::vector<std::uint8_t> lastScan;
  std::uint8_t chosen = 0;
  int written = 0;
  // Marker segments from the start of image on; a scan's data runs to the next marker that is
  // neither a stuffed byte nor a restart.
  std::size_t i = 2;
  while (i + 4 <= jpeg.size() && jpeg[i] == 0xFF && jpeg[i + 1] != 0xD9) {
    const std::size_t length = std::size_t{jpeg[i + 2]} << 8 | jpeg[i + 3];
    if (jpeg[i + 1] == 0xC2) {  // the frame header: precision, then height and width
      jpeg[i + 5] = static_cast<std::uint8_t>(height >> 8);
      jpeg[i + 6] = static_cast<std::uint8_t>(height);
      jpeg[i + 7] = static_cast<std::uint8_t>(width >> 8);
      jpeg[i + 8] = static_cast<std::uint8_t>(width);
    }
    const std::size_t next = i + 2 + length;
    if (jpeg[i + 1] != 0xDA) {
      i = next;
      continue;
    }
    // The scan of one component with the fewest blocks: the last component's.
    if (jpeg[i + 4] == 1 && jpeg[i + 5] >= chosen) {
      chosen = jpeg[i + 5];
      lastScan.assign(jpeg.begin() + static_cast<std::ptrdiff_t>(i),
                      jpeg.begin() + static_cast<std::ptrdiff_t>(next));
    }
    ++written;
    for (i = next; i + 1 < jpeg.size(); ++i) {
      const std::uint8_t b = jpeg[i + 1];
      if (jpeg[i] == 0xFF && b != 0x00 && (b < 0xD0 || b > 0xD7)) break;
    }
  }
  // That scan's header again and again, with no data: before the end marker.
  std::vector<std::uint8_t> extra;
  for (int k = written; k < scans; ++k) extra.insert(extra.end(), lastScan.begin(), lastScan.end());
  jpeg.insert(jpeg.begin() + static_cast<std::ptrdiff_t>(i), extra.begin(), extra.end());
  return jpeg;
}

}  // namespace testing_support
