// hgvtool info, extract and pack, called as the program calls them.

#include <sstream>

#include "app/hgvtool_commands.h"
#include "tests/clip/clip_fixture.h"
#include "toolkit/core/image.h"

namespace clip {
namespace {

struct Run {
  int status;
  std::string out;
  std::string err;
};

Run run(int (*command)(const app::Args&, std::ostream&, std::ostream&), app::Args args) {
  std::ostringstream out, err;
  int status = command(args, out, err);
  return {status, out.str(), err.str()};
}

std::vector<std::uint8_t> jpeg(int w, int h, std::uint8_t shade) {
  toolkit::RgbImage img{w, h,
                        std::vector<std::uint8_t>(static_cast<std::size_t>(w * h * 3), shade)};
  return toolkit::encodeJpeg(img, 80);
}

class HgvtoolTest : public ClipFixture {
 protected:
  std::string realClip(const std::string& name = "real.hgv") {
    return writeClip(layout(64, 48),
                     {{jpeg(64, 48, 10), {}, {}, "00dc"}, {jpeg(64, 48, 200), {}, {}, "00dc"}},
                     name);
  }
};

TEST_F(HgvtoolTest, InfoJsonOfAGoodClip) {
  auto path = realClip();
  const auto size0 = jpeg(64, 48, 10).size(), size1 = jpeg(64, 48, 200).size();
  auto r = run(app::runInfo, {"--json", "--frames", path});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "{\"admitted\": true, \"opened\": true, \"boxes\": [], \"ClipWidth\": 64, "
            "\"ClipHeight\": 48, \"TotalFrames\": 2, \"frames\": [{\"FramePosition\": 4109, "
            "\"FrameSize\": " +
                std::to_string(size0) +
                "}, {\"FramePosition\": " + std::to_string(4109 + size0 + 8) +
                ", \"FrameSize\": " + std::to_string(size1) + "}]}\n");
  EXPECT_EQ(r.err, "");
}

TEST_F(HgvtoolTest, InfoPrintsTheBoxesTheWindowWouldShow) {
  auto r = run(app::runInfo, {"--json", write({})});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "{\"admitted\": false, \"opened\": false, \"boxes\": [{\"text\": \"The file doesn't "
            "exist or no content in it.\", \"icon\": null, \"title\": null}], \"ClipWidth\": 0, "
            "\"ClipHeight\": 0, \"TotalFrames\": 0}\n");
  EXPECT_EQ(r.err, "Harrowglen: The file doesn't exist or no content in it.\n");
}

TEST_F(HgvtoolTest, UndecodableFirstPictureIsTheOpenHandlersErrorBox) {
  auto path = writeClip(layout(), frames({100}));
  auto r = run(app::runInfo, {"--json", path});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(
      r.out.find("\"admitted\": true, \"opened\": false, \"boxes\": [{\"text\": \"ModuleName | "
                 "ProcedureName\\r\\nError:481\\r\\nInvalid picture\", \"icon\": \"critical\", "
                 "\"title\": null}]"),
      std::string::npos)
      << r.out;
}

TEST_F(HgvtoolTest, AClipWithoutAWholeIndexEntryGetsTheWarningOfTheWindow) {
  auto l = layout(64, 48);
  l.indexSizeField = 8;
  auto r = run(app::runInfo, {"--json", writeClip(l, {{jpeg(64, 48, 10), {}, {}, "00dc"}})});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("\"admitted\": true, \"opened\": false, \"boxes\": [{\"text\": \"The clip "
                       "holds no frames that can be shown.\", \"icon\": \"critical\", "
                       "\"title\": \"Warning\"}]"),
            std::string::npos)
      << r.out;
}

// hgvtool agrees with the reader on every layout the writer can make.
TEST_F(HgvtoolTest, InfoAgreesWithTheReaderOnOddLayouts) {
  std::vector<std::pair<const char*, clip::ClipLayout>> layouts;
  auto add = [&](const char* name, auto change) {
    auto l = layout(64, 48);
    change(l);
    layouts.emplace_back(name, l);
  };
  add("plain", [](auto&) {});
  add("wrong form type", [](auto& l) { l.formType = "AVIX"; });
  add("no junk", [](auto& l) { l.junkTag = "junk"; });
  add("junk 32768", [](auto& l) { l.junkSize = 32768; });
  add("no index", [](auto& l) { l.writeIndex = false; });
  add("padded", [](auto& l) { l.padOddFrames = true; });
  add("short index", [](auto& l) { l.indexSizeField = 8; });
  add("huge index", [](auto& l) { l.indexSizeField = 0x10000000; });
  for (const auto& [name, l] : layouts) {
    SCOPED_TRACE(name);
    auto path =
        writeClip(l, {{jpeg(64, 48, 10), {}, {}, "00dc"}, {jpeg(64, 48, 90), {}, {}, "00dc"}});
    messages.clear();
    SeparateMJPG fresh(platform);
    int total = fresh.InitialAviInfo(path) ? fresh.SaveAviChunk(path).value() : 0;
    auto r = run(app::runInfo, {"--json", path});
    EXPECT_NE(r.out.find("\"TotalFrames\": " + std::to_string(total) + "}"), std::string::npos)
        << r.out;
    for (const auto& box : boxes())
      EXPECT_NE(r.err.find(box.text.substr(0, 12)), std::string::npos);
    EXPECT_EQ(r.status, total > 0 ? 0 : 1);
  }
}

TEST_F(HgvtoolTest, ExtractWritesTheFramesBytesOnly) {
  auto path = realClip();
  auto r = run(app::runExtract, {path, "1", dir.file("one.jpg")});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(testing_support::readBytes(dir.file("one.jpg")), jpeg(64, 48, 200));
  EXPECT_EQ(run(app::runExtract, {path, "2", dir.file("x.jpg")}).status, 1);
  EXPECT_FALSE(files.exists(dir.file("x.jpg")));
  EXPECT_EQ(run(app::runExtract, {path, "one", dir.file("x.jpg")}).status, 2);
}

TEST_F(HgvtoolTest, PackMakesAClipThatOpensAndRefusesNonPictures) {
  testing_support::writeBytes(dir.file("a.jpg"), jpeg(32, 16, 5));
  testing_support::writeBytes(dir.file("b.jpg"), jpeg(32, 16, 250));
  auto r = run(app::runPack, {dir.file("p.hgv"), dir.file("a.jpg"), dir.file("b.jpg")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(open(dir.file("p.hgv")), 2);
  EXPECT_EQ(reader.ClipWidth.value(), 32);

  testing_support::writeBytes(dir.file("c.jpg"), {1, 2, 3});
  r = run(app::runPack, {dir.file("q.hgv"), dir.file("a.jpg"), dir.file("c.jpg")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("not a JPEG"), std::string::npos);
  EXPECT_FALSE(files.exists(dir.file("q.hgv")));
  EXPECT_EQ(run(app::runPack, {dir.file("q.hgv")}).status, 2);
}

// The file manager's thumbnail: frame 0 as the window opens it, shrunk to fit, never enlarged;
// a clip the window refuses leaves no file, and an older file at that name as it was.
TEST_F(HgvtoolTest, ThumbnailIsFrameZeroShrunkToFitAsAPng) {
  const std::string path = writeClip(
      layout(64, 48), {{jpeg(64, 48, 10), {}, {}, "00dc"}, {jpeg(64, 48, 200), {}, {}, "00dc"}},
      "thumb.hgv");
  const toolkit::RgbImage frame0 = *toolkit::decodeJpeg(jpeg(64, 48, 10));
  auto r = run(app::runThumbnail, {path, dir.file("small.png"), "32"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(testing_support::readBytes(dir.file("small.png")),
            toolkit::encodePng(toolkit::shrinkImage(frame0, 32, 24)));
  r = run(app::runThumbnail, {path, dir.file("large.png"), "256"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(testing_support::readBytes(dir.file("large.png")), toolkit::encodePng(frame0));

  testing_support::writeBytes(dir.file("old.png"), {1, 2, 3});
  r = run(app::runThumbnail, {write({'R', 'I', 'F', 'F'}, "riff.hgv"), dir.file("old.png"), "128"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(testing_support::readBytes(dir.file("old.png")), (std::vector<std::uint8_t>{1, 2, 3}));
  r = run(app::runThumbnail,
          {writeClip(layout(), frames({100}), "bad.hgv"), dir.file("bad.png"), "128"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("Invalid picture"), std::string::npos) << r.err;
  EXPECT_FALSE(files.exists(dir.file("bad.png")));

  for (const std::string size : {"0", "4097", "big"}) {
    EXPECT_EQ(run(app::runThumbnail, {path, dir.file("x.png"), size}).status, 2);
  }
  EXPECT_EQ(run(app::runThumbnail, {path, dir.file("x.png")}).status, 2);
  EXPECT_FALSE(files.exists(dir.file("x.png")));
}

}  // namespace
}  // namespace clip
