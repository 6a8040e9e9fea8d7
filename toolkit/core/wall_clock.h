#pragma once

// Times of day as the report and hgvtool write them: ISO 8601 in the machine's local time with
// its offset from UTC, "2024-05-01T08:12:33+02:00".

#include <cstdint>
#include <string>

namespace toolkit {

// `unixSeconds`: seconds since 1970-01-01 UTC. Fractions of a second are dropped.
std::string isoLocalTime(double unixSeconds);

}  // namespace toolkit
