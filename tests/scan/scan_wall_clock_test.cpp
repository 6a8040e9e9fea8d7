// The scan's events by the clock on the wall: the recording's start from a video's creation time
// or from the file's modification time less the footage, each event's start and end from it in
// the machine's time zone, kept by the journal through --resume and hgvtool report.

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <regex>
#include <sstream>
#include <tuple>

#include "app/hgvtool_commands.h"
#include "scan/json_text.h"
#include "scan/recording_start.h"
#include "tests/support/scene_clips.h"
#include "tests/support/video_maker.h"

namespace scan {
namespace {

using testing_support::lines;
using testing_support::text;
using testing_support::ToolRun;
using Json = nlohmann::json;

constexpr std::int64_t kSecond = 1000000000;
// 2024-05-01T06:12:40Z.
constexpr std::int64_t kMay1 = 1714543960 * kSecond;

// TZ for the length of a test; the machine's own again after it.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) {
    if (const char* was = std::getenv("TZ")) m_was = was;
    set(zone);
  }
  ~TimeZone() {
    if (m_was) {
      setenv("TZ", m_was->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

  void set(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

 private:
  std::optional<std::string> m_was;
};

TEST(RecordingStartTest, TheCreationTimeElseTheModificationTimeLessTheFootage) {
  const std::int64_t modified = kMay1 + 1200000000;  // 1.2 s after
  const RecordingStart fromFile{kMay1, WallClock::Modified};
  EXPECT_EQ(recordingStart(std::nullopt, modified, 12, 100000), fromFile);
  EXPECT_EQ(recordingStart(std::nullopt, modified, 30, 40000), fromFile);
  EXPECT_EQ(recordingStart(std::nullopt, modified, 12, 0), fromFile) << "0 is 0.1 s a frame";
  EXPECT_EQ(recordingStart(1700000000, modified, 12, 100000),
            (RecordingStart{1700000000 * kSecond, WallClock::Recorded}));
  EXPECT_EQ(recordingStart(-2208988800, modified, 12, 100000),
            (RecordingStart{kEarliestStartNs, WallClock::Recorded}));

  // A creation time no camera wrote gives way to the file's time.
  for (const std::int64_t bogus : {std::int64_t{1} << 40, std::numeric_limits<std::int64_t>::min(),
                                   std::int64_t{-2208988801}}) {
    EXPECT_EQ(recordingStart(bogus, modified, 12, 100000), fromFile) << bogus;
  }
  // No start outside 1900 to 2200, and none that the arithmetic could not hold.
  EXPECT_FALSE(recordingStart(std::nullopt, std::numeric_limits<std::int64_t>::max(), 12, 100000));
  EXPECT_FALSE(recordingStart(std::nullopt, kEarliestStartNs, 1, 100000));
  EXPECT_FALSE(recordingStart(std::nullopt, modified, 16777217, 40000));
  EXPECT_FALSE(recordingStart(std::nullopt, modified, 16777216, 4294967295u))
      << "a sum past 64 bits";
  EXPECT_FALSE(recordingStart(std::nullopt, modified, -1, 100000));
  EXPECT_TRUE(recordingStart(std::nullopt, kLatestStartNs, 32767, 4294967295u));
}

TEST(RecordingStartTest, WallTimesAreTheMachinesLocalTimeToTheSecondBelow) {
  TimeZone zone("UTC0");
  const RecordingStart start{kMay1 - 350000000, WallClock::Modified};  // 06:12:39.65
  EXPECT_EQ(wallTime(start, 0, 100000), "2024-05-01T06:12:39+00:00");
  EXPECT_EQ(wallTime(start, 3, 100000), "2024-05-01T06:12:39+00:00") << "39.95";
  EXPECT_EQ(wallTime(start, 4, 100000), "2024-05-01T06:12:40+00:00") << "40.05";
  // 39.7 + 3 x 0.1 s is 40 exactly, not a hair below it as in floating point.
  EXPECT_EQ(wallTime({kMay1 - 300000000, WallClock::Modified}, 3, 100000),
            "2024-05-01T06:12:40+00:00");
  EXPECT_EQ(wallTime({-1, WallClock::Recorded}, 0, 100000), "1969-12-31T23:59:59+00:00");
  EXPECT_EQ(wallTime(start, 16777217, 100000), "") << "more frames than a video holds";

  zone.set("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(wallTime(start, 0, 100000), "2024-05-01T08:12:39+02:00");
  EXPECT_EQ(wallTime({1705363199 * kSecond, WallClock::Recorded}, 0, 100000),
            "2024-01-16T00:59:59+01:00");
  EXPECT_EQ(wallClockOf(wallClockName(WallClock::Recorded)), WallClock::Recorded);
  EXPECT_EQ(wallClockOf(wallClockName(WallClock::Modified)), WallClock::Modified);
  EXPECT_FALSE(wallClockOf("Recorded"));
}

class WallClockScanTest : public testing_support::SceneClipTest {
 protected:
  WallClockScanTest() : m_zone("UTC0") {}

  // A clip of 12 frames of 0.1 s whose square comes at frame 3 and goes at 7, last written at
  // `mtimeNs`.
  std::string clipModifiedAt(const std::string& name, std::int64_t mtimeNs) {
    const std::string clip = sceneClip(name, 12, {{40, 30, 40, 3, 7}}, 160, 120);
    const timespec times[2] = {{0, UTIME_OMIT}, {mtimeNs / kSecond, mtimeNs % kSecond}};
    EXPECT_EQ(::utimensat(AT_FDCWD, clip.c_str(), times, 0), 0);
    return clip;
  }

  static ToolRun scan(app::Args args) {
    args.insert(args.end(), {"--jobs", "1", "--merge-gap", "2f", "--min-event", "1f"});
    std::ostringstream out, err;
    const int status = app::runScan(args, out, err);
    return {status, out.str(), err.str()};
  }

  static ToolRun report(const app::Args& args) {
    std::ostringstream out, err;
    const int status = app::runReport(args, out, err);
    return {status, out.str(), err.str()};
  }

  // "wall_start wall_end wall_clock" of each event of the report's first clip.
  static std::vector<std::string> wallTimes(const std::string& folder) {
    const Json report = parseJson(text(folder + "/events.json")).value_or(Json::array());
    std::vector<std::string> out;
    for (const Json& e : report.at(0).at("events")) {
      std::string row;
      for (const char* key : {"wall_start", "wall_end", "wall_clock"}) {
        const Json& v = e.at(key);
        row += (row.empty() ? "" : " ") + (v.is_null() ? "null" : v.get<std::string>());
      }
      out.push_back(row);
    }
    return out;
  }

  TimeZone m_zone;
};

TEST_F(WallClockScanTest, AClipsEventsTakeTheirTimesFromItsModificationTime) {
  // Written at 06:12:40.85 after 1.2 s of footage: it began at 06:12:39.65.
  const std::string clip = clipModifiedAt("front.HGV", kMay1 + 850000000);
  const std::string out = file("report");
  const ToolRun run = scan({clip, "--out", out});
  ASSERT_EQ(run.status, 0) << run.err;

  EXPECT_EQ(wallTimes(out), (std::vector<std::string>{
                                "2024-05-01T06:12:39+00:00 2024-05-01T06:12:40+00:00 modified",
                                "2024-05-01T06:12:40+00:00 2024-05-01T06:12:40+00:00 modified"}));
  EXPECT_NE(
      run.out.find(": 12 frames, 2 events\n"
                   "  event  start         end           duration   wall clock (file time)\n"
                   "      1  00:00:00.300  00:00:00.400     0.10 s  2024-05-01T06:12:39+00:00\n"
                   "      2  00:00:00.700  00:00:00.800     0.10 s  2024-05-01T06:12:40+00:00\n"),
      std::string::npos)
      << run.out;

  const auto rows = lines(text(out + "/events.csv"));
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0],
            "clip,event,start,end,duration_s,start_frame,end_frame,start_s,end_s,motion_frames,"
            "peak_frame,peak_cells,box,thumbnail,exported,wall_start,wall_end\r");
  EXPECT_EQ(rows[1].substr(rows[1].size() - 53),
            ",2024-05-01T06:12:39+00:00,2024-05-01T06:12:40+00:00\r");

  const std::string page = text(out + "/index.html");
  EXPECT_NE(page.find(" &middot; began <time datetime=\"2024-05-01T06:12:39+00:00\">2024-05-01 "
                      "06:12:39 +00:00</time> (file time)</p>"),
            std::string::npos);
  EXPECT_NE(page.find("<br><time datetime=\"2024-05-01T06:12:40+00:00\">2024-05-01 06:12:40 "
                      "+00:00</time></figcaption>"),
            std::string::npos);
  EXPECT_NE(text(out + "/scan.jsonl")
                .find("\"recording_start_ns\": 1714543959650000000, \"wall_clock\": \"modified\""),
            std::string::npos);
}

TEST_F(WallClockScanTest, ResumeAndReportKeepTheStartAndShowItInTheirOwnZone) {
  const std::string clip = clipModifiedAt("front.HGV", kMay1 + 850000000);
  const std::string out = file("report");
  ASSERT_EQ(scan({clip, "--out", out}).status, 0);

  m_zone.set("CET-1CEST,M3.5.0,M10.5.0/3");
  const std::vector<std::string> summer = {
      "2024-05-01T08:12:39+02:00 2024-05-01T08:12:40+02:00 modified",
      "2024-05-01T08:12:40+02:00 2024-05-01T08:12:40+02:00 modified"};
  const ToolRun resumed = scan({clip, "--out", out, "--resume"});
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  EXPECT_EQ(resumed.out.find("front.HGV:"), std::string::npos) << "taken from the journal";
  EXPECT_EQ(wallTimes(out), summer);

  // The join takes the start from the journal, whatever the file's time now says.
  const timespec later[2] = {{0, UTIME_OMIT}, {1800000000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, clip.c_str(), later, 0), 0);
  const std::string joined = file("joined");
  ASSERT_EQ(report({joined, out}).status, 0);
  EXPECT_EQ(text(joined + "/events.json"), text(out + "/events.json"));
  const std::string kept =
      "\"recording_start_ns\": 1714543959650000000, \"wall_clock\": \"modified\"";
  EXPECT_NE(text(joined + "/scan.jsonl").find(kept), std::string::npos);

  // A clip changed since is scanned anew, from its new time.
  ASSERT_EQ(scan({clip, "--out", out, "--resume"}).status, 0);
  EXPECT_EQ(wallTimes(out).at(0).substr(0, 25), "2027-01-15T08:59:59+01:00");
}

TEST_F(WallClockScanTest, AJournalLineFromBeforeWallClocksIsReadWithout) {
  const std::string clip = clipModifiedAt("front.HGV", kMay1 + 850000000);
  const std::string old = file("old");
  ASSERT_EQ(scan({clip, "--out", old}).status, 0);
  // The line as a scan wrote it before: no start, and its events without times of day.
  const std::regex added(
      R"(, "recording_start_ns": \d+, "wall_clock": "modified"|, "wall_start": "[^"]*", )"
      R"("wall_end": "[^"]*", "wall_clock": "modified")");
  const std::string line = std::regex_replace(text(old + "/scan.jsonl"), added, "");
  ASSERT_EQ(line.find("wall"), std::string::npos) << line;
  testing_support::writeBytes(old + "/scan.jsonl",
                              std::vector<std::uint8_t>(line.begin(), line.end()));

  const std::string joined = file("joined");
  const ToolRun r = report({joined, old});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(wallTimes(joined), (std::vector<std::string>{"null null null", "null null null"}));
  const auto rows = lines(text(joined + "/events.csv"));
  EXPECT_EQ(rows.at(1).substr(rows[1].size() - 8), ".jpg,,,\r") << rows[1];
  EXPECT_EQ(text(joined + "/index.html").find("<time"), std::string::npos);

  const ToolRun resumed = scan({clip, "--out", old, "--resume"});
  EXPECT_EQ(resumed.status, 0);
  EXPECT_EQ(resumed.out.find("front.HGV:"), std::string::npos) << "taken from the journal";
  EXPECT_EQ(text(old + "/events.json"), text(joined + "/events.json"));
}

TEST_F(WallClockScanTest, AVideoWithACreationTimeBeganThenAndOneWithoutByItsFilesTime) {
  testing_support::quietLibav();
  testing_support::VideoRecipe recipe;  // 40 frames at 25 a second: 1.6 s
  recipe.width = 320;
  recipe.height = 240;
  recipe.frames = 40;
  recipe.creationTime = "2024-05-01T06:12:33.000000Z";
  const std::string stamped = file("yard.mp4");
  testing_support::makeVideo(stamped, recipe);
  recipe.creationTime.clear();
  recipe.container = "matroska";
  const std::string plain = file("plain.mkv");
  testing_support::makeVideo(plain, recipe);
  // Written at 06:12:40: it began at 06:12:38.4.
  const timespec modified[2] = {{0, UTIME_OMIT}, {1714543960, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, plain.c_str(), modified, 0), 0);

  const std::string out = file("report");
  const ToolRun run = scan({stamped, plain, "--out", out});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("duration   wall clock (creation time)\n"), std::string::npos);
  EXPECT_NE(run.out.find("duration   wall clock (file time)\n"), std::string::npos);
  const Json report = parseJson(text(out + "/events.json")).value_or(Json());
  ASSERT_EQ(report.size(), 2u);
  // Each event's second, reckoned here in milliseconds from the start.
  for (const auto& [object, startMs, source] :
       {std::tuple(report[0], 38400, "modified"), std::tuple(report[1], 33000, "recorded")}) {
    ASSERT_FALSE(object.at("events").empty()) << "the animal walks in";
    for (const Json& e : object.at("events")) {
      const auto second = [&](long long frame) {
        return "2024-05-01T06:12:" + std::to_string((startMs + frame * 40) / 1000) + "+00:00";
      };
      EXPECT_EQ(e.at("wall_start"), second(e.at("start_frame").get<long long>()));
      EXPECT_EQ(e.at("wall_end"), second(e.at("end_frame").get<long long>() + 1));
      EXPECT_EQ(e.at("wall_clock"), source);
    }
  }
}

}  // namespace
}  // namespace scan
