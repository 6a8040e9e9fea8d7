#pragma once

// libjpeg's decompressor with a bound on what one picture may cost. The pixels are those
// TurboJPEG's tjDecompress2 gives (accurate integer DCT, smooth upsampling); what it adds is that
// a stream whose decoding would cost far more than a camera's or an encoder's picture of its size
// is refused, whatever its header claims. A progressive stream is read whole into the picture's
// coefficients before any row comes out, and every scan walks all the blocks of its components:
// a few hundred kilobytes of empty scans would otherwise cost minutes.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "toolkit/core/image.h"

namespace toolkit {

// A baseline picture has one scan that reads each block once; a progressive one from a camera or
// an encoder has about ten, which read each block five or six times in all.
inline constexpr int kMaxJpegScans = 64;
// Blocks read by all the scans together, in whole pictures.
inline constexpr int kMaxJpegBlockPasses = 24;
// libjpeg's own memory for one picture. Almost all of it is the whole picture's coefficients,
// which a stream of several scans needs: 3 bytes a pixel at 4:2:0, so this admits such a
// picture of the largest allowed size; 6 bytes a pixel at 4:4:4.
inline constexpr std::int64_t kMaxJpegWorkBytes = std::int64_t{128} << 20;

enum class JpegResult {
  Clean,    // the stream was read to its end marker without a warning
  Warned,   // a picture, with what was damaged or missing filled in as libjpeg-turbo fills it
  Failed,   // no picture
  Refused,  // no picture: a limit above was reached
};

// What a stream's header says its decoding costs, read before any of it is decoded.
struct JpegCost {
  int width = 0;
  int height = 0;
  // libjpeg's memory for the whole picture's coefficients, when the stream has several scans.
  std::int64_t workBytes = 0;
};
// nullopt when there is no header libjpeg can read.
std::optional<JpegCost> jpegCost(std::span<const std::uint8_t> jpeg);

// Where the decoded rows go.
struct JpegOutput {
  PixelOrder order = PixelOrder::Rgb;
  // The picture at eighths/8 of its size (libjpeg's DCT scaling), 1 to 8.
  int eighths = 8;
  // Told the size of the output before any decoding: returns where its top row goes and sets
  // `pitch`, the bytes from one row to the next (negative when the rows lie bottom-up); nullptr
  // gives up.
  std::function<std::uint8_t*(int width, int height, std::ptrdiff_t& pitch)> allocate;
  // Told that rows [0, done), counted from the top, are final. May be empty.
  std::function<void(int done)> rowsDone;
};

// Decodes `jpeg` on a decompressor of its own. A fatal error after a warning still leaves a
// picture (Warned), as TurboJPEG has it; rows not reached then keep what they held.
JpegResult decodeJpegRows(std::span<const std::uint8_t> jpeg, const JpegOutput& output);

}  // namespace toolkit
