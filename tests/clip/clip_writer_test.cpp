// The clip writer: what it writes is what the reader reads, also when written frame by frame
// into a sparse file.

#include "tests/clip/clip_fixture.h"
#include "toolkit/core/file_system.h"

namespace clip {
namespace {

class ClipWriterTest : public ClipFixture {};

TEST_F(ClipWriterTest, WriteClipReplacesAnExistingLongerFile) {
  const std::string path = dir.file("out.hgv");
  testing_support::writeBytes(path, std::vector<std::uint8_t>(100000, 0x77));
  auto f = frames({10, 20});
  clip::writeClip(files, path, 64, 48, {f[0].data, f[1].data});
  EXPECT_EQ(testing_support::readBytes(path), clip::buildClip(layout(64, 48), f));
}

TEST_F(ClipWriterTest, SparseFramesGiveTheSameTablesAsWrittenOnes) {
  const std::string path = dir.file("sparse.hgv");
  {
    auto file = files.openWrite(path);
    clip::ClipWriter writer(*file, layout());
    writer.addSparseFrame(5000);
    writer.addSparseFrame(7001);
    writer.addFrame(picture(30, 3));
    // The first chunk starts at 4,100, behind the movi list's header.
    EXPECT_EQ(writer.finish(), 4100 + 8 + 5000 + 8 + 7001 + 8 + 30 + 8 + 3 * 16);
  }
  ASSERT_EQ(open(path), 3);
  EXPECT_EQ(reader.FrameSizes, (std::vector<std::int32_t>{5000, 7001, 30, 0}));
  reader.ExtractCurrentJpg(path, 2);
  EXPECT_EQ(testing_support::readBytes(dir.file("Temp.jpg")), picture(30, 3));
}

TEST_F(ClipWriterTest, HeaderCountsAndSizesAreCompleted) {
  auto bytes = clip::buildClip(layout(), frames({10, 300}));
  auto u32 = [&](std::size_t o) {
    return std::uint32_t{bytes[o]} | std::uint32_t{bytes[o + 1]} << 8 |
           std::uint32_t{bytes[o + 2]} << 16 | std::uint32_t{bytes[o + 3]} << 24;
  };
  EXPECT_EQ(u32(4), bytes.size() - 8);          // RIFF size
  EXPECT_EQ(u32(48), 2u);                       // dwTotalFrames
  EXPECT_EQ(u32(60), 300u);                     // dwSuggestedBufferSize
  EXPECT_EQ(u32(140), 2u);                      // the stream's length
  EXPECT_EQ(u32(4092), 4 + 8 + 10 + 8 + 300u);  // the movi list's size
}

}  // namespace
}  // namespace clip
