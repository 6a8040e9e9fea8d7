#pragma once

// Events from the motion frames of a clip: the frames `hgvtool search --all` stops at, grouped
// into runs that a person reads as one happening ("a car came at 0:04 and stayed 2.6 s").
//
//   fd          the clip's frame duration in seconds: dwMicroSecPerFrame / 1,000,000, or 0.1
//               where that is 0;
//   durations   given in seconds ("2.5") or frames ("5f"); seconds become
//               floor(seconds / fd + 0.5) frames;
//   grouping    taking the motion frames in ascending order, an event starts at a motion frame,
//               and the next joins it while it lies at most merge-gap frames after the event's
//               last motion frame; an event is kept when end - start + 1 is at least min-event
//               frames; kept events are numbered from 1.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "search/core/analyse_bmp.h"

namespace scan {

// A frame the searches stopped at, with the corners of the cells they marked on it.
struct MotionFrame {
  int frame = 0;  // from 0
  std::vector<search::CellPoint> marked;
};

// A duration as given on the command line.
struct Duration {
  double seconds = 0;
  std::optional<long long> frames;  // given as "<n>f"

  // "2.5" (seconds) or "5f" (frames), neither negative; nullopt for anything else.
  static std::optional<Duration> parse(const std::string& text);
  // In frames of `fd` seconds, at least `least`.
  int inFrames(double fd, int least) const;
};

struct EventRules {
  Duration mergeGap{2.0, {}};
  Duration minEvent{0.2, {}};
  Duration before{1.5, {}};
  Duration after{2.0, {}};
};

struct Event {
  int number = 0;
  int startFrame = 0;  // first and last motion frame
  int endFrame = 0;
  int motionFrames = 0;
  int peakFrame = 0;  // the most marked cells, the earliest on a tie
  int peakCells = 0;
  // [least X, least Y, greatest X + 8, greatest Y + 8] over all its marks, pixels of the picture.
  std::int32_t box[4] = {0, 0, 0, 0};
  int clipFrom = 0;  // the padded run: start - before and end + after, inside the clip
  int clipTo = 0;
  std::string thumbnail;  // file name beside the report; empty when none was written
  std::string exported;   // the event's own clip beside the report; empty when none

  double startSeconds(double fd) const { return startFrame * fd; }
  double endSeconds(double fd) const { return (endFrame + 1) * fd; }
  double durationSeconds(double fd) const { return (endFrame - startFrame + 1) * fd; }
};

// The frame duration of a clip whose main header gives `microSecPerFrame`.
double frameSeconds(std::uint32_t microSecPerFrame);

// The events of a clip of `totalFrames` frames of `fd` seconds. REQUIRES: `motion` ascending.
std::vector<Event> groupEvents(const std::vector<MotionFrame>& motion, const EventRules& rules,
                               double fd, int totalFrames);

}  // namespace scan
