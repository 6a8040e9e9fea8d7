// hgvtool on the videos cameras write: the same subcommands, the same procedures, the same
// results as on a clip of the same pictures.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "clip/separate_mjpg.h"
#include "tests/support/scene_clips.h"
#include "tests/support/video_maker.h"
#include "toolkit/core/image.h"

namespace app {
namespace {

using testing_support::Square;

struct ToolRun {
  int status;
  std::string out;
  std::string err;
};

ToolRun run(int (*command)(const Args&, std::ostream&, std::ostream&), const Args& args) {
  std::ostringstream out, err;
  const int status = command(args, out, err);
  return {status, out.str(), err.str()};
}

std::string readText(const std::string& path) {
  toolkit::PosixFileSystem files;
  return toolkit::readWholeFile(files, path);
}

class HgvtoolVideoTest : public testing_support::SceneClipTest {
 protected:
  void SetUp() override { testing_support::quietLibav(); }

  // A square comes at frame 6 and goes at frame 14 of 20 frames. Each JPEG is of even size: an
  // AVI laid out as a clip is read the clip way, whose walk counts no pad byte behind an odd one.
  std::vector<std::vector<std::uint8_t>> sceneJpegs() {
    const std::vector<Square> squares{{96, 64, 48, 6, 14}};
    std::vector<std::vector<std::uint8_t>> jpegs;
    for (int k = 0; k < 20; ++k) {
      jpegs.push_back(testing_support::sceneJpeg(320, 240, squares, k));
      if (jpegs.back().size() % 2 != 0) jpegs.back().push_back(0);
    }
    return jpegs;
  }

  std::string h264(const std::string& name, const std::string& creationTime = "") {
    testing_support::VideoRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.frames = 40;
    recipe.creationTime = creationTime;
    const std::string path = file(name);
    testing_support::makeVideo(path, recipe);
    return path;
  }
};

TEST_F(HgvtoolVideoTest, TheSameJpegsGiveTheSameSearchAsAClipAnMjpegAviAMovAndAMatroska) {
  const auto jpegs = sceneJpegs();
  const std::string clip = writeClip("scene.hgv", jpegs, 320, 240);
  const ToolRun expected = run(runSearch, {clip, "--all", "--json", "--threads", "1"});
  ASSERT_EQ(expected.status, 0) << expected.err;
  ASSERT_NE(expected.out.find("\"found\""), std::string::npos) << expected.out;

  toolkit::PosixFileSystem files;
  for (const char* container : {"avi", "mov", "matroska"}) {
    const std::string path = file(std::string("scene.") + container);
    testing_support::writeJpegVideo(path, container, jpegs, 320, 240);
    // A one-stream AVI has the tags of a clip where the header check looks for them.
    EXPECT_EQ(clip::SeparateMJPG::isClipFile(files, path), std::string(container) == "avi")
        << container;
    for (const char* threads : {"1", "2"}) {
      const ToolRun video = run(runSearch, {path, "--all", "--json", "--threads", threads});
      EXPECT_EQ(video.status, 0) << container << video.err;
      EXPECT_EQ(video.out, expected.out) << container;
    }
    const ToolRun extracted = run(runExtract, {path, "7", file("seven.jpg")});
    EXPECT_EQ(extracted.status, 0) << extracted.err;
    EXPECT_EQ(readText(file("seven.jpg")), std::string(jpegs[7].begin(), jpegs[7].end()))
        << "an MJPEG frame is its own bytes";
  }
}

TEST_F(HgvtoolVideoTest, InfoOfAnH264VideoGivesItsCodecRateDurationAndRecordingTime) {
  ::setenv("TZ", "UTC0", 1);
  ::tzset();
  const std::string path = h264("yard.mp4", "2024-05-01T06:12:33.000000Z");
  const ToolRun r = run(runInfo, {"--json", path});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto facts = nlohmann::json::parse(r.out);
  EXPECT_EQ(facts["admitted"], true);
  EXPECT_EQ(facts["ClipWidth"], 320);
  EXPECT_EQ(facts["ClipHeight"], 240);
  EXPECT_EQ(facts["TotalFrames"], 40);
  EXPECT_EQ(facts["codec"], "h264");
  EXPECT_EQ(facts["frame_rate"], 25.0);
  EXPECT_DOUBLE_EQ(facts["duration_s"].get<double>(), 1.6);
  EXPECT_EQ(facts["recorded"], "2024-05-01T06:12:33+00:00");
  ::unsetenv("TZ");
  ::tzset();
}

TEST_F(HgvtoolVideoTest, ExportsFromAnH264VideoReadBack) {
  const std::string path = h264("yard.mp4");
  const ToolRun jpg = run(runExport, {path, "--frame", "5", "--jpg", file("five.jpg")});
  ASSERT_EQ(jpg.status, 0) << jpg.err;
  const std::string bytes = readText(file("five.jpg"));
  const auto picture = toolkit::decodeJpeg(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 320);
  EXPECT_EQ(picture->height, 240);

  const ToolRun hgv = run(runExport, {path, "--frame", "30", "--hgv", file("run.hgv")});
  ASSERT_EQ(hgv.status, 0) << hgv.err;
  EXPECT_EQ(hgv.out, "Harrowglen Video File Successfully Created: " + file("run.hgv") +
                         ", 10 frames from frame 30\n");
  const ToolRun again = run(runInfo, {"--json", file("run.hgv")});
  const auto facts = nlohmann::json::parse(again.out);
  EXPECT_EQ(facts["opened"], true);
  EXPECT_EQ(facts["TotalFrames"], 10);
  EXPECT_FALSE(facts.contains("codec")) << "an exported clip goes the clip way";
  // The clip's frames are the video's pictures as JPEGs: the same frame exported again.
  const ToolRun first = run(runExtract, {file("run.hgv"), "0", file("thirty.jpg")});
  ASSERT_EQ(first.status, 0);
  const ToolRun direct = run(runExport, {path, "--frame", "30", "--jpg", file("direct.jpg")});
  ASSERT_EQ(direct.status, 0);
  EXPECT_EQ(readText(file("thirty.jpg")), readText(file("direct.jpg")));

  const ToolRun wmv =
      run(runExport, {path, "--frame", "0", "--wmv", file("run.wmv"), "--count", "8"});
  ASSERT_EQ(wmv.status, 0) << wmv.err;
  EXPECT_GT(readText(file("run.wmv")).size(), 1000u);
}

TEST_F(HgvtoolVideoTest, AFileThatIsNoVideoGetsOneBoxWithItsNameAndReason) {
  const std::vector<std::uint8_t> text{'h', 'e', 'l', 'l', 'o', '\n'};
  toolkit::writeWholeFile(m_files, file("notes.mp4"), text);
  const ToolRun r = run(runInfo, {"--json", file("notes.mp4")});
  EXPECT_EQ(r.status, 1);
  const auto facts = nlohmann::json::parse(r.out);
  EXPECT_EQ(facts["admitted"], false);
  ASSERT_EQ(facts["boxes"].size(), 1u);
  const std::string box = facts["boxes"][0]["text"];
  EXPECT_EQ(box.rfind("notes.mp4 cannot be opened: ", 0), 0u) << box;
}

}  // namespace
}  // namespace app
