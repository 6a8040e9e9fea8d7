#include "scan/events.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "search/core/marks.h"

namespace scan {

std::optional<Duration> Duration::parse(const std::string& text) {
  if (text.empty()) return std::nullopt;
  if (text.back() == 'f') {
    const std::string digits = text.substr(0, text.size() - 1);
    if (digits.empty() || digits.size() > 9 ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
      return std::nullopt;
    }
    return Duration{0, std::stoll(digits)};
  }
  // Plain decimals only: no sign, no exponent, no "inf".
  bool point = false, digit = false;
  for (char c : text) {
    if (c == '.' && !point) {
      point = true;
    } else if (c >= '0' && c <= '9') {
      digit = true;
    } else {
      return std::nullopt;
    }
  }
  if (!digit || text.size() > 12) return std::nullopt;
  return Duration{std::stod(text), {}};
}

int Duration::inFrames(double fd, int least) const {
  const double n = frames ? static_cast<double>(*frames) : std::floor(seconds / fd + 0.5);
  return static_cast<int>(std::clamp(n, static_cast<double>(least), static_cast<double>(INT_MAX)));
}

double frameSeconds(std::uint32_t microSecPerFrame) {
  return (microSecPerFrame == 0 ? 100000 : microSecPerFrame) / 1e6;
}

namespace {

void take(Event& event, const MotionFrame& m) {
  event.endFrame = m.frame;
  ++event.motionFrames;
  const int cells = static_cast<int>(m.marked.size());
  if (cells > event.peakCells) {
    event.peakCells = cells;
    event.peakFrame = m.frame;
  }
  for (const search::CellPoint& p : m.marked) {
    event.box[0] = std::min(event.box[0], p.X.value());
    event.box[1] = std::min(event.box[1], p.Y.value());
    event.box[2] = std::max(event.box[2], p.X.value() + search::kMarkSide);
    event.box[3] = std::max(event.box[3], p.Y.value() + search::kMarkSide);
  }
}

}  // namespace

std::vector<Event> groupEvents(const std::vector<MotionFrame>& motion, const EventRules& rules,
                               double fd, int totalFrames) {
  const int gap = rules.mergeGap.inFrames(fd, 1);
  const int least = rules.minEvent.inFrames(fd, 1);
  const int before = rules.before.inFrames(fd, 0);
  const int after = rules.after.inFrames(fd, 0);
  std::vector<Event> events;
  const auto close = [&](Event& event) {
    if (event.endFrame - event.startFrame + 1 < least) return;
    event.number = static_cast<int>(events.size()) + 1;
    event.clipFrom = std::max(0, event.startFrame - before);
    event.clipTo = static_cast<int>(
        std::min<long long>(totalFrames - 1, static_cast<long long>(event.endFrame) + after));
    events.push_back(event);
  };
  Event current;
  bool open = false;
  for (const MotionFrame& m : motion) {
    if (open && static_cast<long long>(m.frame) - current.endFrame > gap) {
      close(current);
      open = false;
    }
    if (!open) {
      current = Event{};
      current.startFrame = m.frame;
      current.peakFrame = m.frame;
      current.peakCells = -1;
      current.box[0] = current.box[1] = INT32_MAX;
      current.box[2] = current.box[3] = INT32_MIN;
      open = true;
    }
    take(current, m);
  }
  if (open) close(current);
  return events;
}

}  // namespace scan
