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

// Past 32,767 frames, where a clip's 16-bit frame numbers end: an hour of a camera's video.
std::string longVideo(const std::string& path, int width, int height) {
  testing_support::VideoRecipe recipe;
  recipe.width = width;
  recipe.height = height;
  recipe.frames = 33000;
  recipe.gop = 3000;
  // The animal crosses in the last frames, fast enough to be seen from frame to frame.
  recipe.scene.enterFrame = 32985;
  recipe.scene.leaveFrame = 33000;
  testing_support::makeVideo(path, recipe);
  return path;
}

TEST_F(HgvtoolVideoTest, AVideoLongerThanAClipOpensAndIsSearchedToItsLastFrame) {
  const std::string path = longVideo(file("long.mp4"), 320, 240);
  const auto facts = nlohmann::json::parse(run(runInfo, {"--json", path}).out);
  EXPECT_EQ(facts["TotalFrames"], 33000);
  const ToolRun search = run(runSearch, {path, "--from", "32900", "--all", "--json"});
  ASSERT_EQ(search.status, 0) << search.err;
  const auto first = nlohmann::json::parse(search.out.substr(0, search.out.find('\n')));
  EXPECT_EQ(first["ended"], "found") << search.out;
  EXPECT_GE(first["frame"].get<int>(), 32985);
  const auto last =
      nlohmann::json::parse(search.out.substr(search.out.rfind('\n', search.out.size() - 2) + 1));
  EXPECT_EQ(last["ended"], "end_of_run");
  EXPECT_EQ(last["frame"], 32999);
  EXPECT_EQ(run(runExtract, {path, "32999", file("last.jpg")}).status, 0);
  EXPECT_EQ(run(runExtract, {path, "33000", file("past.jpg")}).status, 1);
}

TEST_F(HgvtoolVideoTest, AVideoLongerThanAClipIsScannedToItsEnd) {
  // Small, so that walking every frame stays quick.
  const std::string path = longVideo(file("long.mp4"), 48, 32);
  const ToolRun scan = run([](const Args& args, std::ostream& out,
                              std::ostream& err) { return runScan(args, out, err); },
                           {path, "--json"});
  ASSERT_EQ(scan.status, 0) << scan.err;
  const auto record = nlohmann::json::parse(scan.out);
  EXPECT_EQ(record["TotalFrames"], 33000);
  EXPECT_EQ(record["ended"], "end_of_run");
  EXPECT_DOUBLE_EQ(record["duration_s"].get<double>(), 1320.0);
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
