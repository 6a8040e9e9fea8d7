#pragma once

// When a clip's footage began by the clock on the wall, and so when each of its events happened.
// A video whose container gives its creation time began then ("recorded"); otherwise the file's
// modification time is taken for the end of the recording, less the footage's duration
// ("modified"), since a camera closes the file when it stops recording.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace scan {

enum class WallClock { Recorded, Modified };

struct RecordingStart {
  std::int64_t unixNs = 0;  // nanoseconds since 1970-01-01 UTC
  WallClock source = WallClock::Modified;
  friend bool operator==(const RecordingStart&, const RecordingStart&) = default;
};

// The starts a record may hold, 1900-01-01 to 2200-01-01 UTC: any clip that starts inside them
// ends inside what 64 bits of nanoseconds hold.
inline constexpr std::int64_t kEarliestStartNs = -2208988800LL * 1000000000LL;
inline constexpr std::int64_t kLatestStartNs = 7258118400LL * 1000000000LL;

// The start of `totalFrames` frames of `microSecPerFrame` each (0: 0.1 s, as frameSeconds takes
// it): `creationTime` (seconds since 1970) when there is one inside the span, else `mtimeNs` less
// their duration; none when neither gives a start inside it.
std::optional<RecordingStart> recordingStart(std::optional<std::int64_t> creationTime,
                                             std::int64_t mtimeNs, int totalFrames,
                                             std::uint32_t microSecPerFrame);

// "recorded" or "modified", as the files name them; nullopt for any other text.
const char* wallClockName(WallClock source);
std::optional<WallClock> wallClockOf(std::string_view name);

// The time of day `frames` frames after `start`, as toolkit::isoLocalTime writes it in the
// machine's time zone, to the second below; empty for a start outside the span or more frames
// than a clip holds.
std::string wallTime(const RecordingStart& start, long long frames, std::uint32_t microSecPerFrame);

}  // namespace scan
