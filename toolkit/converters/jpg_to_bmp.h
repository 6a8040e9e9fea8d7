#pragma once

// JPG_TO_BMP: a JPEG file to an uncompressed 24-bit bitmap file, the one format the frame
// comparison reads (search/core/analyse_bmp.h describes the fields it looks at).
//
// The bitmap left at the target is the 54-byte header (bfOffBits 54, biSize 40, biPlanes 1,
// biBitCount 24, biCompression 0, biSizeImage = pixel bytes, 3780 pixels per metre, biClrUsed 0)
// followed by the rows bottom-up, blue, green, red, each row padded with zeros to 4 bytes. The
// picture is decoded with libjpeg-turbo's defaults (accurate integer DCT, smooth upsampling), so
// its pixels are those every other decoder of the program sees.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "toolkit/core/vb_types.h"

namespace toolkit {

class FileSystem;

// JPEG bytes to the bitmap file the converter writes, in memory. Keeps its decoder from one call
// to the next; a buffer that already has the bitmap's size is reused without being cleared.
class JpegBitmapDecoder {
 public:
  JpegBitmapDecoder() = default;
  ~JpegBitmapDecoder();
  JpegBitmapDecoder(const JpegBitmapDecoder&) = delete;
  JpegBitmapDecoder& operator=(const JpegBitmapDecoder&) = delete;

  // The bitmap file of `jpeg`, header included, into `bitmap`; false when there is no picture.
  bool decode(std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap);
  // Whether the last decode() read a whole stream up to its end marker with no warning. Bytes
  // after that marker are never read, so the same bytes followed by any others give the same
  // bitmap.
  bool clean() const { return m_clean; }

 private:
  void* m_tj = nullptr;
  bool m_clean = false;
};

// Keeps the decoder and the bitmap buffer from one call to the next, so that converting every
// frame of a search allocates nothing once the frame size is known.
class JpgToBmpConverter {
 public:
  explicit JpgToBmpConverter(FileSystem& fs);
  ~JpgToBmpConverter();
  JpgToBmpConverter(const JpgToBmpConverter&) = delete;
  JpgToBmpConverter& operator=(const JpgToBmpConverter&) = delete;

  // Writes the bitmap of `source` to `target`, replacing whatever was there, and returns true.
  // When the source cannot be read or decoded, or the target cannot be written, returns false
  // and removes the target (or, failing that, empties it), so that no stale or half-written
  // bitmap is taken for this frame. Never throws. `width` and `height` are not used: the bitmap
  // has the picture's own size.
  bool convert(const std::string& source, const std::string& target, Integer width, Integer height);

  // The two halves of convert(), for a caller that reads the bitmap while it is being written.
  // decode() reads and decodes `source` into bitmap() and writes nothing; write() puts bitmap()
  // at `target` and, failing that, leaves no bitmap there. While write() runs, bitmap() may be
  // read from another thread.
  bool decode(const std::string& source);
  bool write(const std::string& target);
  // What a failed conversion leaves: no file at `target`, or an empty one.
  void discardTarget(const std::string& target);

  // The bitmap file of the last decode(), header included; empty if it failed. Valid until the
  // next call of decode() or convert().
  std::span<const std::uint8_t> bitmap() const;
  // The bitmap of the last decode() if it was of exactly these JPEG bytes; else empty.
  std::span<const std::uint8_t> bitmapOf(std::span<const std::uint8_t> jpeg) const;

  // Bitmaps decoded ahead: given the bytes decode() just read, swaps their bitmap (as
  // JpegBitmapDecoder makes it) with the vector, which then holds a buffer the source may reuse,
  // and returns true; or returns false and decode() decodes the bytes itself.
  using AheadSource =
      std::function<bool(std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap)>;
  void setAheadSource(AheadSource source) { m_ahead = std::move(source); }

 private:
  FileSystem& m_fs;
  JpegBitmapDecoder m_decoder;
  std::vector<std::uint8_t> m_jpeg;
  // The bytes m_bmp was decoded from: the same bytes again (a search that starts from the frame
  // the last one found) are not decoded twice.
  std::vector<std::uint8_t> m_bmpSource;
  bool m_bmpValid = false;
  std::vector<std::uint8_t> m_bmp;
  bool m_decoded = false;
  AheadSource m_ahead;
};

// The library's one function: one conversion with a converter of its own. The result tells
// whether a bitmap was written; the program does not read it.
bool JPG_TO_BMP(FileSystem& fs, const std::string& source, const std::string& target, Integer width,
                Integer height);

}  // namespace toolkit
