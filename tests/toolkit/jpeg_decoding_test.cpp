#include "toolkit/core/jpeg_decoding.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <optional>
#include <random>
#include <string>

#include "tests/support/jpeg_samples.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/image.h"

namespace toolkit {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing_support::encodeJpegAs;
using testing_support::JpegStyle;
using testing_support::manyScansJpeg;
using Sampling = testing_support::JpegStyle::Sampling;

RgbImage scene(int w, int h) {
  RgbImage img{w, h, Bytes(static_cast<std::size_t>(w) * h * 3)};
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      auto* p = &img.pixels[(static_cast<std::size_t>(y) * w + x) * 3];
      p[0] = static_cast<std::uint8_t>(x * 5 + y);
      p[1] = static_cast<std::uint8_t>((x - 60) * (y - 40) / 7);
      p[2] = static_cast<std::uint8_t>(x * y % 251);
    }
  }
  return img;
}

// What tjDecompress2 makes of `jpeg` in `format`, top row first: nullopt when it gives no
// picture; `clean` when it gave one without a warning.
std::optional<Bytes> turboJpeg(const Bytes& jpeg, int format, bool& clean) {
  clean = false;
  tjhandle tj = tjInitDecompress();
  int width = 0, height = 0, subsamp = 0, colorspace = 0;
  auto* src = const_cast<unsigned char*>(jpeg.data());
  std::optional<Bytes> pixels;
  if (tjDecompressHeader3(tj, src, jpeg.size(), &width, &height, &subsamp, &colorspace) == 0 &&
      plausibleJpegSize(width, height, jpeg.size())) {
    Bytes out(static_cast<std::size_t>(width) * height * tjPixelSize[format], 0);
    const int result = tjDecompress2(tj, src, jpeg.size(), out.data(), width, 0, height, format, 0);
    if (result == 0 || tjGetErrorCode(tj) != TJERR_FATAL) pixels = std::move(out);
    clean = result == 0;
  }
  tjDestroy(tj);
  return pixels;
}

// Every form an encoder writes, whole, cut off and damaged.
std::vector<std::pair<std::string, Bytes>> encoderPictures() {
  std::vector<std::pair<std::string, Bytes>> cases;
  struct Form {
    const char* name;
    JpegStyle style;
  };
  const Form forms[] = {
      {"baseline 4:2:0", {85, Sampling::k420, false, 0}},
      {"baseline 4:4:4", {70, Sampling::k444, false, 0}},
      {"baseline grey", {90, Sampling::Grey, false, 0}},
      {"progressive 4:2:0", {85, Sampling::k420, true, 0}},
      {"progressive 4:4:4", {60, Sampling::k444, true, 0}},
      {"progressive grey", {75, Sampling::Grey, true, 0}},
      {"restart markers", {80, Sampling::k420, false, 2}},
      {"progressive with restarts", {80, Sampling::k420, true, 1}},
  };
  std::mt19937 rng(7);
  for (const Form& form : forms) {
    for (auto [w, h] : {std::pair{1, 1}, {17, 31}, {161, 121}}) {
      const std::string name =
          std::string(form.name) + " " + std::to_string(w) + "x" + std::to_string(h);
      const Bytes whole = encodeJpegAs(scene(w, h), form.style);
      cases.emplace_back(name, whole);
      if (w < 100) continue;
      cases.emplace_back(name + " cut", Bytes(whole.begin(), whole.begin() + whole.size() * 2 / 3));
      for (int n = 0; n < 6; ++n) {
        Bytes damaged = whole;
        std::uniform_int_distribution<std::size_t> at(whole.size() / 3, whole.size() - 3);
        damaged[at(rng)] ^= static_cast<std::uint8_t>(1 << n);
        cases.emplace_back(name + " damaged " + std::to_string(n), damaged);
      }
    }
  }
  return cases;
}

// The limits are far above what real pictures need: every one decodes, pixel for pixel and
// warning for warning, as TurboJPEG decodes it.
TEST(JpegDecodingTest, EncoderPicturesDecodeAsTurboJpegDecodesThem) {
  JpegBitmapDecoder converter;
  for (const auto& [name, jpeg] : encoderPictures()) {
    SCOPED_TRACE(name);
    bool clean = false;
    const std::optional<Bytes> want = turboJpeg(jpeg, TJPF_RGB, clean);
    JpegFailure failure = JpegFailure::TooCostly;
    const std::optional<RgbImage> got = decodeJpeg(jpeg, &failure);
    ASSERT_EQ(got.has_value(), want.has_value());
    Bytes bitmap;
    EXPECT_EQ(converter.decode(jpeg, bitmap), want.has_value());
    EXPECT_FALSE(converter.refused());
    if (!want) {
      EXPECT_EQ(failure, JpegFailure::Undecodable);
      continue;
    }
    EXPECT_TRUE(got->pixels == *want);
    EXPECT_EQ(converter.clean(), clean);
    EXPECT_EQ(bitmap, encodeBmp24(*got));
  }
}

// A 200 KB stream of twenty thousand empty scans over a picture of 2^25 pixels made every decoder
// of the program walk 500,000 blocks per scan: half a minute for a thumbnail.
TEST(JpegDecodingTest, ThousandsOfEmptyScansAreRefused) {
  const Bytes jpeg = manyScansJpeg(5792, 5792, 20000);
  ASSERT_GT(jpeg.size(), 150'000u);
  ASSERT_TRUE(plausibleJpegSize(5792, 5792, jpeg.size()));
  JpegFailure failure = JpegFailure::Undecodable;
  EXPECT_FALSE(decodeJpeg(jpeg, &failure));
  EXPECT_EQ(failure, JpegFailure::TooCostly);
  EXPECT_FALSE(decodeJpegScaled(jpeg, 1, &failure));
  EXPECT_EQ(failure, JpegFailure::TooCostly);
  JpegBitmapDecoder converter;
  Bytes bitmap;
  EXPECT_FALSE(converter.decode(jpeg, bitmap));
  EXPECT_TRUE(converter.refused());
  EXPECT_TRUE(bitmap.empty()) << "a refused picture is never allocated";
}

// Each limit on its own, just past what it admits.
TEST(JpegDecodingTest, EachLimitRefusesJustPastWhatItAdmits) {
  const auto result = [](const Bytes& jpeg) {
    JpegOutput output;
    Bytes pixels;
    output.allocate = [&](int w, int h, std::ptrdiff_t& pitch) {
      pitch = w * 3;
      pixels.resize(static_cast<std::size_t>(w) * h * 3);
      return pixels.data();
    };
    return decodeJpegRows(jpeg, output);
  };
  // A chroma scan of a 4:2:0 picture reads a sixth of its blocks: the scans run out first.
  EXPECT_EQ(result(manyScansJpeg(64, 64, kMaxJpegScans, Sampling::k420)), JpegResult::Warned);
  EXPECT_EQ(result(manyScansJpeg(64, 64, kMaxJpegScans + 1, Sampling::k420)), JpegResult::Refused);
  // A grey scan reads every block.
  EXPECT_EQ(result(manyScansJpeg(64, 64, kMaxJpegBlockPasses, Sampling::Grey)), JpegResult::Warned);
  EXPECT_EQ(result(manyScansJpeg(64, 64, kMaxJpegBlockPasses + 1, Sampling::Grey)),
            JpegResult::Refused);
  // The coefficients of 8 million pixels at 4:4:4 fit, those of 24 million do not.
  for (auto [side, want] : {std::pair{2880, JpegResult::Warned}, {4900, JpegResult::Refused}}) {
    Bytes jpeg = manyScansJpeg(side, side, 10, Sampling::k444);
    // Comments, so that the file may hold that many pixels.
    const std::size_t room = static_cast<std::size_t>(side) * side / kMaxPixelsPerJpegByte;
    for (std::size_t added = 0; added < room; added += 60'000) {
      Bytes comment = {0xFF, 0xFE, 0xEA, 0x62};
      comment.resize(60'002, 0x20);
      jpeg.insert(jpeg.begin() + 2, comment.begin(), comment.end());
    }
    SCOPED_TRACE(side);
    EXPECT_EQ(result(jpeg), want);
  }
}

TEST(JpegDecodingTest, TheLargestPictureIsACamerasLargest) {
  const std::size_t ample = 1 << 20;
  EXPECT_TRUE(plausibleJpegSize(7680, 4320, ample));  // 8K UHD
  EXPECT_TRUE(plausibleJpegSize(8192, 4096, ample));
  EXPECT_FALSE(plausibleJpegSize(8192, 4097, ample));
  EXPECT_FALSE(plausibleJpegSize(65535, 65535, std::size_t{1} << 40));
}

TEST(JpegDecodingTest, CostComesFromTheHeaderAlone) {
  const RgbImage picture = scene(640, 480);
  const Bytes baseline = encodeJpegAs(picture, {});
  ASSERT_TRUE(jpegCost(baseline));
  EXPECT_EQ(jpegCost(baseline)->width, 640);
  EXPECT_EQ(jpegCost(baseline)->height, 480);
  EXPECT_EQ(jpegCost(baseline)->workBytes, 0);
  // 80 x 60 blocks of luma and two chroma planes of 40 x 30, 128 bytes a block.
  const Bytes progressive = encodeJpegAs(picture, {85, Sampling::k420, true, 0});
  EXPECT_EQ(jpegCost(progressive)->workBytes, 921'600);
  EXPECT_FALSE(jpegCost(Bytes(300, 0x5A)));
}

TEST(JpegDecodingTest, AScaledPictureCoversWhatItWasAskedToCover) {
  EXPECT_EQ(coveringEighths(7680, 4320, 256, 144), 1);
  EXPECT_EQ(coveringEighths(7680, 4320, 4096, 2304), 5);
  EXPECT_EQ(coveringEighths(7680, 4320, 7680, 4320), 8);
  EXPECT_EQ(coveringEighths(97, 97, 13, 13), 1);  // libjpeg rounds 97 / 8 up to 13
  EXPECT_EQ(coveringEighths(96, 96, 13, 13), 2);
  const Bytes jpeg = encodeJpegAs(scene(161, 121), {});
  const std::optional<RgbImage> half = decodeJpegScaled(jpeg, 4);
  ASSERT_TRUE(half);
  EXPECT_EQ(half->width, 81);
  EXPECT_EQ(half->height, 61);
  EXPECT_EQ(decodeJpegScaled(jpeg, 8), decodeJpeg(jpeg));
}

}  // namespace
}  // namespace toolkit
