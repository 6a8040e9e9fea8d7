// hgvtool scan: every clip of a folder accounted for, each clip's motion frames exactly those of
// hgvtool search --all on it alone, grouped into events by the rules, each event with a thumbnail
// and its own clip, and a report a browser opens from the disk.

#include <filesystem>
#include <regex>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "clip/clip_writer.h"
#include "scan/events.h"
#include "scan/json_text.h"
#include "tests/support/media_facts.h"
#include "tests/support/scene_clips.h"
#include "toolkit/core/image.h"

namespace {

using testing_support::lines;
using testing_support::text;
using testing_support::ToolRun;

using Json = nlohmann::json;
using testing_support::readBytes;
using testing_support::Square;

Json json(const std::string& text) {
  const auto value = scan::parseJson(text);
  EXPECT_TRUE(value.has_value()) << text;
  return value.value_or(Json());
}

// The motion frames of an object of events.json as "frame [corners]", as search --all prints.
std::vector<std::string> motionOf(const Json& object) {
  std::vector<std::string> out;
  for (const Json& m : object.at("motion")) {
    std::string corners;
    for (const Json& p : m.at("marked")) {
      corners += (corners.empty() ? "" : ", ") + std::string("[") +
                 std::to_string(p[0].get<long long>()) + ", " +
                 std::to_string(p[1].get<long long>()) + "]";
    }
    out.push_back(std::to_string(m.at("frame").get<long long>()) + " [" + corners + "]");
  }
  return out;
}

std::vector<scan::MotionFrame> motionFrames(const Json& object) {
  std::vector<scan::MotionFrame> out;
  for (const Json& m : object.at("motion")) {
    scan::MotionFrame frame{static_cast<int>(m.at("frame").get<long long>()), {}};
    for (const Json& p : m.at("marked")) {
      frame.marked.push_back({static_cast<std::int32_t>(p[0].get<long long>()),
                              static_cast<std::int32_t>(p[1].get<long long>())});
    }
    out.push_back(frame);
  }
  return out;
}

class HgvtoolScanTest : public testing_support::SceneClipTest {
 protected:
  // hgvtool scan on the machine's own files and budget.
  static int scanCommand(const app::Args& args, std::ostream& out, std::ostream& err) {
    return app::runScan(args, out, err);
  }

  template <typename Run>
  ToolRun run(Run command, app::Args args) {
    std::ostringstream out, err;
    const int status = command(args, out, err);
    return {status, out.str(), err.str()};
  }

  // What hgvtool search --all finds in a clip: "frame marked" of each result.
  std::vector<std::string> searchAll(const std::string& clip) {
    const ToolRun r = run(app::runSearch, {clip, "--all", "--json"});
    std::vector<std::string> found;
    const std::regex result(
        R"re(\{"ended": "found", "CurrentFrame": -?\d+, "frame": (\d+), .*"marked": (\[.*\]), "boxes")re");
    for (const std::string& line : lines(r.out)) {
      std::smatch m;
      if (std::regex_search(line, m, result)) found.push_back(m[1].str() + " " + m[2].str());
    }
    return found;
  }

  // A folder as a card leaves it: clips with motion, one in a subfolder, a file that is no clip
  // at all, a recording cut off without its index, a clip of one frame, and a file of another
  // kind, which is not looked at.
  std::string card() {
    const std::string folder = file("card");
    std::filesystem::create_directories(folder + "/100");
    const auto moved = [&](const std::string& name, int count, std::vector<Square> squares) {
      const std::string made = sceneClip("made.HGV", count, squares, 320, 240);
      std::filesystem::rename(made, folder + "/" + name);
    };
    moved("a.HGV", 12, {{100, 60, 40, 3, 7}});
    moved("100/b.hgv", 9, {{180, 120, 32, 2, 5}, {40, 40, 32, 6, 9}});
    moved("d-one.HGV", 1, {});
    toolkit::writeWholeFile(m_files, folder + "/c-broken.HGV",
                            std::vector<std::uint8_t>(5000, 0x42));
    toolkit::writeWholeFile(m_files, folder + "/notes.txt", std::vector<std::uint8_t>(10, 'x'));

    clip::ClipLayout layout;
    layout.width = 320;
    layout.height = 240;
    layout.writeIndex = false;
    std::vector<clip::ClipFrame> frames;
    for (int i = 0; i < 8; ++i) {
      clip::ClipFrame frame;
      frame.data = testing_support::sceneJpeg(320, 240, {{60, 100, 48, 3, 6}}, i);
      frames.push_back(std::move(frame));
    }
    auto bytes = clip::buildClip(layout, frames);
    bytes.resize(bytes.size() - 100);  // the last frame half written
    toolkit::writeWholeFile(m_files, folder + "/b-cut.HGV", bytes);
    return folder;
  }

  toolkit::PosixFileSystem m_files;
};

// The grouping of a scan with two frames of merge gap and a one-frame minimum, which the clips
// of card() are made to show: a's square comes (3) and goes (7) and b's come and go four times.
const app::Args kRules = {"--merge-gap", "2f", "--min-event", "1f",
                          "--before",    "1f", "--after",     "2f"};

TEST_F(HgvtoolScanTest, AFolderIsScannedClipByClipIntoEventsOfTheMotionSearchAllFinds) {
  const std::string folder = card();
  const std::string out = file("report");
  app::Args args = {folder, "--out", out, "--jobs", "3", "--clips", "hgv"};
  args.insert(args.end(), kRules.begin(), kRules.end());
  const ToolRun scan = run(scanCommand, args);
  EXPECT_EQ(scan.status, 1) << "a clip was refused";
  EXPECT_NE(scan.out.find("\n5 clips, "), std::string::npos) << scan.out;
  EXPECT_NE(scan.out.find(" events: " + out + "/index.html\n"), std::string::npos);
  EXPECT_NE(
      scan.out.find("  event  start         end           duration   wall clock (file time)\n"),
      std::string::npos);

  const std::vector<std::string> clips = {folder + "/100/b.hgv", folder + "/a.HGV",
                                          folder + "/b-cut.HGV", folder + "/c-broken.HGV",
                                          folder + "/d-one.HGV"};
  const Json report = json(text(out + "/events.json"));
  ASSERT_EQ(report.size(), clips.size());
  scan::EventRules rules;
  rules.mergeGap = {0, 2};
  rules.minEvent = {0, 1};
  rules.before = {0, 1};
  rules.after = {0, 2};
  std::size_t eventCount = 0;
  for (std::size_t i = 0; i < clips.size(); ++i) {
    const Json& object = report[i];
    SCOPED_TRACE(clips[i]);
    EXPECT_EQ(object.at("clip").get<std::string>(), clips[i]);
    if (!object.at("opened").get<bool>()) continue;
    EXPECT_EQ(object.at("ended").get<std::string>(), "end_of_run");
    EXPECT_EQ(object.at("frame_rate").get<double>(), 10);
    EXPECT_EQ(motionOf(object), searchAll(clips[i])) << "the motion frames of search --all";
    const auto want =
        scan::groupEvents(motionFrames(object), rules, 0.1,
                          static_cast<int>(object.at("TotalFrames").get<long long>()));
    ASSERT_EQ(object.at("events").size(), want.size());
    for (std::size_t k = 0; k < want.size(); ++k) {
      const Json& e = object.at("events")[k];
      EXPECT_EQ(e.at("number").get<long long>(), want[k].number);
      EXPECT_EQ(e.at("start_frame").get<long long>(), want[k].startFrame);
      EXPECT_EQ(e.at("end_frame").get<long long>(), want[k].endFrame);
      EXPECT_EQ(e.at("peak_frame").get<long long>(), want[k].peakFrame);
      EXPECT_EQ(e.at("clip_from").get<long long>(), want[k].clipFrom);
      EXPECT_EQ(e.at("clip_to").get<long long>(), want[k].clipTo);
      EXPECT_DOUBLE_EQ(e.at("start_s").get<double>(), want[k].startFrame * 0.1);
      ++eventCount;
    }
  }
  const Json& a = report[1];
  ASSERT_EQ(a.at("events").size(), 2u) << "the square comes, then goes";
  EXPECT_EQ(report[2].at("TotalFrames").get<long long>(), 7)
      << "the cut-off recording's whole frames";
  EXPECT_FALSE(report[3].at("opened").get<bool>());
  EXPECT_EQ(report[3].at("ended").get<std::string>(), "refused");
  EXPECT_FALSE(report[3].at("boxes").empty()) << "with its message";
  EXPECT_TRUE(report[4].at("events").empty()) << "one frame: nothing to compare";

  // Each event: a thumbnail of its peak frame with the marks in blue, and its padded run as a
  // clip of its own, byte for byte the source's frames at the source's rate.
  const testing_support::ClipFacts source = testing_support::readClip(clips[1], file("read"));
  for (const Json& e : a.at("events")) {
    const auto picture =
        toolkit::decodeJpeg(readBytes(out + "/" + e.at("thumbnail").get<std::string>()));
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture->width, 320);
    std::size_t blue = 0;
    for (std::size_t p = 0; p < picture->pixels.size(); p += 3) {
      const int r = picture->pixels[p], g = picture->pixels[p + 1], b = picture->pixels[p + 2];
      blue += b > r + 100 && b > g + 100;
    }
    EXPECT_GT(blue, 8u);
    const testing_support::ClipFacts cut =
        testing_support::readClip(out + "/" + e.at("exported").get<std::string>(), file("read"));
    const auto from = static_cast<std::size_t>(e.at("clip_from").get<long long>());
    const auto to = static_cast<std::size_t>(e.at("clip_to").get<long long>());
    ASSERT_EQ(cut.frames.size(), to - from + 1);
    for (std::size_t k = 0; k < cut.frames.size(); ++k) {
      EXPECT_TRUE(cut.frames[k] == source.frames[from + k]) << "frame " << from + k;
    }
    EXPECT_EQ(cut.microSecPerFrame, source.microSecPerFrame);
    EXPECT_NE(e.at("exported").get<std::string>().find("a-"), std::string::npos)
        << "named after the clip";
  }

  // Nothing of the clips without events but their rows; no half-written file.
  for (const auto& entry : std::filesystem::directory_iterator(out)) {
    const std::string name = entry.path().filename().string();
    EXPECT_NE(entry.path().extension(), ".part") << name;
    EXPECT_NE(name.rfind("d-one", 0), 0u) << name;
    EXPECT_NE(name.rfind("c-broken", 0), 0u) << name;
  }

  // The table has a row per event; the page names every clip and loads nothing from elsewhere.
  const auto rows = lines(text(out + "/events.csv"));
  ASSERT_EQ(rows.size(), eventCount + 1);
  EXPECT_EQ(rows[0].rfind("clip,event,start,end,duration_s,start_frame,end_frame,", 0), 0u);
  EXPECT_EQ(rows[2].rfind(clips[0] + ",2,00:00:0", 0), 0u) << rows[2];
  const std::string page = text(out + "/index.html");
  for (const std::string& clip : clips) EXPECT_NE(page.find(clip), std::string::npos) << clip;
  EXPECT_NE(page.find("<svg class=\"strip\""), std::string::npos);
  EXPECT_NE(page.find("<img src=\"" + a.at("events")[0].at("thumbnail").get<std::string>() + "\""),
            std::string::npos);
  EXPECT_EQ(page.find("http"), std::string::npos);
  EXPECT_EQ(page.find("<script"), std::string::npos);

  // --json prints the same objects, and one job finds what three found.
  args = {folder, "--json", "--jobs", "1"};
  args.insert(args.end(), kRules.begin(), kRules.end());
  const ToolRun printed = run(scanCommand, args);
  EXPECT_EQ(printed.status, 1);
  const auto objects = lines(printed.out);
  ASSERT_EQ(objects.size(), clips.size());
  const std::regex files(R"re("(thumbnail|exported)": "[^"]+")re");
  for (std::size_t i = 0; i < clips.size(); ++i) {
    const std::string written = lines(text(out + "/events.json"))[i + 1];
    EXPECT_EQ(
        std::regex_replace(objects[i] + (i + 1 < clips.size() ? "," : ""), files, "\"$1\": null"),
        std::regex_replace(written, files, "\"$1\": null"));
  }
}

TEST_F(HgvtoolScanTest, EventClipsAsVideosPlayTheirFramesAtTheSourcesRate) {
  const std::string clip = sceneClip("walk.HGV", 14, {{100, 60, 48, 4, 9}}, 320, 240);
  for (const char* format : {"mp4", "wmv"}) {
    SCOPED_TRACE(format);
    const std::string out = file(std::string("videos-") + format);
    app::Args args = {clip, "--out", out, "--clips", format, "--json"};
    args.insert(args.end(), kRules.begin(), kRules.end());
    const ToolRun scan = run(scanCommand, args);
    ASSERT_EQ(scan.status, 0) << scan.err;
    const Json object = json(lines(scan.out).at(0));
    ASSERT_FALSE(object.at("events").empty());
    for (const Json& e : object.at("events")) {
      const testing_support::VideoFacts video =
          testing_support::readVideo(out + "/" + e.at("exported").get<std::string>());
      EXPECT_EQ(video.codec, std::string(format) == "mp4" ? "h264" : "wmv2");
      EXPECT_EQ(video.pictures,
                e.at("clip_to").get<long long>() - e.at("clip_from").get<long long>() + 1);
      EXPECT_DOUBLE_EQ(video.fps, 10);
      EXPECT_EQ(video.width, 320);
    }
  }
}

TEST_F(HgvtoolScanTest, BadOptionsAreUsageErrorsThatWriteNothing) {
  const std::string clip = sceneClip("walk.HGV", 4, {}, 320, 240);
  const std::string out = file("nothing");
  for (const app::Args& args :
       {app::Args{}, app::Args{clip, "--jobs", "0"}, app::Args{clip, "--area", "1,2,3"},
        app::Args{clip, "--merge-gap", "-1", "--out", out},
        app::Args{clip, "--min-event", "3x", "--out", out},
        app::Args{clip, "--before", "", "--out", out}, app::Args{clip, "--after"},
        app::Args{clip, "--clips", "gif", "--out", out}, app::Args{clip, "--clips", "mp4"}}) {
    const ToolRun r = run(scanCommand, args);
    EXPECT_EQ(r.status, 2) << ::testing::PrintToString(args);
    EXPECT_EQ(r.err.rfind("usage: hgvtool scan", 0), 0u);
    EXPECT_TRUE(r.out.empty());
  }
  EXPECT_FALSE(std::filesystem::exists(out));
  std::filesystem::create_directories(file("empty"));
  const ToolRun none = run(scanCommand, {file("empty")});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "hgvtool: no .hgv clips found\n");
  const ToolRun gone = run(scanCommand, {file("gone.HGV"), "--json"});
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(json(gone.out).at("opened").get<bool>(), false);
}

}  // namespace
