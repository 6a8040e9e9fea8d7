// The index scan: frame counts, the three tables, the 16-bit limits, and recovery of recordings
// that were cut off before their index was written.

#include "tests/clip/clip_fixture.h"
#include "toolkit/core/runtime_error.h"

namespace clip {
namespace {

using toolkit::MessageBoxRequest;

const MessageBoxRequest kOverflowBox =
    MessageBoxRequest::critical("SaveAviChunk\r\nError:6\r\nOverflow");

class IndexScanTest : public ClipFixture {
 protected:
  // N one-byte frames: the smallest clip of N frames.
  std::vector<std::uint8_t> tinyClip(std::size_t n) {
    std::vector<clip::ClipFrame> f(n, clip::ClipFrame{{0xab}, {}, {}, "00dc"});
    return clip::buildClip(layout(), f);
  }
};

TEST_F(IndexScanTest, TablesHoldEachFramesPositionAndSizeAndOneSpareZero) {
  auto path = writeClip(layout(), frames({30000, 7, 12}));
  EXPECT_EQ(open(path), 3);
  EXPECT_EQ(reader.IndexEntryCount.value(), 3);
  // "movi00dc" at position 4,097: frame 0's data at 4,109, frame 1's chunk header behind 30,000
  // bytes and a four-byte tag.
  EXPECT_EQ(reader.FramePositions, (std::vector<std::int32_t>{4109, 34117, 34132, 0}));
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{30000, 7, 12, 0}));
  EXPECT_EQ(reader.IndexSizes, (std::vector<std::int32_t>{30000, 7, 12, 0}));
  EXPECT_TRUE(boxes().empty());
}

TEST_F(IndexScanTest, OneFrameClip) {
  EXPECT_EQ(open(writeClip(layout(), frames({50}))), 1);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{50, 0}));
}

TEST_F(IndexScanTest, RemainderOfTheEntryBytesIsIgnored) {
  auto l = layout();
  l.extraIndexBytes = 5;  // 16 n + 5
  EXPECT_EQ(open(writeClip(l, frames({10, 20, 30}))), 3);
}

TEST_F(IndexScanTest, FewerThanSixteenEntryBytesGiveZeroWithoutABox) {
  auto l = layout();
  l.indexSizeField = 15;
  EXPECT_EQ(open(writeClip(l, frames({10, 20}))), 0);
  EXPECT_TRUE(boxes().empty());
}

TEST_F(IndexScanTest, IndexTagInsidePictureDataHasNoEffectWhileTheIndexComesLater) {
  auto f = frames({10, 20});
  const std::string tag = "idx1";
  std::copy(tag.begin(), tag.end(), f[0].data.begin() + 3);
  EXPECT_EQ(open(writeClip(layout(), f)), 2);
  EXPECT_EQ(reader.FrameSizes[1], 20);
}

TEST_F(IndexScanTest, FirstFrameMarkerInsideTheHeaderIsWhereTheWalkStarts) {
  auto l = layout();
  const std::string marker = "movi00dc";
  l.junkFill.assign(marker.begin(), marker.end());
  l.junkFill.insert(l.junkFill.end(), {0x09, 0, 0, 0});  // a "size" of 9
  EXPECT_EQ(open(writeClip(l, frames({10, 20}))), 2);
  EXPECT_EQ(reader.FramePositions[0], 221 + 12);
  EXPECT_EQ(reader.FrameSizes[0], 9);
}

TEST_F(IndexScanTest, IndexSizeSetsTheStrideAndTheChunkHeaderTheSize) {
  auto f = frames({10, 20, 30});
  f[0].headerSize = 11;  // what extraction will take
  f[1].indexSize = 21;   // one byte too far for the next chunk
  EXPECT_EQ(open(writeClip(layout(), f)), 3);
  EXPECT_EQ(reader.FrameSizes[0], 11);
  EXPECT_EQ(reader.IndexSizes[1], 21);
  EXPECT_EQ(reader.FramePositions[2], reader.FramePositions[1] + 20 + 8 + 1);
}

TEST_F(IndexScanTest, PadByteBehindAnOddFrameShiftsTheWalkByOne) {
  auto l = layout();
  l.padOddFrames = true;
  EXPECT_EQ(open(writeClip(l, frames({11, 20, 30}))), 3);
  EXPECT_EQ(reader.FramePositions[1], 4109 + 11 + 8);  // one byte before the real data
  EXPECT_EQ(reader.FrameSizes[1], 'c' | 20 << 8);      // the size read one byte early
}

TEST_F(IndexScanTest, ZeroSizeFrameStaysInTheTables) {
  EXPECT_EQ(open(writeClip(layout(), frames({10, 0, 30}))), 3);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{10, 0, 30, 0}));
  EXPECT_EQ(reader.FramePositions[2], reader.FramePositions[1] + 8);
}

TEST_F(IndexScanTest, ThirtyTwoThousandSevenHundredSixtySevenFramesOpen) {
  EXPECT_EQ(open(write(tinyClip(32767))), 32767);
  EXPECT_EQ(reader.FrameSizes.size(), 32768u);
  EXPECT_EQ(reader.FrameSizes[32766], 1);
  EXPECT_TRUE(boxes().empty());
}

TEST_F(IndexScanTest, ThirtyTwoThousandSevenHundredSixtyEightFramesOverflow) {
  EXPECT_EQ(open(write(tinyClip(32768))), 0);
  EXPECT_EQ(boxes(), std::vector{kOverflowBox});
  // The counter overflowed only after the whole index was read.
  EXPECT_EQ(reader.IndexSizes[32767], 1);
}

TEST_F(IndexScanTest, HugeEntryCountOverflowsWithoutAllocatingItsTable) {
  auto l = layout();
  l.indexSizeField = 0x7ffffff0;  // 134 million entries in a file of a few hundred bytes
  EXPECT_EQ(open(writeClip(l, frames({10}))), 0);
  EXPECT_EQ(boxes(), std::vector{kOverflowBox});
  EXPECT_LE(reader.IndexSizes.size(), 1u);
}

TEST_F(IndexScanTest, SizeFieldOfTwoGigabytesOverflows) {
  auto f = frames({10, 20});
  f[1].headerSize = 0x80000000u;
  EXPECT_EQ(open(writeClip(layout(), f)), 0);
  EXPECT_EQ(boxes(), std::vector{kOverflowBox});
}

TEST_F(IndexScanTest, IndexWithoutFirstFrameMarkerCountsFramesWithEmptyTables) {
  auto bytes = clip::buildClip(layout(), frames({10, 20}));
  bytes[4096] = 'M';  // "Movi00dc"
  EXPECT_EQ(open(write(bytes)), 2);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{0, 0, 0}));
}

TEST_F(IndexScanTest, SecondClipRebuildsAllTables) {
  ASSERT_EQ(open(writeClip(layout(), frames({10, 20, 30, 40}), "a.hgv")), 4);
  ASSERT_EQ(open(writeClip(layout(), frames({50, 60}), "b.hgv")), 2);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{50, 60, 0}));
  EXPECT_EQ(reader.IndexSizes, (std::vector<std::int32_t>{50, 60, 0}));
  EXPECT_EQ(reader.FramePositions.size(), 3u);
}

TEST_F(IndexScanTest, MissingFileIsAnErrorBox) {
  EXPECT_EQ(reader.SaveAviChunk(dir.file("gone.hgv")).value(), 0);
  EXPECT_EQ(boxes(),
            std::vector{MessageBoxRequest::critical("SaveAviChunk\r\nError:53\r\nFile not found")});
}

// A camera that loses power leaves its frames but no index.
class RecoveryTest : public IndexScanTest {};

TEST_F(RecoveryTest, ClipWithoutIndexOpensEveryWholeFrame) {
  auto l = layout();
  l.writeIndex = false;
  EXPECT_EQ(open(writeClip(l, frames({10, 21, 30}))), 3);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{10, 21, 30, 0}));
  EXPECT_EQ(reader.FramePositions, (std::vector<std::int32_t>{4109, 4127, 4156, 0}));
  EXPECT_TRUE(boxes().empty());
}

TEST_F(RecoveryTest, TruncatedTailDropsOnlyThePartialFrame) {
  auto l = layout();
  l.writeIndex = false;
  auto bytes = clip::buildClip(l, frames({100, 100, 100}));
  bytes.resize(bytes.size() - 1);
  EXPECT_EQ(open(write(bytes)), 2);
}

TEST_F(RecoveryTest, PaddedChunksAreFollowed) {
  auto l = layout();
  l.writeIndex = false;
  l.padOddFrames = true;
  EXPECT_EQ(open(writeClip(l, frames({11, 20, 7}))), 3);
  EXPECT_EQ(reader.FramePositions[1], 4109 + 11 + 1 + 8);
}

TEST_F(RecoveryTest, FirstIndexEntryThatIsNoFrameMeansRecovery) {
  auto l = layout();
  l.firstIndexTag = "01wb";
  EXPECT_EQ(open(writeClip(l, frames({10, 20}))), 2);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{10, 20, 0}));
}

TEST_F(RecoveryTest, NeverReturnsTheCountOfTheClipBefore) {
  ASSERT_EQ(open(writeClip(layout(), frames({10, 20, 30}), "a.hgv")), 3);
  auto l = layout();
  l.writeIndex = false;
  auto bytes = clip::buildClip(l, frames({10}));
  bytes.resize(4110);  // the only frame is cut
  EXPECT_EQ(open(write(bytes, "b.hgv")), 0);
  EXPECT_EQ(reader.IndexEntryCount.value(), 0);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{0}));
}

}  // namespace
}  // namespace clip
