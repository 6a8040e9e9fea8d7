#pragma once

// What the command-line fronts of hgvtool share: reading numbers and areas off the command line,
// and writing a file the user named.

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "toolkit/core/rect.h"

namespace app {

// Parses "L,T,R,B", four whole numbers of 32 bits.
bool parseArea(const std::string& text, toolkit::Rect& area);

// Writes bytes to `path` so that no half-written file is left behind: into a neighbour first,
// then renamed over the target. Returns false (and says why on `err`) on failure.
bool writeFileAtomically(const std::string& path, const std::vector<std::uint8_t>& bytes,
                         std::ostream& err);

}  // namespace app
