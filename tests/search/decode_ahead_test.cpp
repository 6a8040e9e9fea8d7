#include "search/driver/decode_ahead.h"

#include <gtest/gtest.h>

#include "tests/support/temp_dir.h"
#include "tests/support/window_fixture.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/file_system.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes decoded(const Bytes& jpeg) {
  toolkit::JpegBitmapDecoder decoder;
  Bytes bitmap;
  EXPECT_TRUE(decoder.decode(jpeg, bitmap));
  return bitmap;
}

// What "Temp.jpg" holds after `frame` was written over `before`.
Bytes over(const Bytes& frame, const Bytes& before) {
  Bytes file = before;
  if (file.size() < frame.size()) file.resize(frame.size());
  std::copy(frame.begin(), frame.end(), file.begin());
  return file;
}

TEST(DecodeAheadTest, ABitmapCountsOnlyForTheBytesItsOwnDecodingWouldRead) {
  testing_support::TempDir dir;
  toolkit::PosixFileSystem fs;
  const std::vector<testing_support::Square> squares = {{40, 40, 24, 1, 3}};
  Bytes longer = testing_support::sceneJpeg(160, 120, squares, 0);
  longer.insert(longer.end(), 2000, 0x55);  // bytes after the end marker
  Bytes cut = testing_support::sceneJpeg(160, 120, squares, 1);
  cut.resize(cut.size() / 2);
  const Bytes whole = testing_support::sceneJpeg(160, 120, squares, 2);
  ASSERT_LT(whole.size(), longer.size());

  const std::string path = dir.file("frames.bin");
  Bytes file = longer;
  file.insert(file.end(), cut.begin(), cut.end());
  file.insert(file.end(), whole.begin(), whole.end());
  toolkit::writeWholeFile(fs, path, file);
  const auto size = [](const Bytes& b) { return static_cast<std::int32_t>(b.size()); };
  const std::vector<search::FramePlace> places = {
      {0, 0, size(longer)},
      {1, size(longer), size(cut)},
      {2, size(longer) + size(cut), size(whole)},
      {3, size(longer), 1'500'000'000}};  // a damaged index: more than the file holds

  // The cut-off frame read on into the longer frame's tail is another picture.
  ASSERT_NE(decoded(over(cut, longer)), decoded(cut));

  search::DecodeAhead ahead(fs, 2);
  const auto take = [&](std::int32_t frame, const Bytes& read, Bytes& bitmap) {
    ahead.want(path, places);
    ahead.wait();
    return ahead.take(path, frame, read, bitmap);
  };
  Bytes bitmap;
  EXPECT_TRUE(take(0, longer, bitmap));
  EXPECT_EQ(bitmap, decoded(longer));
  // A whole frame is read up to its end marker: the tail behind it changes nothing.
  EXPECT_TRUE(take(2, over(whole, longer), bitmap));
  EXPECT_EQ(bitmap, decoded(over(whole, longer)));
  EXPECT_FALSE(take(1, over(cut, longer), bitmap)) << "the decoder reads on into the tail";
  EXPECT_TRUE(take(1, cut, bitmap));
  EXPECT_EQ(bitmap, decoded(cut));
  Bytes other = whole;
  other[other.size() / 2] ^= 0x01;
  EXPECT_FALSE(take(2, other, bitmap));
  EXPECT_FALSE(take(3, whole, bitmap)) << "nothing read beyond the file";
  EXPECT_FALSE(take(7, whole, bitmap)) << "a frame nobody wanted";
  EXPECT_FALSE(ahead.take(dir.file("other.bin"), 2, whole, bitmap));
  EXPECT_EQ(ahead.taken(), 3u);
}

}  // namespace
