// The grouping of motion frames into events, on motion lists built to hit each edge of the rules.

#include <gtest/gtest.h>

#include "scan/events.h"
#include "scan/json_text.h"

namespace scan {
namespace {

// Motion at these frames, each with `cells` marks at (16 x frame, 32).
std::vector<MotionFrame> motionAt(const std::vector<int>& frames, int cells = 1) {
  std::vector<MotionFrame> motion;
  for (int f : frames) {
    MotionFrame m{f, {}};
    for (int c = 0; c < cells; ++c) m.marked.push_back({16 * f + 16 * c, 32});
    motion.push_back(m);
  }
  return motion;
}

EventRules inFrames(int gap, int least, int before, int after) {
  EventRules r;
  r.mergeGap = {0, gap};
  r.minEvent = {0, least};
  r.before = {0, before};
  r.after = {0, after};
  return r;
}

std::vector<std::pair<int, int>> runs(const std::vector<Event>& events) {
  std::vector<std::pair<int, int>> out;
  for (const Event& e : events) out.emplace_back(e.startFrame, e.endFrame);
  return out;
}

TEST(ScanEventsTest, AGapOfExactlyMergeGapFramesJoinsAndOneMoreSplits) {
  const auto events = groupEvents(motionAt({10, 11, 14, 20}), inFrames(3, 1, 0, 0), 0.1, 100);
  EXPECT_EQ(runs(events), (std::vector<std::pair<int, int>>{{10, 14}, {20, 20}}))
      << "14 is 3 after 11 and joins; 20 is 6 after 14";
  EXPECT_EQ(runs(groupEvents(motionAt({10, 14}), inFrames(3, 1, 0, 0), 0.1, 100)),
            (std::vector<std::pair<int, int>>{{10, 10}, {14, 14}}));
  EXPECT_EQ(events[0].number, 1);
  EXPECT_EQ(events[1].number, 2);
  EXPECT_EQ(events[0].motionFrames, 3);
}

TEST(ScanEventsTest, AnEventOfExactlyMinEventFramesIsKeptAndOneFewerIsNot) {
  const auto events = groupEvents(motionAt({5, 7, 30, 31, 32, 50}), inFrames(2, 3, 0, 0), 0.1, 100);
  EXPECT_EQ(runs(events), (std::vector<std::pair<int, int>>{{5, 7}, {30, 32}}))
      << "5..7 spans 3 frames with 2 motion frames; 50 alone is 1 frame";
  EXPECT_EQ(events[1].number, 2) << "kept events are numbered without gaps";
}

TEST(ScanEventsTest, PaddingIsClampedAtBothEndsOfTheClip) {
  const auto events = groupEvents(motionAt({2, 60, 97}), inFrames(1, 1, 5, 4), 0.1, 100);
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].clipFrom, 0);
  EXPECT_EQ(events[0].clipTo, 6);
  EXPECT_EQ(events[1].clipFrom, 55);
  EXPECT_EQ(events[1].clipTo, 64);
  EXPECT_EQ(events[2].clipFrom, 92);
  EXPECT_EQ(events[2].clipTo, 99);
}

TEST(ScanEventsTest, ThePeakIsTheFrameWithTheMostCellsTheEarliestOnATieAndTheBoxHoldsAllMarks) {
  std::vector<MotionFrame> motion = motionAt({3, 4, 5, 6});
  motion[1].marked.push_back({400, 8});   // frame 4: 2 cells
  motion[3].marked.push_back({16, 200});  // frame 6: 2 cells, later
  const auto events = groupEvents(motion, inFrames(2, 1, 0, 0), 0.1, 10);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].peakFrame, 4);
  EXPECT_EQ(events[0].peakCells, 2);
  EXPECT_EQ(std::vector<int>(events[0].box, events[0].box + 4), (std::vector<int>{16, 8, 408, 208}))
      << "[least X, least Y, greatest X + 8, greatest Y + 8]";
}

TEST(ScanEventsTest, SecondsBecomeFramesOfTheClipAndTheGapAndMinimumAreAtLeastOneFrame) {
  EventRules rules;  // 2 s gap, 0.2 s minimum, 1.5 s before, 2 s after
  // At 12.5 frames a second (fd 0.08): gap 25, minimum 3 (2.5 rounds up), before 19, after 25.
  const auto events = groupEvents(motionAt({30, 55, 81, 82, 83}), rules, 0.08, 200);
  EXPECT_EQ(runs(events), (std::vector<std::pair<int, int>>{{30, 55}, {81, 83}}));
  EXPECT_EQ(events[0].clipFrom, 11);
  EXPECT_EQ(events[0].clipTo, 80);
  EXPECT_DOUBLE_EQ(events[0].startSeconds(0.08), 2.4);
  EXPECT_DOUBLE_EQ(events[0].endSeconds(0.08), 4.48);
  EXPECT_DOUBLE_EQ(events[0].durationSeconds(0.08), 2.08);

  EventRules tiny;
  tiny.mergeGap = *Duration::parse("0");
  tiny.minEvent = *Duration::parse("0f");
  const auto apart = groupEvents(motionAt({3, 4, 6}), tiny, 0.1, 10);
  EXPECT_EQ(runs(apart), (std::vector<std::pair<int, int>>{{3, 4}, {6, 6}}))
      << "a gap of 0 is 1 frame: neighbours join, and a one-frame event is kept";
  EXPECT_DOUBLE_EQ(frameSeconds(0), 0.1) << "a header without a rate plays at ten frames a second";
}

TEST(ScanEventsTest, DurationsAreSecondsOrFramesAndNothingElse) {
  EXPECT_EQ(Duration::parse("2.5")->seconds, 2.5);
  EXPECT_EQ(Duration::parse("5f")->frames, 5);
  EXPECT_EQ(Duration::parse(".5")->seconds, 0.5);
  for (const char* bad : {"", "-1", "3x", "f", "1e3", "2.5.1", "-2f", "inf", "1 ", " 1", "5ff"}) {
    EXPECT_FALSE(Duration::parse(bad).has_value()) << bad;
  }
}

TEST(JsonTest, ReadsBackWhatTheToolWrites) {
  const auto v =
      parseJson(R"({"clip": "a\"b\\c\u0001\u00e9", "n": -12, "x": 0.25, "ok": true, "none": null,)"
                R"( "list": [[1, 2], []], "raw": "é", "ns": 1795442643858102861})");
  ASSERT_TRUE(v.has_value());
  EXPECT_EQ((*v).at("clip").get<std::string>(), std::string("a\"b\\c\x01\xc3\xa9"));
  EXPECT_EQ((*v).at("n").get<long long>(), -12);
  EXPECT_EQ((*v).at("x").get<double>(), 0.25);
  EXPECT_TRUE((*v).at("ok").get<bool>());
  EXPECT_TRUE((*v).at("none").is_null());
  EXPECT_TRUE(member(*v, "missing").is_null());
  EXPECT_EQ((*v).at("list")[0][1].get<long long>(), 2);
  EXPECT_EQ((*v).at("raw").get<std::string>(), "é");
  EXPECT_EQ((*v).at("ns").get<long long>(), 1795442643858102861) << "beyond what a double holds";
  for (const char* bad :
       {"", "{", R"({"a": 1,})", R"({"a" 1})", "[1] 2", "nul", R"("\x")", "{\"a\": \"cut"}) {
    EXPECT_FALSE(parseJson(bad).has_value()) << bad;
  }
  EXPECT_FALSE(parseJson(std::string(100, '[') + std::string(100, ']')).has_value()) << "too deep";
  EXPECT_TRUE(parseJson(std::string(65, '[') + std::string(65, ']')).has_value()) << "64 inside";
  EXPECT_FALSE(parseJson(std::string(66, '[') + std::string(66, ']')).has_value());
  EXPECT_FALSE(parseJson("\xEF\xBB\xBF{}").has_value()) << "a byte order mark";
}

}  // namespace
}  // namespace scan
