#pragma once

// hgvtool report: the scans of several folders, the shards of one scan split across machines,
// joined into one report as one scan of all their clips would have written it.

#include <iosfwd>
#include <string>
#include <vector>

namespace scan {

// Joins the journals of `folders` into a report and a journal of their own in `target`, their
// thumbnails and event clips linked or copied beside it. Returns hgvtool's exit status: 0 when
// every record was taken, 1 when one was not or a file cannot be written.
int joinScans(const std::string& target, const std::vector<std::string>& folders, std::ostream& out,
              std::ostream& err);

}  // namespace scan
