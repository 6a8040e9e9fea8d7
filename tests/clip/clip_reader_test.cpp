// The header check: which files are admitted as clips, and the boxes of those that are not.

#include "tests/clip/clip_fixture.h"

namespace clip {
namespace {

using toolkit::MessageBoxRequest;

const MessageBoxRequest kEmptyBox =
    MessageBoxRequest::plain("The file doesn't exist or no content in it.");
const MessageBoxRequest kUnvalidBox =
    MessageBoxRequest::critical("The file type is unvalid!", "Warning");

class HeaderCheckTest : public ClipFixture {};

TEST_F(HeaderCheckTest, WrittenClipIsAdmittedWithItsPictureSize) {
  auto path = writeClip(layout(1280, 720), frames({100, 200}));
  EXPECT_EQ(reader.InitialAviInfo(path), toolkit::kTrue);
  EXPECT_EQ(reader.ClipPath, path);
  EXPECT_EQ(reader.ClipWidth.value(), 1280);
  EXPECT_EQ(reader.ClipHeight.value(), 720);
  EXPECT_EQ(reader.JunkSize.value(), 3868);
  EXPECT_TRUE(boxes().empty());
}

// Each row: how the file is made, whether it is admitted, the one box shown (if any).
TEST_F(HeaderCheckTest, TagsAtFixedOffsetsDecide) {
  struct Case {
    const char* name;
    std::function<void(clip::ClipLayout&)> change;
    bool admitted;
  };
  const Case cases[] = {
      {"plain", [](auto&) {}, true},
      {"form type not AVI", [](auto& l) { l.formType = "AVIX"; }, false},
      {"form type in lower case", [](auto& l) { l.formType = "avi "; }, false},
      {"no RIFF: form type not looked at",
       [](auto& l) {
         l.riffTag = "RIFX";
         l.formType = "WAVE";
       },
       true},
      {"riff in lower case is another tag",
       [](auto& l) {
         l.riffTag = "riff";
         l.formType = "xxxx";
       },
       true},
      {"main header tag in capitals", [](auto& l) { l.mainHeaderTag = "AVIH"; }, false},
      {"junk in lower case", [](auto& l) { l.junkTag = "junk"; }, false},
      {"no JUNK at 212", [](auto& l) { l.junkTag = "LIST"; }, false},
      {"two streams but the same offsets", [](auto& l) { l.streams = 2; }, true},
      {"dwTotalFrames says anything", [](auto& l) { l.totalFramesField = 0xdeadbeef; }, true},
      {"JUNK size 32767", [](auto& l) { l.junkSize = 32767; }, true},
      {"negative JUNK size fits 16 bits", [](auto& l) { l.junkSize = -5; }, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    messages.clear();
    auto l = layout();
    c.change(l);
    auto path = writeClip(l, frames({10}));
    EXPECT_EQ(reader.InitialAviInfo(path), c.admitted ? toolkit::kTrue : toolkit::kFalse);
    if (c.admitted) {
      EXPECT_TRUE(boxes().empty());
    } else {
      EXPECT_EQ(boxes(), std::vector{kUnvalidBox});
    }
  }
}

TEST_F(HeaderCheckTest, EmptyFileGetsOneBoxWithNoIconAndTheDefaultTitle) {
  auto path = write({});
  EXPECT_EQ(reader.InitialAviInfo(path), toolkit::kFalse);
  ASSERT_EQ(boxes(), std::vector{kEmptyBox});
  EXPECT_EQ(boxes()[0].shownTitle(), "Harrowglen");
}

TEST_F(HeaderCheckTest, MissingFileIsARunTimeErrorBox) {
  EXPECT_EQ(reader.InitialAviInfo(dir.file("none.hgv")), toolkit::kFalse);
  EXPECT_EQ(
      boxes(),
      std::vector{MessageBoxRequest::critical("InitialAviInfo\r\nError:53\r\nFile not found")});
}

TEST_F(HeaderCheckTest, ShortFileIsRefusedAsUnvalid) {
  auto bytes = clip::buildClip(layout(), frames({10}));
  bytes.resize(100);  // "avih" is there, the JUNK record reads as zeros
  EXPECT_EQ(reader.InitialAviInfo(write(bytes)), toolkit::kFalse);
  EXPECT_EQ(boxes(), std::vector{kUnvalidBox});
}

TEST_F(HeaderCheckTest, JunkSizeOf32768OverflowsAfterTheClipsValuesAreTaken) {
  auto l = layout(320, 240);
  l.junkSize = 32768;
  auto path = writeClip(l, frames({10}));
  EXPECT_EQ(reader.InitialAviInfo(path), toolkit::kFalse);
  EXPECT_EQ(boxes(),
            std::vector{MessageBoxRequest::critical("InitialAviInfo\r\nError:6\r\nOverflow")});
  EXPECT_EQ(reader.ClipPath, path);
  EXPECT_EQ(reader.ClipWidth.value(), 320);
  EXPECT_EQ(reader.ClipHeight.value(), 240);
}

TEST_F(HeaderCheckTest, RefusedFileKeepsTheValuesOfTheClipBefore) {
  auto good = writeClip(layout(320, 240), frames({10}), "good.hgv");
  ASSERT_TRUE(reader.InitialAviInfo(good));
  auto l = layout(99, 99);
  l.junkTag = "JUNQ";
  EXPECT_FALSE(reader.InitialAviInfo(writeClip(l, frames({10}), "bad.hgv")));
  EXPECT_EQ(reader.ClipPath, good);
  EXPECT_EQ(reader.ClipWidth.value(), 320);
}

// The exports and the scan take the frame duration from the open clip, not from the file again.
TEST_F(HeaderCheckTest, FrameDurationIsTheFirstFieldOfTheMainHeader) {
  auto bytes = clip::buildClip(layout(320, 240), frames({10}));
  const std::uint8_t field[4] = {0x78, 0x56, 0x34, 0x12};
  std::copy(std::begin(field), std::end(field), bytes.begin() + 32);
  ASSERT_TRUE(reader.InitialAviInfo(write(bytes, "a.hgv")));
  EXPECT_EQ(reader.MicroSecPerFrame, 0x12345678u);

  // A refused file leaves the duration of the clip before, as it leaves its size.
  bytes[212] = 'j';
  putU32(bytes, 32, 40000);
  EXPECT_FALSE(reader.InitialAviInfo(write(bytes, "b.hgv")));
  EXPECT_EQ(reader.MicroSecPerFrame, 0x12345678u);
}

// The writer and the reader share their constants; pin the layout with literals so that a wrong
// shared constant cannot pass.
TEST_F(HeaderCheckTest, WriterPutsTheTagsWhereTheReaderLooks) {
  auto bytes = clip::buildClip(layout(0x0102, 0x0304), frames({5}));
  auto at = [&](std::size_t o, std::size_t n) {
    return std::string(bytes.begin() + o, bytes.begin() + o + n);
  };
  EXPECT_EQ(at(0, 4), "RIFF");
  EXPECT_EQ(at(8, 4), "AVI ");
  EXPECT_EQ(at(24, 4), "avih");
  EXPECT_EQ(bytes[64], 0x02);
  EXPECT_EQ(bytes[65], 0x01);
  EXPECT_EQ(bytes[68], 0x04);
  EXPECT_EQ(at(212, 4), "JUNK");
  EXPECT_EQ(at(4096, 8), "movi00dc");
  EXPECT_EQ(bytes[4104], 5);  // the chunk's size
  EXPECT_EQ(at(4113, 4), "idx1");
  EXPECT_EQ(bytes[4117], 16);
  EXPECT_EQ(at(4121, 4), "00dc");
}

}  // namespace
}  // namespace clip
