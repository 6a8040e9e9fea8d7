#include "toolkit/core/wall_clock.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace toolkit {

std::string isoLocalTime(double unixSeconds) {
  // Years 1 to 9999: what the format can write, and far inside time_t.
  if (!(unixSeconds > -62135596800.0 && unixSeconds < 253402300800.0)) return {};
  const auto seconds = static_cast<std::time_t>(std::floor(unixSeconds));
  std::tm local{};
  if (!::localtime_r(&seconds, &local)) return {};
  char text[40];
  if (std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local) == 0) return {};
  const long offset = local.tm_gmtoff;
  const long minutes = (offset < 0 ? -offset : offset) / 60;
  char zone[48];
  std::snprintf(zone, sizeof zone, "%c%02ld:%02ld", offset < 0 ? '-' : '+', minutes / 60,
                minutes % 60);
  return std::string(text) + zone;
}

}  // namespace toolkit
