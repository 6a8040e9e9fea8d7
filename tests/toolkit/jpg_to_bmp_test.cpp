#include "toolkit/converters/jpg_to_bmp.h"

#include <gtest/gtest.h>

#include "search/core/analyse_bmp.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/runtime_error.h"
#include "toolkit/writers/synthetic_scene.h"

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

class FaultyFileSystem : public PosixFileSystem {
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
  FaultyFileSystem fs;
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

TEST_F(JpgToBmpTest, OneConverterServesPicturesOfChangingSizes) {
  JpgToBmpConverter converter(fs);
  for (auto [w, h] : {std::pair{5, 3}, {64, 48}, {5, 3}, {13, 2}}) {
    SCOPED_TRACE(::testing::Message() << w << "x" << h);
    const Bytes jpeg = encodeJpeg(gradient(w, h));
    writeBytes(source, jpeg);
    ASSERT_TRUE(converter.convert(source, target, 0, 0));
    EXPECT_EQ(readBytes(target), expectedBitmap(jpeg));
    EXPECT_EQ(Bytes(converter.bitmap().begin(), converter.bitmap().end()), readBytes(target));
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
    JpgToBmpConverter converter(fs);
    EXPECT_FALSE(converter.convert(source, target, 16, 16));
    EXPECT_EQ(converter.bitmap().empty(), !c.failWrites);  // decoded all the same
    fs.failWrites = fs.failRemove = false;
    EXPECT_EQ(fs.exists(target), c.targetRemains);
    EXPECT_TRUE(readBytes(target).empty());
  }
}

class ComparisonOfJpegsTest : public JpgToBmpTest {
 protected:
  RecordingMessageSink sink;
  Platform platform{fs, sink, dir.path()};
};

TEST_F(ComparisonOfJpegsTest, UndecodableFrameGivesItIsNotBmpOncePerFrame) {
  search::AnalyseBMP module(platform);
  writeBytes(source, encodeJpeg(gradient(64, 80)));
  module.StoreInA = kTrue;
  module.AnalyseFrame(source, 16, {});
  const auto means = module.CellMeansA;

  writeBytes(source, Bytes(2000, 0x11));
  module.StoreInA = kFalse;
  module.StoreInB = kTrue;
  EXPECT_EQ(module.AnalyseFrame(source, 16, {}), 0);
  EXPECT_EQ(module.AnalyseFrame(source, 16, {}), 0);
  const auto box = MessageBoxRequest::critical("It is not BMP file. ", "Warning");
  EXPECT_EQ(sink.boxes(), (std::vector<MessageBoxRequest>{box, box}));
  EXPECT_EQ(module.CellMeansA, means);
  EXPECT_TRUE(module.CellMeansB.empty());
}

TEST_F(ComparisonOfJpegsTest, FrameWhoseBitmapCannotBeWrittenIsNotStored) {
  search::AnalyseBMP module(platform);
  writeBytes(source, encodeJpeg(gradient(64, 80)));
  module.StoreInA = kTrue;
  module.AnalyseFrame(source, 16, {});
  const auto means = module.CellMeansA;
  const auto luma = module.LumaPixels;

  writeBytes(source, encodeJpeg(gradient(80, 64)));
  fs.failWrites = true;
  EXPECT_EQ(module.AnalyseFrame(source, 16, {}), 0);
  fs.failWrites = false;
  EXPECT_EQ(sink.boxes(), (std::vector<MessageBoxRequest>{
                              MessageBoxRequest::critical("It is not BMP file. ", "Warning")}));
  EXPECT_EQ(module.CellMeansA, means);
  EXPECT_EQ(module.LumaPixels, luma);
  EXPECT_EQ(module.PixelCount, 64 * 80);
  EXPECT_FALSE(fs.exists(target));
}

TEST_F(ComparisonOfJpegsTest, KeptBitmapGivesWhatReadingTheFileGives) {
  search::AnalyseBMP kept(platform);
  search::AnalyseBMP reread(platform);
  reread.setConverter([this](const std::string& s, const std::string& t, Integer w, Integer h) {
    JPG_TO_BMP(fs, s, t, w, h);
  });
  const SyntheticScene scene({160, 128, 7, 1, 3, 2});
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    writeBytes(source, encodeJpeg(scene.frame(i)));
    const bool intoA = i % 2 == 0;
    const search::FrameInputs inputs{160, 128, toBoolean(i == 0 || !intoA), toBoolean(intoA)};
    for (search::AnalyseBMP* m : {&kept, &reread}) {
      m->StoreInA = toBoolean(intoA);
      m->StoreInB = toBoolean(!intoA);
      m->AnalyseFrame(source, 16, inputs);
    }
    EXPECT_EQ(kept.LumaPixels, reread.LumaPixels);
    EXPECT_EQ(kept.CellMeansA, reread.CellMeansA);
    EXPECT_EQ(kept.CellMeansB, reread.CellMeansB);
    EXPECT_EQ(kept.ChangedCells, reread.ChangedCells);
    EXPECT_EQ(kept.ChangeThreshold, reread.ChangeThreshold);
  }
  EXPECT_GT(kept.CellMeansB.size(), 0u);
  EXPECT_TRUE(sink.boxes().empty());
}

}  // namespace
}  // namespace toolkit
