// What the scan writes and reads back is to be trusted whatever a file or a clip's name holds:
// the JSON reader takes only JSON, a journal's record only numbers inside their fields and only
// the file names the scan writes, and the report's JSON, CSV and terminal lines stay what their
// readers take them for.

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "scan/json_text.h"
#include "scan/record.h"
#include "scan/report.h"
#include "scan/terminal.h"
#include "search/driver/tool_session.h"

namespace scan {

using search::addFrame;
using search::FrameRun;
using search::ScanBox;
namespace {

TEST(JsonReaderTest, TakesOnlyWhatJsonAllows) {
  struct Case {
    const char* text;
    bool taken;
  };
  for (const Case& c : std::vector<Case>{
           {"0", true},
           {"-0", true},
           {"1.5e3", true},
           {"-12.25E-2", true},
           {"1e999", false},
           {"-1e999", false},
           {"inf", false},
           {"-inf", false},
           {"nan", false},
           {"-nan", false},
           {"Infinity", false},
           {"01", false},
           {"1.", false},
           {".5", false},
           {"+1", false},
           {"0x10", false},
           {"1e", false},
           {"\"\xc3\xa9\"", true},
           {"\"\xff\"", false},
           {"\"\xc0\xaf\"", false},
           {"\"\xed\xa0\x80\"", false},
           {"\"\xf4\x90\x80\x80\"", false},
           {"\"\xe2\x82\"", false},
           {"\"\\ud800\"", false},
           {"\"\\udc00\"", false},
           {"\"\\ud800\\u0041\"", false},
           {"\"\\u00zz\"", false},
           {"\"\\x41\"", false},
           {"\"a\nb\"", false},
       }) {
    EXPECT_EQ(parseJson(c.text).has_value(), c.taken) << c.text;
  }
  EXPECT_EQ(parseJson("\"\\ud83d\\ude00\\u00e9\\/\"")->get<std::string>(),
            "\xf0\x9f\x98\x80\xc3\xa9/");
  EXPECT_TRUE(wholeNumber(*parseJson("123")).has_value());
  EXPECT_FALSE(wholeNumber(*parseJson("123.0")).has_value());
  EXPECT_FALSE(wholeNumber(*parseJson("99999999999999999999")).has_value()) << "beyond 64 bits";
  EXPECT_FALSE(wholeNumber(*parseJson("9223372036854775808")).has_value()) << "beyond a long long";
  EXPECT_EQ(wholeNumber(*parseJson("-9223372036854775808")), std::numeric_limits<long long>::min());
}

// The library writes every string and number; the separators stay ", " and ": " as the files have
// always had them. Seconds keep their old text (at most six decimals, none trailing, no ".0"),
// and a string's stray bytes each become U+FFFD as before; only a backspace and a form feed are
// now written \b and \f, as the library escapes them.
TEST(JsonWriterTest, TheLibrarysTextWithTheFilesSeparators) {
  const nlohmann::ordered_json value = {
      {"clip", textJson("caf\xe9\xff.HGV")},
      {"times", {secondsJson(0.1 * 3), secondsJson(2.0), secondsJson(1.0 / 3), secondsJson(-0.5)}},
      {"none", nullptr},
      {"text", textJson("a\"b\\c\n\t\x01\b\f\xe2\x82x")},
      {"empty", nlohmann::ordered_json::array()}};
  EXPECT_EQ(
      jsonText(value),
      "{\"clip\": \"caf\xef\xbf\xbd\xef\xbf\xbd.HGV\", \"times\": [0.3, 2, 0.333333, -0.5], "
      "\"none\": null, \"text\": \"a\\\"b\\\\c\\n\\t\\u0001\\b\\f\xef\xbf\xbd\xef\xbf\xbdx\", "
      "\"empty\": []}");
  EXPECT_EQ(jsonText(secondsJson(12345.6789005)), secondsText(12345.6789005));
}

TEST(JsonReaderTest, WrittenStringsAreUtf8AndOrdinaryOnesAreAsBefore) {
  EXPECT_EQ(jsonText(textJson("caf\xe9\xff.HGV")), "\"caf\xef\xbf\xbd\xef\xbf\xbd.HGV\"");
  EXPECT_EQ(jsonText(textJson("a\"b\\c\n\t\x01 \xc3\xa9")),
            "\"a\\\"b\\\\c\\n\\t\\u0001 \xc3\xa9\"");
  EXPECT_EQ(validUtf8("\xe2\x82x"), "\xef\xbf\xbd\xef\xbf\xbdx");
}

// The clip's recording start as the record writes it.
const std::string kStart =
    "\"recording_start_ns\": 1714543959650000000, \"wall_clock\": \"modified\"";

class ScanRecordTest : public ::testing::Test {
 protected:
  ScanRecordTest() {
    scan.clip = "/footage/front.HGV";
    scan.stamp = {1234, 5678};
    scan.opened = true;
    scan.totalFrames = 20;
    scan.microSecPerFrame = 100000;
    scan.boxes = {ScanBox(toolkit::MessageBoxRequest::critical("It is not BMP file. ", "Warning"),
                          {{3, 7}, {10, 10}}),
                  toolkit::MessageBoxRequest::plain("once")};
    scan.motion = {{4, {{8, 16}}}, {5, {{8, 16}, {16, 16}}}, {6, {{8, 24}}}};
    Event e;
    e.number = 1;
    e.startFrame = 4;
    e.endFrame = 6;
    e.motionFrames = 3;
    e.peakFrame = 5;
    e.peakCells = 2;
    e.box[2] = e.box[3] = 24;
    e.clipFrom = 2;
    e.clipTo = 9;
    e.thumbnail = eventFileName(scan.clip, 1, ".jpg");
    e.exported = eventFileName(scan.clip, 1, ".hgv");
    scan.events = {e};
    scan.scanSeconds = 1.5;
    scan.recordingStart = RecordingStart{1714543959650000000, WallClock::Modified};
  }

  // The record's line with `from` replaced by `to`; `from` must be there.
  std::string edited(const std::string& from, const std::string& to) {
    std::string line = recordLine(scan);
    const std::size_t at = line.find(from);
    EXPECT_NE(at, std::string::npos) << from << " in " << line;
    return at == std::string::npos ? line : line.replace(at, from.size(), to);
  }

  static std::optional<ClipScan> read(const std::string& line) {
    const auto value = parseJson(line);
    return value ? recordOf(*value) : std::nullopt;
  }

  ClipScan scan;
};

TEST_F(ScanRecordTest, AWrittenRecordReadsBackAsItself) {
  const std::string line = recordLine(scan);
  EXPECT_NE(line.find("\"boxes\": [{\"text\": \"It is not BMP file. \", \"icon\": \"critical\", "
                      "\"title\": \"Warning\", \"frames\": [[3, 7], [10, 10]]}, {\"text\": "
                      "\"once\", \"icon\": null, \"title\": null}]"),
            std::string::npos)
      << line;
  const auto back = read(line);
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(recordLine(*back), line);
  EXPECT_EQ(back->boxes, scan.boxes);
  EXPECT_EQ(back->stamp, scan.stamp);
  EXPECT_EQ(back->recordingStart, scan.recordingStart);
  EXPECT_EQ(back->events.at(0).exported, scan.events[0].exported);
  EXPECT_TRUE(back->refused.empty());
}

TEST_F(ScanRecordTest, NumbersOutsideTheirFieldsMakeTheLineDamaged) {
  const std::vector<std::pair<std::string, std::string>> edits = {
      {"\"scan_s\": 1.5", "\"scan_s\": -inf"},
      {"\"scan_s\": 1.5", "\"scan_s\": -nan"},
      {"\"scan_s\": 1.5", "\"scan_s\": 1e999"},
      {"\"scan_s\": 1.5", "\"scan_s\": 1e300"},
      {"\"scan_s\": 1.5", "\"scan_s\": -1"},
      {"\"TotalFrames\": 20", "\"TotalFrames\": 16777217"},
      {"\"TotalFrames\": 20", "\"TotalFrames\": -1"},
      {"\"TotalFrames\": 20", "\"TotalFrames\": 20.5"},
      {"\"TotalFrames\": 20", "\"TotalFrames\": \"20\""},
      {"\"frame\": 6", "\"frame\": 20"},
      {"\"frame\": 6", "\"frame\": 5"},
      {"[[3, 7], [10, 10]]", "[[7, 3], [10, 10]]"},
      {"[[3, 7], [10, 10]]", "[[3, 7], [8, 10]]"},
      {"[[3, 7], [10, 10]]", "[[3, 7], [10, 20]]"},
      {"[[3, 7], [10, 10]]", "[]"},
      {"\"number\": 1", "\"number\": 2"},
      {"\"motion_frames\": 3", "\"motion_frames\": 0"},
      {"\"motion_frames\": 3", "\"motion_frames\": 4"},
      {"\"peak_cells\": 2", "\"peak_cells\": -2"},
      {"\"clip_from\": 2", "\"clip_from\": 5"},
      {"\"clip_to\": 9", "\"clip_to\": 20"},
      {"[0, 0, 24, 24]", "[0, 0, 24, 2147483648]"},
      {"[0, 0, 24, 24]", "[0, 0, 24]"},
      {"[[8, 24]]", "[[8]]"},
      {"\"dwMicroSecPerFrame\": 100000", "\"dwMicroSecPerFrame\": 4294967296"},
      {"\"size\": 1234", "\"size\": -2"},
      {"\"mtime_ns\": 5678", "\"mtime_ns\": 9223372036854775808"},
      {"\"icon\": \"critical\"", "\"icon\": \"warning\""},
      {"\"opened\": true", "\"opened\": false"},
      {"\"ended\": \"end_of_run\"", "\"ended\": \"finished\""},
      {"\"clip\": \"/footage/front.HGV\"", "\"clip\": \"\""},
      {"\"clip\": \"/footage/front.HGV\"", "\"clip\": \"/footage/a\\u0000.HGV\""},
      {kStart, "\"recording_start_ns\": 1714543959650000000, \"wall_clock\": \"guessed\""},
      {kStart, "\"recording_start_ns\": 1714543959650000000, \"wall_clock\": null"},
      {kStart, "\"recording_start_ns\": 1714543959650000000"},
      {kStart, "\"wall_clock\": \"modified\""},
      {kStart, "\"recording_start_ns\": 1714543959650000000.5, \"wall_clock\": \"modified\""},
      {kStart, "\"recording_start_ns\": 9000000000000000000, \"wall_clock\": \"modified\""},
      {kStart, "\"recording_start_ns\": -2208988800000000001, \"wall_clock\": \"modified\""},
  };
  for (const auto& [from, to] : edits) EXPECT_FALSE(read(edited(from, to)).has_value()) << to;
}

TEST_F(ScanRecordTest, ALineWithoutARecordingStartGivesEventsWithoutWallTimes) {
  const auto old = read(edited(", " + kStart, ""));
  ASSERT_TRUE(old.has_value());
  EXPECT_FALSE(old->recordingStart.has_value());
  EXPECT_NE(scanJson(*old).find("\"duration_s\": 0.3, \"wall_start\": null, \"wall_end\": null, "
                                "\"wall_clock\": null, \"motion_frames\": 3"),
            std::string::npos);
  const std::string csv = scanCsv({*old});
  EXPECT_EQ(csv.substr(csv.size() - 8), ".hgv,,\r\n");
  std::ostringstream table;
  printScanText(*old, table);
  EXPECT_EQ(
      table.str(),
      "/footage/front.HGV: 20 frames, 1 event\n  It is not BMP file. (frames 4-8, 11) | once\n"
      "  event  start         end           duration\n"
      "      1  00:00:00.400  00:00:00.700     0.30 s\n");
  ClipScan notOpened = refusedRecord(scan.clip, "why");
  notOpened.recordingStart = scan.recordingStart;
  EXPECT_FALSE(read(recordLine(notOpened)).has_value()) << "a clip not opened began at no time";
}

TEST_F(ScanRecordTest, NamesOtherThanTheScansOwnAreRefusedWithTheirReason) {
  const std::string thumbnail = "\"thumbnail\": \"" + scan.events[0].thumbnail + "\"";
  const std::string exported = "\"exported\": \"" + scan.events[0].exported + "\"";
  const std::string outside = "the journal names a file outside its folder: ";
  const std::string foreign = "the journal names a file the scan does not write: ";
  const std::string other = eventFileName("/footage/back.HGV", 1, ".jpg");
  const std::string wrongType = eventFileName(scan.clip, 1, ".jpg");
  for (const auto& [from, to, why] : std::vector<std::array<std::string, 3>>{
           {thumbnail, "\"thumbnail\": \"../.bashrc\"", outside + "../.bashrc"},
           {thumbnail, "\"thumbnail\": \"../../etc/x.jpg\"", outside + "../../etc/x.jpg"},
           {exported, "\"exported\": \"/home/u/.bashrc\"", outside + "/home/u/.bashrc"},
           {exported, "\"exported\": \"javascript:alert(1)\"", foreign + "javascript:alert(1)"},
           {thumbnail, "\"thumbnail\": \"" + other + "\"", foreign + other},
           {exported, "\"exported\": \"" + wrongType + "\"", foreign + wrongType},
           {thumbnail, "\"thumbnail\": \"" + std::string(300, 'x') + "\"",
            foreign + std::string(80, 'x') + "..."},
       }) {
    const auto record = read(edited(from, to));
    ASSERT_TRUE(record.has_value()) << to;
    EXPECT_EQ(record->refused, why);
    EXPECT_FALSE(record->opened);
    EXPECT_TRUE(record->events.empty());
    EXPECT_EQ(record->stamp.size, -1) << "no stamp: --resume scans it again";
    ASSERT_EQ(record->boxes.size(), 1u);
    EXPECT_EQ(record->boxes[0].box.text, "its record was refused: " + why);
    EXPECT_EQ(record->clip, scan.clip);
  }
}

TEST_F(ScanRecordTest, APathThatIsNotUtf8TravelsAsItsExactBytes) {
  EXPECT_EQ(recordLine(scan).find("clip_bytes"), std::string::npos) << "only where it is needed";
  scan.clip = "/f/caf\xe9\xff.HGV";
  scan.events.clear();
  const std::string line = recordLine(scan);
  EXPECT_TRUE(isUtf8(line));
  EXPECT_EQ(line.rfind("{\"clip\": \"/f/caf\xef\xbf\xbd\xef\xbf\xbd.HGV\", \"clip_bytes\": "
                       "\"2f662f636166e9ff2e484756\", \"opened\": true",
                       0),
            0u)
      << line;
  const auto back = read(line);
  ASSERT_TRUE(back.has_value());
  EXPECT_EQ(back->clip, scan.clip);
  EXPECT_FALSE(read(edited("e9ff2e", "41ff2e")).has_value()) << "bytes that do not give the clip";
  EXPECT_FALSE(read(edited("e9ff2e", "E9FF2E")).has_value());
  EXPECT_FALSE(read(edited("e9ff2e", "e9ff2")).has_value());
}

TEST(ScanReportTest, CellsASpreadsheetWouldRunAreWrittenAsText) {
  const std::vector<std::pair<std::string, std::string>> cells = {
      {"=HYPERLINK(\"http://x\",\"y\").HGV", "\"'=HYPERLINK(\"\"http://x\"\",\"\"y\"\").HGV\""},
      {"+1.HGV", "'+1.HGV"},
      {"-1.HGV", "'-1.HGV"},
      {"@SUM(A1).HGV", "'@SUM(A1).HGV"},
      {"\tx.HGV", "'\tx.HGV"},
      {"\rx.HGV", "\"'\rx.HGV\""},
      {"/footage/a=b.HGV", "/footage/a=b.HGV"},
  };
  for (const auto& [clip, cell] : cells) {
    ClipScan scan;
    scan.clip = clip;
    scan.opened = true;
    scan.totalFrames = 5;
    scan.events.resize(1);
    scan.events[0].number = 1;
    const std::string csv = scanCsv({scan});
    const std::string row = csv.substr(csv.find("\r\n") + 2);
    EXPECT_EQ(row.substr(0, cell.size() + 3), cell + ",1,") << clip;
  }
}

TEST(ScanReportTest, ControlCharactersReachTheTerminalEscaped) {
  ClipScan scan;
  scan.clip = "/f/a\x1b]0;owned\x07.HGV";
  scan.boxes = {toolkit::MessageBoxRequest::critical("bad\x1b[2J")};
  std::ostringstream out;
  printScanText(scan, out);
  EXPECT_EQ(out.str(), "/f/a\\x1b]0;owned\\x07.HGV: not opened\n  bad\\x1b[2J\n");
  EXPECT_EQ(terminalText("\xc2\x9b"
                         "1m \x7f \xff caf\xc3\xa9 \t"),
            "\\xc2\\x9b1m \\x7f \\xff caf\xc3\xa9 \\x09");
  EXPECT_EQ(reportSummary({scan}, "/out\x1b"), "1 clip, 0 events: /out\\x1b/index.html");
}

TEST(ScanReportTest, ABoxOfManyFramesIsOneMessageWithItsRuns) {
  ClipScan scan;
  scan.boxes = {
      ScanBox(toolkit::MessageBoxRequest::critical("It is not BMP file. "), {{3, 7}, {10, 10}}),
      ScanBox(toolkit::MessageBoxRequest::critical("Other"), {{2, 2}}),
      toolkit::MessageBoxRequest::critical("Error 7:\r\nOut of memory")};
  EXPECT_EQ(scanMessage(scan),
            "It is not BMP file. (frames 4-8, 11) | Other (frame 3) | Error 7: Out of memory");
  std::vector<FrameRun> many;
  for (int k = 0; k < 10; ++k) many.push_back({3 * k, 3 * k});
  scan.boxes = {ScanBox(toolkit::MessageBoxRequest::plain("x"), many)};
  EXPECT_EQ(scanMessage(scan), "x (frames 1, 4, 7, 10, 13, 16, 19, 22 and 2 more runs)");
}

TEST(ScanReportTest, ThePageLinksOnlyToNamesOfTheScansShape) {
  ClipScan scan;
  scan.clip = "/f/a.HGV";
  scan.opened = true;
  scan.totalFrames = 5;
  scan.events.resize(1);
  scan.events[0].number = 1;
  scan.events[0].thumbnail = "javascript:alert(1)";
  scan.events[0].exported = "../../x.hgv";
  std::string page = scanHtml({scan});
  EXPECT_EQ(page.find("javascript:"), std::string::npos);
  EXPECT_EQ(page.find("href"), std::string::npos);
  scan.events[0].thumbnail = eventFileName(scan.clip, 1, ".jpg");
  page = scanHtml({scan});
  EXPECT_NE(page.find("<a href=\"" + scan.events[0].thumbnail + "\"><img src=\"" +
                      scan.events[0].thumbnail + "\""),
            std::string::npos);
}

TEST(ScanBoxTest, FramesJoinIntoRunsWhateverTheirOrder) {
  struct Case {
    std::vector<int> frames;
    std::vector<FrameRun> runs;
  };
  for (const Case& c : std::vector<Case>{
           {{3, 4, 5, 6, 7, 10}, {{3, 7}, {10, 10}}},
           {{10, 3, 5, 4, 4, 7, 6}, {{3, 7}, {10, 10}}},
           {{1, 3, 2}, {{1, 3}}},
           {{5, 1, 9, 3, 7}, {{1, 1}, {3, 3}, {5, 5}, {7, 7}, {9, 9}}},
           {{0, 8, 4, 2, 6, 1, 3, 5, 7}, {{0, 8}}},
       }) {
    std::vector<FrameRun> runs;
    for (int f : c.frames) addFrame(runs, f);
    EXPECT_EQ(runs, c.runs) << ::testing::PrintToString(c.frames);
  }
}

TEST(EventFileNameTest, NamesCarrySixtyFourBitsOfTheirPathAndKeepTheirShape) {
  EXPECT_EQ(eventFileName("card/a.HGV", 2, ".jpg"), "a-24d94ac2b2ec8b9e-event02.jpg");
  // These two met in the 32 bits the names once carried, and wrote over each other's files.
  EXPECT_EQ(eventFileName("cam58415/front.hgv", 1, ".jpg"), "front-85854b7cf6060984-event01.jpg");
  EXPECT_EQ(eventFileName("cam187967/front.hgv", 1, ".jpg"), "front-85854b7c7191b08b-event01.jpg");
  EXPECT_EQ(eventFileName("/f/caf\xc3\xa9 1.HGV", 12, ".mp4").substr(0, 8), "caf___1-");
  for (const std::string& name : {eventFileName("/f/a.HGV", 1, ".jpg"),
                                  eventFileName("/f/" + std::string(60, 'z'), 100, ".wmv"),
                                  std::string("-0123456789abcdef-event01.hgv")}) {
    EXPECT_TRUE(isEventFileName(name)) << name;
  }
  for (const char* name :
       {"../a-24d94ac2b2ec8b9e-event02.jpg", "/a-24d94ac2b2ec8b9e-event02.jpg",
        "a/b-24d94ac2b2ec8b9e-event02.jpg", "javascript:alert(1)", "a-24D94AC2B2EC8B9E-event02.jpg",
        "a-24d94ac2-event02.jpg", "a-24d94ac2b2ec8b9e-event2.jpg", "a-24d94ac2b2ec8b9e-event02.exe",
        "a-24d94ac2b2ec8b9e-event02", "a b-24d94ac2b2ec8b9e-event02.jpg", ".jpg", "",
        "a-24d94ac2b2ec8b9e-event02.jpg/", "a24d94ac2b2ec8b9e0-event02.jpg"}) {
    EXPECT_FALSE(isEventFileName(name)) << name;
  }
  const std::string tooLong = std::string(41, 'a') + "-24d94ac2b2ec8b9e-event02.jpg";
  EXPECT_FALSE(isEventFileName(tooLong));
  EXPECT_TRUE(clipsSharingNames({"/f/a.HGV", "/g/a.HGV"}, {"/f/a.HGV"}).empty());
}

}  // namespace
}  // namespace scan
