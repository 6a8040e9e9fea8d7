#pragma once

// A clip's scan as one line of DIR/scan.jsonl: the object events.json holds for the clip, and
// beside it what a later run needs to take the line for the clip again: the clip file's size and
// modification time (a changed clip is scanned anew), its frame duration and recording start
// (every time of the report comes back from the line alone) and how long its scan took. A line
// without a recording start, as older scans wrote them, gives a clip without one.

#include <cstdint>
#include <optional>
#include <string>

#include "scan/json_text.h"
#include "scan/one_clip.h"

namespace scan {

// The clip's whole line, without its line break.
std::string recordLine(const ClipScan& scan);

// The scan a line holds; nullopt for a line that is not a whole record, or whose numbers do not
// fit their fields (a frame outside the clip, a negative count). A record that names a file other
// than the one the scan writes for its event (a path, a link of a scheme) is not taken: its clip
// comes back as a problem, not opened, with `refused` and a box saying why, and no stamp.
std::optional<ClipScan> recordOf(const nlohmann::json& line);

// A clip whose record was not taken, listed with `why`: not opened, with a box saying why, and no
// stamp, so that --resume scans it again.
ClipScan refusedRecord(const std::string& clip, const std::string& why);

// The size and modification time of the file at `path`, a link followed; size -1 when there is
// none.
FileStamp stampOf(toolkit::FileSystem& files, const std::string& path);

}  // namespace scan
