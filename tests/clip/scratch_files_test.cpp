// The scratch files as one side effect: what a held run of puts leaves is exactly what writing
// each put at once leaves, in the files and in what "Temp.jpg" is known to hold.

#include "clip/scratch_files.h"

#include <gtest/gtest.h>

#include "tests/support/memory_file_system.h"
#include "toolkit/core/runtime_error.h"

namespace clip {
namespace {

using Bytes = std::vector<std::uint8_t>;

FramePtr frame(const Bytes& jpeg, std::optional<Bytes> bitmap = std::nullopt) {
  auto f = std::make_shared<Frame>();
  f->jpeg = jpeg;
  f->picture = bitmap ? Frame::Picture::Decoded : Frame::Picture::Undecodable;
  if (bitmap) f->bitmap = *bitmap;
  return f;
}

Bytes bytes(std::size_t n, std::uint8_t first) {
  Bytes b(n);
  for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<std::uint8_t>(first + i);
  return b;
}

class ScratchFilesTest : public ::testing::Test {
 protected:
  Bytes file(const std::string& name) { return fs.files.at("/p/" + name); }
  bool has(const std::string& name) { return fs.exists("/p/" + name); }

  testing_support::MemoryFileSystem fs;
  ScratchFiles scratch{fs, "/p"};
};

TEST_F(ScratchFilesTest, AHeldRunLeavesWhatWritingEachFrameLeaves) {
  const std::vector<Bytes> frames = {bytes(300, 1), bytes(100, 50), bytes(200, 90), bytes(40, 7)};
  testing_support::MemoryFileSystem eachFs;
  ScratchFiles each(eachFs, "/p");
  scratch.hold();
  for (const Bytes& jpeg : frames) {
    each.putJpeg(frame(jpeg));
    scratch.putJpeg(frame(jpeg));
    EXPECT_EQ(Bytes(scratch.jpegFile().begin(), scratch.jpegFile().end()),
              eachFs.files.at("/p/Temp.jpg"))
        << "what the file holds is known before it is written";
  }
  EXPECT_FALSE(has("Temp.jpg"));
  scratch.flush();
  const Bytes want = eachFs.files.at("/p/Temp.jpg");
  EXPECT_EQ(file("Temp.jpg"), want);
  ASSERT_EQ(want.size(), 300u) << "never shortened";
  EXPECT_EQ(Bytes(want.begin(), want.begin() + 40), frames[3]);
  EXPECT_EQ(want[150], frames[2][150]);
  EXPECT_EQ(want[250], frames[0][250]);
}

TEST_F(ScratchFilesTest, AStaleTempJpgOfAnEarlierRunLendsItsTail) {
  fs.files["/p/Temp.jpg"] = bytes(500, 200);
  scratch.putJpeg(frame(bytes(100, 0)));
  Bytes want = bytes(500, 200);
  std::copy_n(bytes(100, 0).begin(), 100, want.begin());
  EXPECT_EQ(file("Temp.jpg"), want);
  EXPECT_EQ(Bytes(scratch.jpegFile().begin(), scratch.jpegFile().end()), want);

  // The cleanup deletes it: the next run of frames starts from nothing.
  scratch.remove("/p/Temp.jpg");
  scratch.putJpeg(frame(bytes(10, 3)));
  EXPECT_EQ(file("Temp.jpg"), bytes(10, 3));
}

TEST_F(ScratchFilesTest, TheBitmapIsTheLastFramesOrNone) {
  fs.files["/p/1.bmp"] = bytes(5000, 9);  // a longer bitmap of an earlier frame
  scratch.putBitmap(frame(bytes(10, 0), bytes(60, 1)));
  EXPECT_EQ(file("1.bmp"), bytes(60, 1));
  scratch.putBitmap(frame(bytes(10, 0)));
  EXPECT_FALSE(has("1.bmp")) << "no picture, no bitmap standing for it";

  scratch.hold();
  scratch.putBitmap(frame(bytes(10, 0), bytes(70, 2)));
  scratch.putBitmap(frame(bytes(10, 0), bytes(80, 3)));
  EXPECT_FALSE(has("1.bmp"));
  scratch.flush();
  EXPECT_EQ(file("1.bmp"), bytes(80, 3));

  fs.failWrites = toolkit::ErrorNumber::DiskFull;
  scratch.putBitmap(frame(bytes(10, 0), bytes(90, 4)));
  EXPECT_FALSE(has("1.bmp")) << "one that cannot be written leaves none, silently";
}

TEST_F(ScratchFilesTest, TheMarkedPictureIsMadeOnlyWhenItIsWritten) {
  int made = 0;
  const auto marked = [&made](std::uint8_t first) {
    return [&made, first] {
      ++made;
      return bytes(64, first);
    };
  };
  scratch.hold();
  scratch.hold();  // a search inside a run of searches
  scratch.putMarked(marked(1));
  scratch.putMarked(marked(2));
  scratch.flush();
  EXPECT_FALSE(has("temp.bmp")) << "the run still holds it";
  scratch.flush();
  EXPECT_EQ(file("temp.bmp"), bytes(64, 2));
  EXPECT_EQ(made, 1);
  scratch.putMarked(marked(3));
  EXPECT_EQ(file("temp.bmp"), bytes(64, 3));
}

TEST_F(ScratchFilesTest, WithoutFilesNothingIsWrittenButTempJpgIsFollowed) {
  scratch.setMode(ScratchFiles::Mode::Memory);
  scratch.putJpeg(frame(bytes(300, 1)));
  scratch.putJpeg(frame(bytes(100, 50)));
  scratch.putBitmap(frame(bytes(10, 0), bytes(60, 1)));
  scratch.putMarked([] { return bytes(64, 1); });
  EXPECT_TRUE(fs.files.empty());
  ASSERT_EQ(scratch.jpegFile().size(), 300u);
  EXPECT_EQ(scratch.jpegFile()[0], 50);
  EXPECT_EQ(scratch.jpegFile()[299], static_cast<std::uint8_t>(1 + 299));
}

TEST_F(ScratchFilesTest, AFailedWriteRaisesItsErrorAndChangesNothingKnown) {
  scratch.putJpeg(frame(bytes(100, 1)));
  fs.failWrites = toolkit::ErrorNumber::PathNotFound;
  try {
    scratch.putJpeg(frame(bytes(200, 5)));
    FAIL() << "no error";
  } catch (const toolkit::RuntimeError& e) {
    EXPECT_EQ(e.number(), 76);
  }
  EXPECT_EQ(Bytes(scratch.jpegFile().begin(), scratch.jpegFile().end()), bytes(100, 1));

  // Held back, the error comes at the flush, after the other files are seen to.
  scratch.hold();
  scratch.putJpeg(frame(bytes(50, 9)));
  scratch.putBitmap(frame(bytes(10, 0), bytes(60, 1)));
  EXPECT_THROW(scratch.flush(), toolkit::RuntimeError);
  EXPECT_FALSE(scratch.held());
  fs.failWrites.reset();
  scratch.flush();  // nothing is left to write
  EXPECT_EQ(file("Temp.jpg"), bytes(100, 1));
}

}  // namespace
}  // namespace clip
