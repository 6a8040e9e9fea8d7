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

// More frames than any clip or video holds (TotalFrames is 16 bits). So many at the longest frame
// duration come to 1.4e17 ns: no sum below leaves 64 bits.
constexpr long long kMostFrames = 32768;

}  // namespace

std::optional<RecordingStart> recordingStart(std::optional<std::int64_t> creationTime,
                                             std::int64_t mtimeNs, int totalFrames,
                                             std::uint32_t microSecPerFrame) {
  if (creationTime && *creationTime >= kEarliestStartNs / kNsPerSecond &&
      *creationTime <= kLatestStartNs / kNsPerSecond) {
    return RecordingStart{*creationTime * kNsPerSecond, WallClock::Recorded};
  }
  if (totalFrames < 0 || totalFrames > kMostFrames || !inSpan(mtimeNs)) return std::nullopt;
  const std::int64_t start = mtimeNs - totalFrames * frameNs(microSecPerFrame);
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
  if (frames < 0 || frames > kMostFrames || !inSpan(start.unixNs)) return {};
  const std::int64_t ns = start.unixNs + frames * frameNs(microSecPerFrame);
  // Rounded down, before 1970 too.
  std::int64_t seconds = ns / kNsPerSecond;
  if (ns % kNsPerSecond < 0) --seconds;
  return toolkit::isoLocalTime(static_cast<double>(seconds));
}

}  // namespace scan
