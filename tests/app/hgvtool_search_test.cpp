// hgvtool search: the lines and objects it prints, the marked picture it writes, and what it
// refuses.

#include <sstream>

#include "app/hgvtool_commands.h"
#include "tests/support/scene_clips.h"

namespace {

using testing_support::ToolRun;

using testing_support::readBytes;
using testing_support::Square;

class HgvtoolSearchTest : public testing_support::SceneClipTest {
 protected:
  ToolRun search(app::Args args) {
    std::ostringstream out, err;
    const int status = app::runSearch(args, out, err);
    return {status, out.str(), err.str()};
  }
};

TEST_F(HgvtoolSearchTest, AllListsTheMomentsOfAClipNumberedAsTheWindowShowsThem) {
  const std::string clip = sceneClip("scene.HGV", 10, {{320, 160, 48, 4, 7}});
  const ToolRun run = search({clip, "--all"});
  EXPECT_EQ(run.status, 0) << run.err;
  std::istringstream lines(run.out);
  std::string first, second, third, rest;
  std::getline(lines, first);
  std::getline(lines, second);
  std::getline(lines, third);
  std::getline(lines, rest);
  EXPECT_EQ(first.rfind("motion at frame 5: ", 0), 0u) << first;
  EXPECT_EQ(second.rfind("motion at frame 8: ", 0), 0u) << second;
  EXPECT_EQ(third, "end of the run at frame 10");
  EXPECT_TRUE(rest.empty() && lines.eof());
  EXPECT_TRUE(run.err.empty()) << "no progress when stderr is not a terminal";
}

TEST_F(HgvtoolSearchTest, JsonGivesTheEndMarksThresholdsMarksAndTheMarkedPicture) {
  const std::string clip = sceneClip("scene.HGV", 6, {{320, 160, 48, 0, 2}});
  const std::string marked = file("marked.bmp");
  const ToolRun run = search({clip, "--back", "--from", "6", "--json", "--count", "2", "--marked",
                              marked, "--sensitivity", "High"});
  EXPECT_EQ(run.status, 0) << run.err;
  std::istringstream lines(run.out);
  std::string found, ended;
  std::getline(lines, found);
  std::getline(lines, ended);
  // From the end mark 6, with frame 0 on show, the first step back comes to the last frame,
  // the end of the run, where the square is gone: a result all the same. From there on back, the
  // square comes on frame 1.
  EXPECT_EQ(found.rfind("{\"ended\": \"found\", \"CurrentFrame\": 5, \"frame\": 5, ", 0), 0u)
      << found;
  EXPECT_NE(found.find("\"comparisons\": 1, \"marked\": [["), std::string::npos) << found;
  found = ended;
  EXPECT_EQ(found.rfind("{\"ended\": \"found\", \"CurrentFrame\": 1, \"frame\": 1, "
                        "\"ChangeThreshold\": ",
                        0),
            0u)
      << found;
  EXPECT_NE(found.find("\"comparisons\": 4, \"marked\": [["), std::string::npos) << found;
  EXPECT_NE(found.find("]], \"boxes\": []}"), std::string::npos) << found;

  // The marked picture of the last result: frame 1 with blue outlines on it (the window test
  // compares the tool's marked picture with the window's byte for byte).
  const auto saved = toolkit::decodeBmp(readBytes(marked));
  ASSERT_TRUE(saved.has_value());
  const auto plain = *toolkit::decodeJpeg(jpegOf(1));
  std::size_t blue = 0, changed = 0;
  for (std::size_t i = 0; i < saved->pixels.size(); i += 3) {
    const bool isBlue =
        saved->pixels[i] == 0 && saved->pixels[i + 1] == 0 && saved->pixels[i + 2] == 255;
    blue += isBlue;
    changed += !std::equal(&saved->pixels[i], &saved->pixels[i] + 3, &plain.pixels[i]);
  }
  EXPECT_GT(blue, 0u);
  EXPECT_EQ(changed, blue) << "the marks and nothing else";
}

TEST_F(HgvtoolSearchTest, AnAreaAwayFromTheChangeRunsToTheEnd) {
  const std::string clip = sceneClip("scene.HGV", 5, {{320, 160, 48, 2, 5}});
  const ToolRun run = search({clip, "--area", "0,0,100,100", "--json"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out.rfind("{\"ended\": \"end_of_run\", \"CurrentFrame\": -1, \"frame\": 4, ", 0),
            0u)
      << run.out;
}

TEST_F(HgvtoolSearchTest, AnOverflowEndsWithTheErrorAndItsBox) {
  const std::string clip = sceneClip("scene.HGV", 5, {});
  const ToolRun run =
      search({clip, "--json", "--all", "--sensitivity", "Low", "--threshold", "32700"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out.rfind("{\"ended\": \"error\", \"CurrentFrame\": 2, \"frame\": 2, "
                          "\"ChangeThreshold\": 32750, \"comparisons\": 1, \"marked\": [], "
                          "\"boxes\": [{\"text\": \"imgRightSearch_Click\\r\\nError:6\\r\\n"
                          "Overflow\"",
                          0),
            0u)
      << run.out;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1);
}

TEST_F(HgvtoolSearchTest, RefusesWhatItCannotSearch) {
  const std::string clip = sceneClip("scene.HGV", 3, {});
  EXPECT_EQ(search({clip, "--all", "--count", "2"}).status, 2);
  EXPECT_EQ(search({clip, "--from", "4"}).status, 2);
  EXPECT_EQ(search({clip, "--from", "-2"}).status, 2);
  EXPECT_EQ(search({clip, "--area", "1,2,3"}).status, 2);
  EXPECT_EQ(search({clip, "--threshold", "40000"}).status, 2);
  EXPECT_EQ(search({}).status, 2);
  const ToolRun missing = search({file("none.HGV")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_FALSE(missing.err.empty());

  // One frame: nothing to search, and --all does not wait for an end that never comes.
  const ToolRun one = search({sceneClip("one.HGV", 1, {}), "--all"});
  EXPECT_EQ(one.status, 0);
  EXPECT_TRUE(one.out.empty());
  EXPECT_EQ(one.err, "hgvtool: a clip of one frame has nothing to search\n");
}

}  // namespace
