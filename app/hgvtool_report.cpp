// hgvtool report OUT DIR...: the scans of several folders, the shards of one scan split across
// machines, joined into one report as one scan of all their clips would have written it.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

#include "app/hgvtool_support.h"
#include "app/scan_command.h"
#include "app/scan_journal.h"
#include "app/scan_record.h"
#include "app/scan_report.h"
#include "toolkit/core/runtime_error.h"

namespace app {
namespace {

constexpr const char* kUsage = "usage: hgvtool report OUT DIR...\n";

// `name` of `from` beside the report in `to`: a hard link where the two share a disk, else a copy.
void bring(toolkit::FileSystem& files, const std::string& from, const std::string& to,
           const std::string& name) {
  const std::string source = from + "/" + name, target = to + "/" + name;
  std::error_code ec;
  if (std::filesystem::equivalent(source, target, ec)) return;
  toolkit::discardFile(files, target);
  if (::link(source.c_str(), target.c_str()) == 0) return;
  toolkit::replaceFile(files, target, toolkit::bytesOf(toolkit::readWholeFile(files, source)),
                       true);
}

}  // namespace

int runReport(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.size() < 2 || std::any_of(args.begin(), args.end(),
                                     [](const std::string& a) { return a.rfind("--", 0) == 0; })) {
    err << kUsage;
    return 2;
  }
  const std::string target = args[0];
  toolkit::PosixFileSystem files;
  std::vector<ClipScan> all;
  std::vector<std::string> folderOf;  // the folder each record of `all` comes from
  for (std::size_t i = 1; i < args.size(); ++i) {
    if (!files.exists(args[i] + "/scan.jsonl")) {
      err << "hgvtool: " << args[i] << " holds no scan (scan.jsonl)\n";
      return 1;
    }
    for (ClipScan& record : readJournal(files, args[i])) {
      all.push_back(std::move(record));
      folderOf.push_back(args[i]);
    }
  }
  if (!makeFolder(target, err)) return 1;
  try {
    for (std::size_t k = 0; k < all.size(); ++k) {
      for (const Event& e : all[k].events) {
        if (!e.thumbnail.empty()) bring(files, folderOf[k], target, e.thumbnail);
        if (!e.exported.empty()) bring(files, folderOf[k], target, e.exported);
      }
    }
    // The joined journal: the target is a scan folder of its own, to be resumed or joined again.
    const std::vector<ClipScan> joined = latestRecords(all);
    std::string lines;
    for (const ClipScan& record : joined) lines += recordLine(record) + "\n";
    toolkit::replaceFile(files, target + "/scan.jsonl", toolkit::bytesOf(lines), true);
    if (!writeScanReport(files, target, joined, err)) return 1;
    out << reportSummary(joined, target) << "\n";
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: cannot write " << target << ": " << e.description() << "\n";
    return 1;
  }
  return 0;
}

}  // namespace app
