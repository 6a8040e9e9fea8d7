#include "toolkit/core/image.h"

#include <gtest/gtest.h>
#include <png.h>

#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

RgbImage gradient(int w, int h) {
  RgbImage img{w, h, std::vector<std::uint8_t>(static_cast<std::size_t>(w * h * 3))};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      auto* p = &img.pixels[static_cast<std::size_t>((y * w + x) * 3)];
      p[0] = static_cast<std::uint8_t>(x * 7);
      p[1] = static_cast<std::uint8_t>(y * 5);
      p[2] = static_cast<std::uint8_t>(x + y);
    }
  return img;
}

TEST(BmpTest, EncodedBitmapHasTheStandardHeaderAndPaddedRows) {
  auto bmp = encodeBmp24(gradient(5, 3));
  ASSERT_EQ(bmp.size(), 54u + 16u * 3u);  // 5 * 3 = 15 bytes, padded to 16
  EXPECT_EQ(bmp[0], 'B');
  EXPECT_EQ(bmp[1], 'M');
  EXPECT_EQ(bmp[10], 54);
  EXPECT_EQ(bmp[18], 5);
  EXPECT_EQ(bmp[22], 3);
  EXPECT_EQ(bmp[28], 24);
  EXPECT_EQ(bmp[46], 0);  // biClrUsed
  // First file row is the bottom picture row (y = 2), first pixel stored blue, green, red.
  EXPECT_EQ(bmp[54], 2);   // x + y
  EXPECT_EQ(bmp[55], 10);  // y * 5
  EXPECT_EQ(bmp[56], 0);   // x * 7
}

TEST(BmpHeaderTest, TheProgramsHeaderIsWrittenAndReadBackByteForByte) {
  // clang-format off
  const std::vector<std::uint8_t> expected = {
      'B', 'M', 102, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,     // bfSize, bfOffBits
      40, 0, 0, 0, 5, 0, 0, 0, 3, 0, 0, 0, 1, 0, 24, 0,    // biSize, size, planes, 24 bits
      0, 0, 0, 0, 48, 0, 0, 0,                             // no compression, biSizeImage
      0xc4, 0x0e, 0, 0, 0xc4, 0x0e, 0, 0,                  // 96 dpi
      0, 0, 0, 0, 0, 0, 0, 0};                             // no palette
  // clang-format on
  const BmpHeader header = BmpHeader::of(5, 3);
  EXPECT_EQ(header.rowBytes(), 16u);
  EXPECT_EQ(header.fileBytes(), 102u);
  std::vector<std::uint8_t> bytes(kBmpHeaderBytes, 0xee);
  header.write(bytes.data());
  EXPECT_EQ(bytes, expected);
  const std::vector<std::uint8_t> bmp = encodeBmp24(gradient(5, 3));
  EXPECT_EQ(std::vector<std::uint8_t>(bmp.begin(), bmp.begin() + 54), expected);

  const std::optional<BmpHeader> back = BmpHeader::read(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->width, 5);
  EXPECT_EQ(back->height, 3);
  EXPECT_EQ(back->bitCount, 24);
  EXPECT_EQ(back->pixelOffset, 54u);
  EXPECT_EQ(back->infoBytes, 40u);
  EXPECT_TRUE(back->holdsRows(102));
  EXPECT_FALSE(back->holdsRows(101));
}

TEST(BmpHeaderTest, ShortOrForeignHeadersAndBitmapsNotOfTheProgramsKindAreRefused) {
  std::vector<std::uint8_t> bytes(kBmpHeaderBytes);
  BmpHeader::of(7, 4).write(bytes.data());
  EXPECT_FALSE(BmpHeader::read(std::span(bytes).first(53)));
  auto foreign = bytes;
  foreign[1] = 'A';
  EXPECT_FALSE(BmpHeader::read(foreign));

  const std::size_t whole = BmpHeader::of(7, 4).fileBytes();
  const auto holds = [&](std::size_t at, std::uint8_t value) {
    auto changed = bytes;
    changed[at] = value;
    return BmpHeader::read(changed)->holdsRows(whole);
  };
  EXPECT_TRUE(holds(0, 'B'));
  EXPECT_FALSE(holds(28, 8));     // 8-bit
  EXPECT_FALSE(holds(18, 0));     // no columns
  EXPECT_FALSE(holds(25, 0xff));  // rows top-down
  // A width of about 2 billion asks for more than the file holds, without overflowing.
  EXPECT_FALSE(holds(21, 0x7f));
}

TEST(BmpTest, DecodeReadsBackWhatWasEncoded) {
  auto img = gradient(7, 4);
  auto bmp = encodeBmp24(img);
  auto back = decodeBmp(bmp);
  ASSERT_TRUE(back);
  EXPECT_EQ(*back, img);
}

TEST(BmpTest, TruncatedOrHostileHeadersAreRefused) {
  auto bmp = encodeBmp24(gradient(7, 4));
  auto cut = bmp;
  cut.resize(bmp.size() - 1);
  EXPECT_FALSE(decodeBmp(cut));
  auto huge = bmp;
  huge[21] = 0x7f;  // width of about 2 billion
  EXPECT_FALSE(decodeBmp(huge));
}

TEST(JpegTest, RoundTripKeepsSizeAndRoughColour) {
  auto img = gradient(64, 48);
  auto jpeg = encodeJpeg(img, 95, ChromaSubsampling::k444);
  ASSERT_FALSE(jpeg.empty());
  auto back = decodeJpeg(jpeg);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->width, 64);
  EXPECT_EQ(back->height, 48);
  EXPECT_NEAR(back->pixels[3 * (10 * 64 + 10)], img.pixels[3 * (10 * 64 + 10)], 6);
}

// A few hundred bytes whose header claims a picture of 60 megapixels: found by the fuzzer, it
// made decoding allocate 178 MB.
TEST(JpegTest, HeaderClaimingFarMorePixelsThanTheFileCanHoldIsRefused) {
  auto jpeg = encodeJpeg(gradient(16, 16), 50);
  ASSERT_TRUE(decodeJpeg(jpeg));
  // The frame header's height and width follow its marker FFC0, length and precision.
  for (std::size_t i = 0; i + 9 < jpeg.size(); ++i) {
    if (jpeg[i] == 0xff && jpeg[i + 1] == 0xc0) {
      jpeg[i + 5] = 0x17;  // height 5,904
      jpeg[i + 6] = 0x10;
      jpeg[i + 7] = 0x27;  // width 10,000
      jpeg[i + 8] = 0x10;
      break;
    }
  }
  EXPECT_FALSE(decodeJpeg(jpeg));
  EXPECT_TRUE(plausibleJpegSize(1920, 1080, 8100));
  EXPECT_FALSE(plausibleJpegSize(1920, 1080, 8000));
}

TEST(ShrinkTest, FitsTheBoxKeepingTheShapeAndNeverEnlarges) {
  EXPECT_EQ(fitWithin(1280, 720, 256, 256), (Size{256, 144}));
  EXPECT_EQ(fitWithin(100, 1000, 128, 128), (Size{13, 128}));
  EXPECT_EQ(fitWithin(10, 10, 256, 256), (Size{10, 10}));
  EXPECT_EQ(fitWithin(5000, 1, 100, 100), (Size{100, 1}));
  EXPECT_EQ(fitWithin(0, 0, 100, 100), (Size{1, 1}));
}

TEST(ShrinkTest, EachPixelIsTheMeanOfThePixelsItCovers) {
  // 4 x 2 to 2 x 1: each pixel covers a 2 x 2 block.
  RgbImage picture{4, 2, {0, 0, 0, 10, 20, 30, 100, 100, 100, 200, 200, 200,
                          1, 1, 1, 11, 21, 31, 100, 100, 100, 201, 201, 201}};
  const RgbImage half = shrinkImage(picture, 2, 1);
  EXPECT_EQ(half.pixels, (std::vector<std::uint8_t>{6, 11, 16, 150, 150, 150}));
  EXPECT_EQ(shrinkImage(picture, 4, 2), picture);
}

// The PNG comes from libpng, which picks its own filters and zlib window: its bytes are not our
// earlier writer's (one unfiltered IDAT), so what is pinned is what a reader gets back.
TEST(PngTest, AReaderGetsBackEveryPixelAndTheSize) {
  const RgbImage picture = gradient(37, 11);
  const std::vector<std::uint8_t> png = encodePng(picture);
  ASSERT_GT(png.size(), 8u);
  EXPECT_EQ(std::vector<std::uint8_t>(png.begin(), png.begin() + 8),
            (std::vector<std::uint8_t>{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}));
  png_image read{};
  read.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_memory(&read, png.data(), png.size())) << read.message;
  EXPECT_EQ(read.width, 37u);
  EXPECT_EQ(read.height, 11u);
  EXPECT_EQ(read.format & PNG_FORMAT_FLAG_ALPHA, 0u);
  read.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> pixels(PNG_IMAGE_SIZE(read));
  ASSERT_TRUE(png_image_finish_read(&read, nullptr, pixels.data(), 0, nullptr)) << read.message;
  EXPECT_EQ(pixels, picture.pixels);
}

TEST(LoadPictureTest, UndecodableFileIsInvalidPictureAndMissingFileIsNotFound) {
  testing_support::TempDir dir;
  PosixFileSystem fs;
  testing_support::writeBytes(dir.file("bad.jpg"), {0xff, 0xd8, 0xff, 0xe0, 1, 2, 3});
  try {
    loadPicture(fs, dir.file("bad.jpg"));
    FAIL();
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), 481);
  }
  try {
    loadPicture(fs, dir.file("none.jpg"));
    FAIL();
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), 53);
  }
  testing_support::writeBytes(dir.file("ok.bmp"), encodeBmp24(gradient(3, 2)));
  EXPECT_EQ(loadPicture(fs, dir.file("ok.bmp")), gradient(3, 2));
}

}  // namespace
}  // namespace toolkit
