// Runs the frame decoding fuzz target over thousands of damaged JPEGs made from real encoder output
// of every form: flipped bytes, cuts, markers and size fields where they do not belong. Set
// HG_WRITE_FUZZ_CORPUS to a folder to also write the undamaged seeds there for a libFuzzer run.

#include "fuzz/jpeg_frame_fuzz.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "clip/frame.h"
#include "search/core/frame_decoder.h"
#include "tests/support/jpeg_samples.h"
#include "tests/support/temp_dir.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using testing_support::JpegStyle;
using Sampling = JpegStyle::Sampling;

toolkit::RgbImage scene(int w, int h) {
  toolkit::RgbImage img{w, h, Bytes(static_cast<std::size_t>(w) * h * 3)};
  for (std::size_t i = 0; i < img.pixels.size(); ++i) {
    img.pixels[i] = static_cast<std::uint8_t>(i * 7 % 251 + (i / 97) % 3);
  }
  return img;
}

std::vector<Bytes> seeds() {
  std::vector<Bytes> out;
  for (auto [w, h] : {std::pair{16, 16}, {17, 9}, {40, 33}, {64, 48}}) {
    for (Sampling sampling : {Sampling::k420, Sampling::k444, Sampling::Grey}) {
      for (bool progressive : {false, true}) {
        out.push_back(testing_support::encodeJpegAs(scene(w, h), {75, sampling, progressive, 0}));
      }
    }
    out.push_back(testing_support::encodeJpegAs(scene(w, h), {60, Sampling::k420, false, 1}));
  }
  out.push_back(testing_support::manyScansJpeg(64, 64, 30, Sampling::k420));
  return out;
}

// Damage of the kinds a file meets: a flipped byte, a cut, a marker where data was, and the
// frame header's sizes set to extremes.
void damage(Bytes& bytes, std::mt19937& rng) {
  const std::size_t at = rng() % bytes.size();
  switch (rng() % 5) {
    case 0:
      bytes[at] ^= static_cast<std::uint8_t>(1 + rng() % 255);
      break;
    case 1:
      bytes.resize(std::max<std::size_t>(at, 2));
      break;
    case 2: {
      static const std::uint8_t kMarkers[] = {0xDA, 0xC4, 0xDB, 0xDD, 0xD9, 0xD0, 0xC2, 0xFE};
      if (at + 1 < bytes.size()) {
        bytes[at] = 0xFF;
        bytes[at + 1] = kMarkers[rng() % std::size(kMarkers)];
      }
      break;
    }
    case 3: {
      for (std::size_t i = 0; i + 9 < bytes.size(); ++i) {
        if (bytes[i] == 0xFF && (bytes[i + 1] == 0xC0 || bytes[i + 1] == 0xC2)) {
          const std::uint8_t extremes[] = {0x00, 0x01, 0x7F, 0xFF};
          bytes[i + 5 + rng() % 4] = extremes[rng() % 4];
          break;
        }
      }
      break;
    }
    default: {
      // A stretch of the stream once more, as a writer that repeated itself leaves it.
      const std::size_t length = std::min<std::size_t>(1 + rng() % 64, bytes.size() - at);
      const Bytes copy(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                       bytes.begin() + static_cast<std::ptrdiff_t>(at + length));
      bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), copy.begin(), copy.end());
    }
  }
}

TEST(JpegFrameFuzzReplayTest, DamagedFramesEndInAPictureOrARefusal) {
  const std::vector<Bytes> base = seeds();
  if (const char* dir = std::getenv("HG_WRITE_FUZZ_CORPUS")) {
    for (std::size_t i = 0; i < base.size(); ++i) {
      testing_support::writeBytes(std::string(dir) + "/seed" + std::to_string(i), base[i]);
    }
  }
  for (const Bytes& seed : base) fuzzing::decodeFrameBytes(seed.data(), seed.size());
  std::mt19937 rng(2024);
  for (int round = 0; round < 3000; ++round) {
    Bytes bytes = base[rng() % base.size()];
    const int edits = 1 + static_cast<int>(rng() % 3);
    for (int e = 0; e < edits; ++e) damage(bytes, rng);
    fuzzing::decodeFrameBytes(bytes.data(), bytes.size());
  }
}

// A progressive stream of a few hundred kilobytes whose thousands of empty scans each walk the
// whole picture again: the search refuses the frame as it refuses one it cannot decode.
TEST(JpegFrameFuzzReplayTest, ThousandsOfEmptyScansAreRefused) {
  clip::Frame frame;
  frame.jpeg = testing_support::manyScansJpeg(4096, 4096, 30000);
  ASSERT_GT(frame.jpeg.size(), 250'000u);
  search::FrameDecoder().decode(frame, 16);
  EXPECT_EQ(frame.picture, clip::Frame::Picture::Undecodable);
  EXPECT_TRUE(frame.tooCostly);
  EXPECT_TRUE(frame.cellSums.empty());
  fuzzing::decodeFrameBytes(frame.jpeg.data(), frame.jpeg.size());
}

}  // namespace
