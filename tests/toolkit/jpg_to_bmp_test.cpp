#include "toolkit/converters/jpg_to_bmp.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <optional>
#include <random>

#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

using testing_support::readBytes;
using testing_support::TempDir;
using testing_support::writeBytes;
using Bytes = std::vector<std::uint8_t>;

// Writes half of what it is given, then reports a full disk.
class HalfWriter : public WritableFile {
 public:
  explicit HalfWriter(std::unique_ptr<WritableFile> inner) : m_inner(std::move(inner)) {}
  void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) override {
    m_inner->writeAt(offset, data.first(data.size() / 2));
    throw RuntimeError::of(ErrorNumber::DiskFull);
  }
  void truncate(std::int64_t length) override { m_inner->truncate(length); }

 private:
  std::unique_ptr<WritableFile> m_inner;
};

class HalfWritingFileSystem : public PosixFileSystem {
 public:
  std::unique_ptr<WritableFile> openWrite(const std::string& path) override {
    auto file = PosixFileSystem::openWrite(path);
    if (failWrites) return std::make_unique<HalfWriter>(std::move(file));
    return file;
  }
  void remove(const std::string& path) override {
    if (failRemove) throw RuntimeError::of(ErrorNumber::PermissionDenied);
    PosixFileSystem::remove(path);
  }

  bool failWrites = false;
  bool failRemove = false;
};

RgbImage gradient(int w, int h) {
  RgbImage img{w, h, Bytes(static_cast<std::size_t>(w * h * 3))};
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      auto* p = &img.pixels[static_cast<std::size_t>((y * w + x) * 3)];
      p[0] = static_cast<std::uint8_t>(40 + x * 37);
      p[1] = static_cast<std::uint8_t>(200 - y * 45);
      p[2] = static_cast<std::uint8_t>((x * y * 29) & 255);
    }
  }
  return img;
}

class JpgToBmpTest : public ::testing::Test {
 protected:
  // The bitmap a converter must write for `jpeg`: the picture as the program's other decoder
  // sees it, in the toolkit's bitmap layout (whose header bytes the first test pins).
  static Bytes expectedBitmap(const Bytes& jpeg) { return encodeBmp24(*decodeJpeg(jpeg)); }

  TempDir dir;
  HalfWritingFileSystem fs;
  std::string source = dir.file("Temp.jpg");
  std::string target = dir.file("1.bmp");
};

TEST_F(JpgToBmpTest, SmallPictureGivesTheExactBitmap) {
  const Bytes jpeg = encodeJpeg(gradient(5, 3), 90, ChromaSubsampling::k420);
  writeBytes(source, jpeg);
  ASSERT_TRUE(JPG_TO_BMP(fs, source, target, 5, 3));
  const Bytes bmp = readBytes(target);
  ASSERT_EQ(bmp.size(), 102u);  // 54 + 3 rows of 15 bytes padded to 16
  const Bytes header = {'B', 'M', 102,  0,    0, 0, 0,    0,    0, 0, 54, 0, 0, 0, 40, 0, 0,  0,
                        5,   0,   0,    0,    3, 0, 0,    0,    1, 0, 24, 0, 0, 0, 0,  0, 48, 0,
                        0,   0,   0xC4, 0x0E, 0, 0, 0xC4, 0x0E, 0, 0, 0,  0, 0, 0, 0,  0, 0,  0};
  EXPECT_EQ(Bytes(bmp.begin(), bmp.begin() + 54), header);
  EXPECT_EQ(bmp[54 + 15], 0);
  EXPECT_EQ(bmp, expectedBitmap(jpeg));
}

TEST_F(JpgToBmpTest, ReplacesALongerFileAndIgnoresTheSizeArguments) {
  const Bytes jpeg = encodeJpeg(gradient(7, 9), 75, ChromaSubsampling::k444);
  writeBytes(source, jpeg);
  writeBytes(target, Bytes(5000, 0xAB));
  ASSERT_TRUE(JPG_TO_BMP(fs, source, target, 0, -1));
  EXPECT_EQ(readBytes(target), expectedBitmap(jpeg));
}

TEST_F(JpgToBmpTest, OneDecoderServesPicturesOfChangingSizes) {
  JpegBitmapDecoder decoder;
  Bytes bitmap;
  for (auto [w, h] : {std::pair{5, 3}, {64, 48}, {5, 3}, {13, 2}}) {
    SCOPED_TRACE(::testing::Message() << w << "x" << h);
    const Bytes jpeg = encodeJpeg(gradient(w, h));
    ASSERT_TRUE(decoder.decode(jpeg, bitmap));
    EXPECT_EQ(bitmap, expectedBitmap(jpeg));
  }
}

TEST_F(JpgToBmpTest, CutOffJpegStillGivesAWholePicture) {
  Bytes jpeg = encodeJpeg(gradient(64, 48));
  jpeg.resize(jpeg.size() / 2);
  writeBytes(source, jpeg);
  ASSERT_TRUE(JPG_TO_BMP(fs, source, target, 64, 48));
  EXPECT_EQ(readBytes(target).size(), 54u + 64u * 3u * 48u);
}

TEST_F(JpgToBmpTest, FailuresLeaveNoBitmapBehind) {
  struct Case {
    const char* name;
    std::optional<Bytes> jpeg;  // nullopt: no source file
    bool failWrites, failRemove;
    bool targetRemains;  // emptied instead of removed
  };
  const Bytes good = encodeJpeg(gradient(16, 16));
  for (const Case& c : {Case{"garbage source", Bytes(300, 0x5A), false, false, false},
                        Case{"empty source", Bytes{}, false, false, false},
                        Case{"missing source", std::nullopt, false, false, false},
                        Case{"disk full half-way", good, true, false, false},
                        Case{"disk full, cannot remove", good, true, true, true}}) {
    SCOPED_TRACE(c.name);
    std::remove(source.c_str());
    if (c.jpeg) writeBytes(source, *c.jpeg);
    writeBytes(target, encodeBmp24(gradient(16, 16)));  // a stale bitmap of an earlier frame
    fs.failWrites = c.failWrites;
    fs.failRemove = c.failRemove;
    EXPECT_FALSE(JPG_TO_BMP(fs, source, target, 16, 16));
    fs.failWrites = fs.failRemove = false;
    EXPECT_EQ(fs.exists(target), c.targetRemains);
    EXPECT_TRUE(readBytes(target).empty());
  }
}

// What TurboJPEG's tjDecompress2 makes of `jpeg` on a decompressor of its own, in the bitmap's
// layout: nullopt when it gives no picture; `clean` when it gave one without a warning.
std::optional<Bytes> turboJpegBitmap(const Bytes& jpeg, bool& clean) {
  clean = false;
  tjhandle tj = tjInitDecompress();
  int width = 0, height = 0, subsamp = 0, colorspace = 0;
  auto* src = const_cast<unsigned char*>(jpeg.data());
  std::optional<Bytes> bitmap;
  if (jpeg.size() >= 4 &&
      tjDecompressHeader3(tj, src, jpeg.size(), &width, &height, &subsamp, &colorspace) == 0 &&
      plausibleJpegSize(width, height, jpeg.size())) {
    const BmpHeader header = BmpHeader::of(width, height);
    Bytes out(static_cast<std::size_t>(header.fileBytes()), 0);
    header.write(out.data());
    const int result =
        tjDecompress2(tj, src, jpeg.size(), out.data() + kBmpHeaderBytes, width,
                      static_cast<int>(header.rowBytes()), height, TJPF_BGR, TJFLAG_BOTTOMUP);
    if (result == 0 || tjGetErrorCode(tj) != TJERR_FATAL) bitmap = std::move(out);
    clean = result == 0;
  }
  tjDestroy(tj);
  return bitmap;
}

Bytes progressive(const RgbImage& image) {
  tjhandle tj = tjInitCompress();
  unsigned char* out = nullptr;
  unsigned long size = 0;
  tjCompress2(tj, image.pixels.data(), image.width, 0, image.height, TJPF_RGB, &out, &size,
              TJSAMP_420, 80, TJFLAG_PROGRESSIVE);
  Bytes jpeg(out, out + size);
  tjFree(out);
  tjDestroy(tj);
  return jpeg;
}

// The decoder works band by band with libjpeg's own interface, so that the search can sum each
// band while it is in the cache; it must give every pixel, every refusal and every warning as
// TurboJPEG does, on whole, cut-off, damaged and odd pictures alike.
TEST(JpegBitmapDecoderTest, DecodesExactlyAsTurboJpeg) {
  std::mt19937 rng(99);
  std::vector<std::pair<std::string, Bytes>> cases;
  for (auto [w, h] : {std::pair{1, 1}, {7, 9}, {17, 31}, {64, 48}, {161, 121}, {640, 481}}) {
    const std::string size = std::to_string(w) + "x" + std::to_string(h);
    cases.emplace_back(size + " 4:2:0", encodeJpeg(gradient(w, h), 85, ChromaSubsampling::k420));
    cases.emplace_back(size + " 4:4:4", encodeJpeg(gradient(w, h), 60, ChromaSubsampling::k444));
  }
  const Bytes whole = encodeJpeg(gradient(160, 120), 90);
  cases.emplace_back("progressive", progressive(gradient(160, 120)));
  for (std::size_t cut : {whole.size() / 3, whole.size() / 2, whole.size() - 2, std::size_t{200}}) {
    cases.emplace_back("cut at " + std::to_string(cut), Bytes(whole.begin(), whole.begin() + cut));
  }
  Bytes trailing = whole;
  trailing.insert(trailing.end(), 500, 0x55);
  cases.emplace_back("bytes after the end marker", trailing);
  for (int n = 0; n < 40; ++n) {
    Bytes damaged = whole;
    std::uniform_int_distribution<std::size_t> at(600, damaged.size() - 3);
    for (int k = 0; k < 1 + n % 4; ++k) damaged[at(rng)] ^= static_cast<std::uint8_t>(1 << (n % 8));
    cases.emplace_back("damaged " + std::to_string(n), damaged);
  }
  Bytes extraneous = whole;
  extraneous.insert(extraneous.begin() + 2, {0x00, 0x00, 0x00});  // junk before the next marker
  cases.emplace_back("junk in the header", extraneous);
  cases.emplace_back("no JPEG", Bytes(300, 0x5A));

  JpegBitmapDecoder decoder;
  for (const auto& [name, jpeg] : cases) {
    SCOPED_TRACE(name);
    bool wantClean = false;
    const std::optional<Bytes> want = turboJpegBitmap(jpeg, wantClean);
    Bytes bitmap;
    int lastFirstRow = INT32_MAX;
    int calls = 0;
    const bool decoded = decoder.decode(jpeg, bitmap, [&](int firstRow) {
      EXPECT_LT(firstRow, lastFirstRow) << "rows are finished from the top down";
      lastFirstRow = firstRow;
      ++calls;
    });
    ASSERT_EQ(decoded, want.has_value());
    if (!decoded) continue;
    EXPECT_TRUE(bitmap == *want) << "every pixel as TurboJPEG gives it";
    EXPECT_EQ(decoder.clean(), wantClean);
    if (wantClean) {
      EXPECT_EQ(lastFirstRow, 0) << "the last call finishes the bottom row";
    }
    EXPECT_GT(calls, 0);
  }
}

// TurboJPEG leaves a handle halfway through a header that broke off; the picture after it was
// read on from there and came out wrong or not at all.
TEST(JpegBitmapDecoderTest, AHeaderThatBreaksOffDoesNotSpoilTheNextPicture) {
  const Bytes good = encodeJpeg(gradient(64, 48));
  JpegBitmapDecoder decoder;
  Bytes bitmap;
  EXPECT_FALSE(decoder.decode(Bytes(good.begin(), good.begin() + 120), bitmap));
  ASSERT_TRUE(decoder.decode(good, bitmap));
  EXPECT_EQ(bitmap, encodeBmp24(*decodeJpeg(good)));
}

}  // namespace
}  // namespace toolkit
