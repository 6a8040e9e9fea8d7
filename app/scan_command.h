#pragma once

// What hgvtool scan and hgvtool report need of the machine beyond their arguments, so that a test
// can fill a disk or deliver a signal at a chosen clip.

#include <functional>
#include <iosfwd>

#include "app/clip_scan.h"
#include "app/hgvtool_commands.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/resource_budget.h"

namespace app {

struct ScanEnvironment {
  // Where the files beside the report are written; the machine's when null.
  toolkit::FileSystem* files = nullptr;
  // Called once a clip is done and its line is in the journal.
  std::function<void(const ClipScan&)> afterClip;
  // The process's budget of pictures in flight and threads; a scan's own when null.
  toolkit::ResourceBudget* budget = nullptr;
};

int runScan(const Args& args, std::ostream& out, std::ostream& err, const ScanEnvironment& env);

// hgvtool report OUT DIR...: the journals of several scan folders (the shards of one scan) joined
// into one report in OUT, their thumbnails and event clips linked or copied beside it.
int runReport(const Args& args, std::ostream& out, std::ostream& err);

// The `shard`-th (from 1) of `shards` shares of `clips`, balanced by the clips' sizes: every clip
// lies in exactly one share, and the order of `clips` is kept.
std::vector<std::string> shareOf(const std::vector<std::string>& clips, int shard, int shards);

}  // namespace app
