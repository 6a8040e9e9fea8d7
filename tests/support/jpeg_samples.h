#pragma once

// JPEGs as encoders really write them, in every form a camera or a program may hand us, and the
// hostile stream that costs a decoder far more than its size: for the decoders' tests and the
// fuzz target's seeds.

#include <cstdint>
#include <vector>

#include "toolkit/core/image.h"

namespace testing_support {

struct JpegStyle {
  enum class Sampling { k420, k444, Grey };
  int quality = 85;
  Sampling sampling = Sampling::k420;
  bool progressive = false;  // libjpeg's standard progression: 10 scans, 6 in grey
  int restartRows = 0;       // a restart marker after every so many rows of MCUs; 0: none
};

// `image` encoded by libjpeg with `style`.
std::vector<std::uint8_t> encodeJpegAs(const toolkit::RgbImage& image, const JpegStyle& style);

// A flat grey picture of `width` x `height` at quality 5, 4:2:0: the most pixels a real encoder
// puts in a byte, about 400.
toolkit::RgbImage flatPicture(int width, int height);

// A progressive JPEG whose header claims `width` x `height` and which holds `scans` scans, all but
// the first few empty repeats of the scan of its last component: each costs ten bytes and makes a
// decoder walk every block of that component once more.
std::vector<std::uint8_t> manyScansJpeg(int width, int height, int scans,
                                        JpegStyle::Sampling sampling = JpegStyle::Sampling::Grey);

}  // namespace testing_support
