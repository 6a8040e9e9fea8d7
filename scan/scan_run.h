#pragma once

// The run of hgvtool scan over many clips: the clips found and shared out among the shards,
// several scanned side by side, each printed in order and written to the journal DIR/scan.jsonl
// the moment it is done, and the report rebuilt from the journal. What the run needs of the
// machine beyond its options comes in a ScanEnvironment, so that a test can fill a disk or stop
// the run at a chosen clip.

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "scan/clip_walk.h"
#include "scan/one_clip.h"
#include "search/driver/decode_ahead.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/resource_budget.h"

namespace scan {

struct ScanEnvironment {
  // Where the files beside the report are written; the machine's when null.
  toolkit::FileSystem* files = nullptr;
  // Called once a clip is done and its line is in the journal.
  std::function<void(const ClipScan&)> afterClip;
  // The process's budget of pictures in flight and threads; a scan's own when null.
  toolkit::ResourceBudget* budget = nullptr;
};

// What hgvtool scan was asked to do.
struct ScanJob {
  std::vector<std::string> paths;  // clips and folders
  ScanOptions scan;
  int jobs = search::defaultDecodeThreads();  // clips side by side
  std::string out;                            // the report's folder; none when empty
  bool json = false;                          // JSON lines on `out` instead of tables
  bool resume = false;                        // go on from the journal in `out`
  int shard = 1, shards = 1;
  // What a folder's walk takes, by extension (footageExtensions()).
  std::vector<std::string> extensions = footageExtensions();
};

// Runs the job and returns hgvtool's exit status: 0 when every clip opened and ran to its end, 1
// otherwise or when a file cannot be written, 128 + the signal when `stopSignal` gives one (it is
// asked now and then; 0 for none).
int runScanJob(const ScanJob& job, const ScanEnvironment& env,
               const std::function<int()>& stopSignal, std::ostream& out, std::ostream& err);

// The `shard`-th (from 1) of `shards` shares of `clips`, balanced by the clips' sizes on `files`:
// every clip lies in exactly one share, and the order of `clips` is kept.
std::vector<std::string> shareOf(toolkit::FileSystem& files, const std::vector<std::string>& clips,
                                 int shard, int shards);

}  // namespace scan
