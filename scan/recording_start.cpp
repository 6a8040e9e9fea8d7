#include "scan/recording_start.h"

#include "toolkit/core/wall_clock.h"

namespace scan {
namespace {

constexpr std::int64_t kNsPerSecond = 1000000000;

// In whole nanoseconds, so that an event's time of day is the same whether it is reckoned from a
// fresh scan or from the journal, and never a second early for a fraction lost.
std::int64_t frameNs(std::uint32_t microSecPerFrame) {
  return (microSecPerFrame == 0 ? 100000 : static_cast<std::int64_t>(microSecPerFrame)) * 1000;
}

bool inSpan(std::int64_t ns) { return ns >= kEarliestStartNs && ns <= kLatestStartNs; }

// More frames than any clip or video holds (the video reader indexes at most 2^24).
constexpr long long kMostFrames = std::int64_t{1} << 24;

// `frames` frames in nanoseconds; none where that would come near the end of 64 bits.
std::optional<std::int64_t> footageNs(long long frames, std::uint32_t microSecPerFrame) {
  const std::int64_t each = frameNs(microSecPerFrame);
  // What is added to a start of the span must stay inside 64 bits.
  constexpr std::int64_t kMost = INT64_MAX - kLatestStartNs;
  if (frames < 0 || frames > kMostFrames || (frames > 0 && each > kMost / frames)) {
    return std::nullopt;
  }
  return frames * each;
}

}  // namespace

std::optional<RecordingStart> recordingStart(std::optional<std::int64_t> creationTime,
                                             std::int64_t mtimeNs, int totalFrames,
                                             std::uint32_t microSecPerFrame) {
  if (creationTime && *creationTime >= kEarliestStartNs / kNsPerSecond &&
      *creationTime <= kLatestStartNs / kNsPerSecond) {
    return RecordingStart{*creationTime * kNsPerSecond, WallClock::Recorded};
  }
  const std::optional<std::int64_t> footage = footageNs(totalFrames, microSecPerFrame);
  if (!footage || !inSpan(mtimeNs)) return std::nullopt;
  const std::int64_t start = mtimeNs - *footage;
  if (!inSpan(start)) return std::nullopt;
  return RecordingStart{start, WallClock::Modified};
}

const char* wallClockName(WallClock source) {
  return source == WallClock::Recorded ? "recorded" : "modified";
}

std::optional<WallClock> wallClockOf(std::string_view name) {
  if (name == "recorded") return WallClock::Recorded;
  if (name == "modified") return WallClock::Modified;
  return std::nullopt;
}

std::string wallTime(const RecordingStart& start, long long frames,
                     std::uint32_t microSecPerFrame) {
  const std::optional<std::int64_t> footage = footageNs(frames, microSecPerFrame);
  if (!footage || !inSpan(start.unixNs)) return {};
  const std::int64_t ns = start.unixNs + *footage;
  // Rounded down, before 1970 too.
  std::int64_t seconds = ns / kNsPerSecond;
  if (ns % kNsPerSecond < 0) --seconds;
  return toolkit::isoLocalTime(static_cast<double>(seconds));
}

}  // namespace scan
