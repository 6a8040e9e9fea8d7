// Extraction of one frame to the scratch file "Temp.jpg".

#include "tests/clip/clip_fixture.h"
#include "toolkit/core/runtime_error.h"

namespace clip {
namespace {

using testing_support::readBytes;

class ExtractionTest : public ClipFixture {
 protected:
  int errorOf(const std::string& path, int frame) {
    try {
      reader.ExtractCurrentJpg(path, frame);
    } catch (const toolkit::RuntimeError& e) {
      return e.number();
    }
    return 0;
  }
  std::string scratch() const { return dir.file("Temp.jpg"); }
};

TEST_F(ExtractionTest, FrameZeroLandsInTheScratchFileByteForByte) {
  auto f = frames({300, 200});
  auto path = writeClip(layout(), f);
  ASSERT_EQ(open(path), 2);
  EXPECT_EQ(reader.ExtractCurrentJpg(path, 0), scratch());
  EXPECT_EQ(readBytes(scratch()), f[0].data);
  EXPECT_EQ(reader.ExtractedFrame.value(), 0);
  EXPECT_EQ(reader.ExtractedPosition.value(), 4109);
  EXPECT_EQ(reader.ExtractedSize.value(), 300);
}

TEST_F(ExtractionTest, SmallFrameAfterALargeOneKeepsTheLargeOnesTail) {
  auto f = frames({300, 200, 120});
  auto path = writeClip(layout(), f);
  ASSERT_EQ(open(path), 3);
  reader.ExtractCurrentJpg(path, 0);
  reader.ExtractCurrentJpg(path, 2);  // the last frame, whole
  auto bytes = readBytes(scratch());
  ASSERT_EQ(bytes.size(), 300u);
  EXPECT_TRUE(std::equal(f[2].data.begin(), f[2].data.end(), bytes.begin()));
  EXPECT_TRUE(std::equal(f[0].data.begin() + 120, f[0].data.end(), bytes.begin() + 120));
}

TEST_F(ExtractionTest, SecondClipUsesTheSameScratchFile) {
  auto a = frames({50});
  ASSERT_EQ(open(writeClip(layout(), a, "a.hgv")), 1);
  reader.ExtractCurrentJpg(dir.file("a.hgv"), 0);
  auto b = frames({80});
  b[0].data[0] = 0x55;
  ASSERT_EQ(open(writeClip(layout(), b, "b.hgv")), 1);
  EXPECT_EQ(reader.ExtractCurrentJpg(dir.file("b.hgv"), 0), scratch());
  EXPECT_EQ(readBytes(scratch()), b[0].data);
}

// Each failure still leaves the three variables describing the frame asked for.
TEST_F(ExtractionTest, FailuresRaiseTheToolkitsErrorsAfterTheVariablesAreSet) {
  auto path = writeClip(layout(), frames({10, 0, 30}));
  ASSERT_EQ(open(path), 3);
  EXPECT_EQ(errorOf(path, 1), 9);  // a frame of size 0
  EXPECT_EQ(reader.ExtractedFrame.value(), 1);
  EXPECT_EQ(reader.ExtractedSize.value(), 0);
  EXPECT_EQ(errorOf(path, 3), 9);  // the spare element at IndexEntryCount
  EXPECT_EQ(errorOf(path, 4), 9);
  EXPECT_EQ(reader.ExtractedFrame.value(), 4);
  EXPECT_EQ(errorOf(path, -1), 9);
  EXPECT_EQ(errorOf(dir.file("other.hgv"), 0), 53);  // the clip has gone

  files.failWrites = toolkit::ErrorNumber::PathNotFound;
  EXPECT_EQ(errorOf(path, 2), 76);  // the folder cannot be written
  EXPECT_EQ(reader.ExtractedFrame.value(), 2);
  EXPECT_EQ(reader.ExtractedSize.value(), 30);
  EXPECT_EQ(reader.ExtractedPosition.value(), reader.FramePositions[2]);
}

TEST_F(ExtractionTest, ClipShorterThanItsLastFrameGivesAZeroTail) {
  auto f = frames({100, 100});
  auto bytes = clip::buildClip(layout(), f);
  const std::size_t lastDataEnd = 4108 + 100 + 8 + 100;
  bytes.resize(lastDataEnd - 40);  // the index and 40 bytes of the last frame are gone
  auto path = write(bytes);
  EXPECT_EQ(open(path), 1);  // recovered: the walk keeps the whole first frame only

  // With its index intact but the file cut inside the last frame's data, the table still says
  // 100 bytes: extraction writes all 100, zeros where the file ended.
  auto whole = clip::buildClip(layout(), f);
  std::vector<std::uint8_t> cut(whole.begin(), whole.begin() + static_cast<long>(lastDataEnd - 40));
  ASSERT_EQ(open(write(whole, "whole.hgv")), 2);
  testing_support::writeBytes(dir.file("whole.hgv"), cut);
  reader.ExtractCurrentJpg(dir.file("whole.hgv"), 1);
  auto got = readBytes(scratch());
  ASSERT_EQ(got.size(), 100u);
  EXPECT_TRUE(std::equal(f[1].data.begin(), f[1].data.begin() + 60, got.begin()));
  EXPECT_EQ(std::vector<std::uint8_t>(got.begin() + 60, got.end()),
            std::vector<std::uint8_t>(40, 0));
}

TEST_F(ExtractionTest, FrameClaimingMoreThanTheWholeFileIsRefusedWithoutAllocating) {
  auto f = frames({10, 20});
  f[1].headerSize = 0x7fff0000;  // two gigabytes in a file of a few kilobytes
  auto path = writeClip(layout(), f);
  ASSERT_EQ(open(path), 2);
  EXPECT_EQ(errorOf(path, 1), 62);
  EXPECT_FALSE(files.exists(scratch()));
}

}  // namespace
}  // namespace clip
