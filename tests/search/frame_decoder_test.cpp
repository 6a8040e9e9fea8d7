#include "search/core/frame_decoder.h"

#include <gtest/gtest.h>

#include "search/core/cell_sums.h"
#include "toolkit/core/image.h"
#include "toolkit/writers/synthetic_scene.h"

namespace search {
namespace {

using Bytes = std::vector<std::uint8_t>;

clip::FramePtr frameOf(const Bytes& jpeg) {
  auto frame = std::make_shared<clip::Frame>();
  frame->index = 0;
  frame->jpeg = jpeg;
  return frame;
}

Bytes bitmapOf(const Bytes& jpeg) {
  toolkit::JpegBitmapDecoder decoder;
  Bytes bitmap;
  EXPECT_TRUE(decoder.decode(jpeg, bitmap));
  return bitmap;
}

std::vector<float> sumsOver(const Bytes& bitmap, int cellSize) {
  const auto width = static_cast<std::int64_t>(bitmap[18] | bitmap[19] << 8);
  const auto height = static_cast<std::int64_t>(bitmap[22] | bitmap[23] << 8);
  std::vector<float> sums(static_cast<std::size_t>(width / cellSize * (height / cellSize)));
  const BgrRows rows{bitmap.data() + 54, static_cast<std::size_t>((width * 3 + 3) & ~3), width,
                     height};
  cellSums(rows, cellSize, sums.data());
  return sums;
}

// What "Temp.jpg" holds after `frame` was written over `before`.
Bytes over(const Bytes& frame, const Bytes& before) {
  Bytes file = before;
  if (file.size() < frame.size()) file.resize(frame.size());
  std::copy(frame.begin(), frame.end(), file.begin());
  return file;
}

// Frame `index` of a meadow an animal walks into at frame 1.
Bytes sceneJpeg(int width, int height, int index) {
  return toolkit::encodeJpeg(toolkit::SyntheticScene({width, height, 5, 1, 3, 2}).frame(index));
}

TEST(FrameDecoderTest, SumsMadeBandByBandAreThoseOfTheFinishedPicture) {
  Bytes cut = sceneJpeg(200, 150, 1);
  cut.resize(cut.size() / 2);
  Bytes damaged = sceneJpeg(200, 150, 2);
  damaged[damaged.size() / 2] ^= 0x10;
  FrameDecoder decoder;
  for (const Bytes& jpeg : {sceneJpeg(200, 150, 0), cut, damaged, sceneJpeg(640, 480, 1)}) {
    for (int cellSize : {16, 8, 24}) {
      SCOPED_TRACE(::testing::Message() << jpeg.size() << " bytes, cells of " << cellSize);
      const clip::FramePtr frame = frameOf(jpeg);
      decoder.decode(*frame, cellSize);
      ASSERT_TRUE(frame->decoded());
      EXPECT_EQ(frame->bitmap, bitmapOf(jpeg));
      EXPECT_EQ(frame->cellSize, cellSize);
      EXPECT_EQ(frame->cellSums, sumsOver(frame->bitmap, cellSize));
    }
  }
  const clip::FramePtr garbage = frameOf(Bytes(500, 0x33));
  decoder.decode(*garbage, 16);
  EXPECT_EQ(garbage->picture, clip::Frame::Picture::Undecodable);
  EXPECT_TRUE(garbage->bitmapFile().empty());
}

// The converter reads the whole of "Temp.jpg", which keeps the tail of a longer frame behind a
// shorter one: a frame that breaks off reads on into that tail, and is another picture then.
TEST(FrameDecoderTest, OnlyAFrameThatBreaksOffTakesTheTailOfTempJpg) {
  Bytes longer = sceneJpeg(160, 120, 0);
  longer.insert(longer.end(), 2000, 0x55);
  Bytes cut = sceneJpeg(160, 120, 1);
  cut.resize(cut.size() / 2);
  const Bytes whole = sceneJpeg(160, 120, 2);
  ASSERT_NE(bitmapOf(over(cut, longer)), bitmapOf(cut));

  FrameDecoder decoder;
  const clip::FramePtr broken = frameOf(cut);
  decoder.decode(*broken, 16);  // as a decoding thread does, before the search writes it
  decoder.decodeAsScratch(*broken, over(cut, longer), 16);
  EXPECT_TRUE(broken->withTail);
  EXPECT_EQ(broken->bitmap, bitmapOf(over(cut, longer)));
  EXPECT_EQ(broken->cellSums, sumsOver(broken->bitmap, 16));
  EXPECT_TRUE(broken->pictureOfFile(longer.size()));

  const clip::FramePtr clean = frameOf(whole);
  decoder.decodeAsScratch(*clean, over(whole, longer), 16);
  EXPECT_TRUE(clean->clean);
  EXPECT_FALSE(clean->withTail);
  EXPECT_EQ(clean->bitmap, bitmapOf(whole));
  EXPECT_EQ(clean->bitmap, bitmapOf(over(whole, longer))) << "the decoder stops at the end marker";

  const clip::FramePtr alone = frameOf(cut);
  decoder.decodeAsScratch(*alone, cut, 16);
  EXPECT_FALSE(alone->withTail) << "no tail behind it";
  EXPECT_EQ(alone->bitmap, bitmapOf(cut));
  EXPECT_FALSE(alone->pictureOfFile(longer.size()));
}

}  // namespace
}  // namespace search
