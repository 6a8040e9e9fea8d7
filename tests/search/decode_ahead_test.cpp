#include "search/driver/decode_ahead.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/temp_dir.h"
#include "tests/support/window_fixture.h"
#include "toolkit/core/file_system.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

class DecodeAheadTest : public ::testing::Test {
 protected:
  DecodeAheadTest() {
    const std::vector<testing_support::Square> squares = {{40, 40, 24, 1, 3}};
    Bytes trailing = testing_support::sceneJpeg(160, 120, squares, 0);
    trailing.insert(trailing.end(), 2000, 0x55);  // bytes after the end marker
    Bytes cut = testing_support::sceneJpeg(160, 120, squares, 1);
    cut.resize(cut.size() / 2);
    Bytes file;
    for (const Bytes& jpeg : {trailing, cut, testing_support::sceneJpeg(160, 120, squares, 2)}) {
      places.push_back({static_cast<std::int32_t>(places.size()),
                        static_cast<std::int64_t>(file.size()),
                        static_cast<std::int32_t>(jpeg.size())});
      file.insert(file.end(), jpeg.begin(), jpeg.end());
    }
    // A damaged index: more than the file holds.
    places.push_back({3, static_cast<std::int64_t>(file.size()) - 10, 1'500'000'000});
    toolkit::writeWholeFile(fs, path, file);
  }

  // The frame as the search makes it in line: read by the extraction's procedure, decoded by
  // the same decoder.
  clip::Frame inLine(const clip::FramePlace& place) {
    clip::Frame frame;
    clip::readFrameBytes(*fs.openRead(path), place, frame.jpeg);
    search::FrameDecoder decoder;
    decoder.decode(frame, 16);
    return frame;
  }

  testing_support::TempDir dir;
  toolkit::PosixFileSystem fs;
  std::string path = dir.file("clip.hgv");
  std::vector<clip::FramePlace> places;
};

TEST_F(DecodeAheadTest, AThreadHandsOverTheFrameTheSearchWouldHaveMade) {
  search::DecodeAhead ahead(fs, 2);
  ahead.want(path, places, 16);
  ahead.wait();
  for (int index = 0; index < 3; ++index) {
    SCOPED_TRACE(index);
    const clip::FramePtr frame = ahead.take(path, index);
    ASSERT_NE(frame, nullptr);
    const clip::Frame want = inLine(places[static_cast<std::size_t>(index)]);
    EXPECT_EQ(frame->index, index);
    EXPECT_EQ(frame->jpeg, want.jpeg);
    EXPECT_EQ(frame->picture, want.picture);
    EXPECT_EQ(frame->bitmap, want.bitmap);
    EXPECT_EQ(frame->clean, want.clean);
    EXPECT_EQ(frame->cellSums, want.cellSums);
  }
  EXPECT_FALSE(ahead.take(path, 1)) << "taken once";
  EXPECT_FALSE(ahead.take(path, 3)) << "nothing is read beyond the file: the search meets that";
  EXPECT_FALSE(ahead.take(path, 7)) << "a frame nobody wanted";
  ahead.want(path, places, 16);
  ahead.wait();
  EXPECT_FALSE(ahead.take(dir.file("other.hgv"), 2));
  EXPECT_EQ(ahead.taken(), 3u);
}

TEST_F(DecodeAheadTest, AClipThatGoesAwayIsLeftToTheSearchToMeet) {
  search::DecodeAhead ahead(fs, 2);
  ahead.want(path, {places[0]}, 16);
  ahead.wait();
  std::filesystem::remove(path);
  ahead.want(path, {places[0], places[1]}, 16);
  ahead.wait();
  EXPECT_NE(ahead.take(path, 0), nullptr) << "read while it was there";
  EXPECT_EQ(ahead.take(path, 1), nullptr) << "the search reads it itself, and fails";
}

}  // namespace
