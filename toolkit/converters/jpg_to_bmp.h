#pragma once

// JPG_TO_BMP: a JPEG to the uncompressed 24-bit bitmap the frame comparison reads
// (search/core/analyse_bmp.h describes the fields it looks at).
//
// The bitmap is the program's 54-byte toolkit::BmpHeader followed by the rows bottom-up,
// blue, green, red, each row padded with zeros to 4 bytes. The picture is decoded with
// libjpeg-turbo's defaults (accurate integer DCT, smooth upsampling) under the limits of
// toolkit/core/jpeg_decoding.h, so its pixels are those every other decoder of the program sees.
// Each picture is decoded on a decompressor of its own: a frame that leaves out its tables gets the
// standard ones, never those of an earlier frame.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "toolkit/core/bmp_header.h"
#include "toolkit/core/vb_types.h"

namespace toolkit {

class FileSystem;

// JPEG bytes to the bitmap file, in memory. Keeps its decoder from one call to the next; a buffer
// that already has the bitmap's size is reused without being cleared.
class JpegBitmapDecoder {
 public:
  JpegBitmapDecoder() = default;
  ~JpegBitmapDecoder();
  JpegBitmapDecoder(const JpegBitmapDecoder&) = delete;
  JpegBitmapDecoder& operator=(const JpegBitmapDecoder&) = delete;

  // Told while decoding that the bitmap's rows [firstRow, height) are final, rows counted from
  // the bottom as they lie in the file. The picture is decoded from the top down, so firstRow
  // falls from call to call.
  using RowsDone = std::function<void(int firstRow)>;

  // The bitmap file of `jpeg`, header included, into `bitmap`; false when there is no picture.
  // What counts as a picture, and every pixel, are as TurboJPEG's tjDecompress2 gives them.
  bool decode(std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap,
              const RowsDone& rowsDone = {});
  // Whether the last decode() read a whole stream up to its end marker with no warning. Bytes
  // after that marker are never read, so the same bytes followed by any others give the same
  // bitmap.
  bool clean() const { return m_clean; }
  // Whether the last decode() gave no picture because decoding it would cost far more than any
  // real picture does: too many pixels for its size, too many scans, too much work or memory
  // (toolkit/core/jpeg_decoding.h).
  bool refused() const { return m_refused; }
  // The header of the last decode()'s bitmap, while that gave one.
  const BmpHeader& header() const { return m_header; }

 private:
  void* m_tj = nullptr;
  BmpHeader m_header;
  bool m_clean = false;
  bool m_refused = false;
};

// The library's one function: writes the bitmap of the JPEG file `source` to `target`, replacing
// whatever was there, and returns true. When the source cannot be read or decoded, or the target
// cannot be written, returns false and removes the target (or, failing that, empties it), so that
// no stale or half-written bitmap stands for the picture. Never throws. `width` and `height` are
// not used: the bitmap has the picture's own size.
bool JPG_TO_BMP(FileSystem& fs, const std::string& source, const std::string& target, Integer width,
                Integer height);

}  // namespace toolkit
