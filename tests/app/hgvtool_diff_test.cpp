#include <gtest/gtest.h>

#include <sstream>

#include "app/hgvtool_commands.h"
#include "clip/clip_writer.h"
#include "search/core/analyse_bmp.h"
#include "tests/support/temp_dir.h"
#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/writers/synthetic_scene.h"

namespace search {
namespace {

using testing_support::ToolRun;

using testing_support::TempDir;
using testing_support::writeBytes;
using toolkit::kFalse;
using toolkit::kTrue;
using Bytes = std::vector<std::uint8_t>;

ToolRun diff(const app::Args& args) {
  std::ostringstream out, err;
  const int status = app::runDiff(args, out, err);
  return {status, out.str(), err.str()};
}

// The "changed" list the tool must print, from the module run directly on the same two pictures
// the way a search's priming pass and first step run it.
std::string changedOfDirectRun(const Bytes& older, const Bytes& newer, const std::string& sens,
                               int threshold) {
  AnalyseBMP m;
  m.Sensitivity = sens;
  m.ChangeThreshold = threshold;
  const auto frameOf = [](const Bytes& jpeg) {
    auto frame = std::make_shared<clip::Frame>();
    toolkit::JpegBitmapDecoder decoder;
    frame->picture = decoder.decode(jpeg, frame->bitmap) ? clip::Frame::Picture::Decoded
                                                         : clip::Frame::Picture::Undecodable;
    return frame;
  };
  m.StoreInA = kTrue;
  m.AnalyseFrame(frameOf(older), 16, kTrue, kTrue);
  m.StoreInA = kFalse;
  m.StoreInB = kTrue;
  m.AnalyseFrame(frameOf(newer), 16, kTrue, kFalse);
  std::string s = "\"changed\": [";
  for (const ChangedCell& c : m.ChangedCells) {
    const CellPoint& p = m.CellOrigins(c.Row, c.Column);
    s += (s.back() == '[' ? "" : ", ") + std::string("{\"Column\": ") +
         std::to_string(c.Column.value()) + ", \"Row\": " + std::to_string(c.Row.value()) +
         ", \"X\": " + std::to_string(p.X.value()) + ", \"Y\": " + std::to_string(p.Y.value()) +
         "}";
  }
  return s + "]";
}

class HgvtoolDiffTest : public ::testing::Test {
 protected:
  HgvtoolDiffTest() {
    // A meadow, and from frame 3 on a pale box that moves right by 24 pixels a frame.
    const toolkit::SyntheticScene scene({320, 240, 3, 100, 100, 2});
    for (int i = 0; i < 5; ++i) {
      toolkit::RgbImage img = scene.frame(i);
      for (int y = 60; y < 108 && i >= 3; ++y) {
        for (int x = 100 + 24 * (i - 3); x < 148 + 24 * (i - 3); ++x) {
          for (int k = 0; k < 3; ++k)
            img.pixels[static_cast<std::size_t>((y * 320 + x) * 3 + k)] = 240;
        }
      }
      frames.push_back(toolkit::encodeJpeg(img));
    }
    writeBytes(dir.file("a.jpg"), frames[2]);
    writeBytes(dir.file("b.jpg"), frames[3]);
    clip::writeClip(fs, dir.file("walk.hgv"), 320, 240, frames);
  }

  TempDir dir;
  toolkit::PosixFileSystem fs;
  std::vector<Bytes> frames;
};

TEST_F(HgvtoolDiffTest, PicturePairGivesTheCellsOfTheModule) {
  for (const char* sens : {"Medium", "High", "Low"}) {
    SCOPED_TRACE(sens);
    const ToolRun r = diff({"--json", "--sensitivity", sens, dir.file("a.jpg"), dir.file("b.jpg")});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("{\"CellRows\": 15, \"CellColumns\": 20, \"otsu_t\": ", 0), 0u) << r.out;
    const std::string changed = changedOfDirectRun(frames[2], frames[3], sens, 0);
    EXPECT_NE(r.out.find(changed + ", \"boxes\": []}"), std::string::npos) << r.out << changed;
  }
  const std::string medium = changedOfDirectRun(frames[2], frames[3], "Medium", 0);
  EXPECT_NE(medium, "\"changed\": []");  // the animal walked
}

TEST_F(HgvtoolDiffTest, ClipFrameIsComparedWithTheNextOne) {
  for (int n : {0, 2, 3}) {
    SCOPED_TRACE(n);
    const ToolRun r =
        diff({dir.file("walk.hgv"), std::to_string(n), "--json", "--threshold", "45"});
    EXPECT_EQ(r.status, 0) << r.err;
    const std::string changed = changedOfDirectRun(frames[n], frames[n + 1], "Medium", 45);
    EXPECT_NE(r.out.find(changed), std::string::npos) << r.out << changed;
  }
  EXPECT_EQ(diff({dir.file("walk.hgv"), "4"}).status, 1);  // the last frame has no next one
}

TEST_F(HgvtoolDiffTest, IdenticalPicturesKeepTheThresholdCarriedIn) {
  const ToolRun r = diff({"--json", "--sensitivity", "Low", "--threshold", "70", dir.file("a.jpg"),
                          dir.file("a.jpg")});
  EXPECT_EQ(r.out,
            "{\"CellRows\": 15, \"CellColumns\": 20, \"otsu_t\": null, \"ChangeThreshold\": 120, "
            "\"changed\": [], \"boxes\": []}\n");
}

TEST_F(HgvtoolDiffTest, UndecodablePictureReportsTheModulesBox) {
  writeBytes(dir.file("bad.jpg"), Bytes(500, 0x42));
  const ToolRun r = diff({"--json", dir.file("a.jpg"), dir.file("bad.jpg")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("\"changed\": [], \"boxes\": [{\"text\": \"It is not BMP file. \", "
                       "\"icon\": \"critical\", \"title\": \"Warning\"}]}"),
            std::string::npos)
      << r.out;
}

TEST_F(HgvtoolDiffTest, BadArgumentsAreUsageErrors) {
  for (const app::Args& args :
       {app::Args{}, app::Args{"one"}, app::Args{"a", "b", "c"}, app::Args{"--bogus", "a", "b"},
        app::Args{"--threshold", "40000", "a", "b"}, app::Args{"--threshold", "x", "a", "b"}}) {
    EXPECT_EQ(diff(args).status, 2);
  }
  EXPECT_EQ(diff({dir.file("missing.jpg"), dir.file("b.jpg")}).status, 1);
}

}  // namespace
}  // namespace search
