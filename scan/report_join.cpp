// The join of hgvtool report: the scans of several folders, the shards of one scan split across
// machines, joined into one report as one scan of all their clips would have written it.

#include "scan/report_join.h"

#include <algorithm>
#include <map>
#include <ostream>

#include "scan/journal.h"
#include "scan/one_clip.h"
#include "scan/record.h"
#include "scan/report.h"
#include "scan/terminal.h"
#include "toolkit/core/runtime_error.h"

namespace scan {
namespace {

using Args = std::vector<std::string>;

// A clip's last record among the folders, and the folder it comes from.
struct Joined {
  ClipScan scan;
  std::string folder;
};

// The clip's record is not taken: the clip is listed as a problem, and said on `err`.
void refuse(Joined& joined, const std::string& why, std::ostream& err) {
  err << "hgvtool: " << terminalText(joined.folder + "/scan.jsonl") << ": "
      << terminalText(joined.scan.clip) << ": its record was refused: " << terminalText(why)
      << "\n";
  joined.scan = refusedRecord(joined.scan.clip, why);
}

// Every clip's last record over the folders, in the order of its path. False when a folder holds
// no scan. `problems` counts what was not taken: damaged lines and refused records.
bool readFolders(toolkit::FileSystem& files, const Args& folders, std::vector<Joined>& joined,
                 int& problems, std::ostream& err) {
  std::map<std::string, Joined> latest;
  for (const std::string& folder : folders) {
    if (!files.exists(folder + "/scan.jsonl")) {
      err << "hgvtool: " << terminalText(folder) << " holds no scan (scan.jsonl)\n";
      return false;
    }
    int damaged = 0;
    for (ClipScan& record : readJournal(files, folder, &damaged)) {
      const std::string clip = record.clip;
      latest[clip] = {std::move(record), folder};
    }
    if (damaged > 0) {
      err << "hgvtool: " << terminalText(folder + "/scan.jsonl") << ": " << damaged
          << (damaged == 1 ? " damaged line" : " damaged lines") << " passed over\n";
      problems += damaged;
    }
  }
  for (auto& [clip, record] : latest) {
    if (!record.scan.refused.empty()) {
      refuse(record, record.scan.refused, err);
      ++problems;
    }
    joined.push_back(std::move(record));
  }
  return true;
}

// The first of `fault` over the names of the record's event files that is not empty.
template <typename Fault>
std::string firstFault(const ClipScan& scan, Fault fault) {
  for (const Event& e : scan.events) {
    for (const std::string* name : {&e.thumbnail, &e.exported}) {
      if (name->empty()) continue;
      std::string why = fault(*name);
      if (!why.empty()) return why;
    }
  }
  return {};
}

// Two records that name the same file (two clips whose names were made to meet) cannot both have
// it: the later clip's record is refused.
void refuseSharedNames(std::vector<Joined>& joined, int& problems, std::ostream& err) {
  std::map<std::string, std::string> owner;
  for (Joined& j : joined) {
    const std::string why = firstFault(j.scan, [&](const std::string& name) {
      const auto [at, added] = owner.emplace(name, j.scan.clip);
      return added || at->second == j.scan.clip
                 ? std::string()
                 : "its event files have the names of those of " + at->second;
    });
    if (why.empty()) continue;
    refuse(j, why, err);
    ++problems;
  }
}

// `name` of `from` beside the report in `to`: a hard link where the two share a disk, else a copy.
// Only a plain file of `from` is taken, and `to/name` is replaced, never written through. False
// when `from` holds no such file.
bool bring(toolkit::FileSystem& files, const std::string& from, const std::string& to,
           const std::string& name) {
  if (!isEventFileName(name)) return false;
  const std::string source = from + "/" + name, target = to + "/" + name;
  if (files.kind(source) != toolkit::FileKind::Regular) return false;
  if (files.kind(target) == toolkit::FileKind::Regular && files.sameFile(source, target)) {
    return true;
  }
  toolkit::discardFile(files, target);
  if (files.link(source, target)) return true;
  toolkit::replaceFile(files, target, toolkit::bytesOf(toolkit::readWholeFile(files, source)),
                       true);
  return true;
}

// The event files of every record taken, beside the report; a record whose files are not there
// is refused.
void bringFiles(toolkit::FileSystem& files, const std::string& target, std::vector<Joined>& joined,
                int& problems, std::ostream& err) {
  for (Joined& j : joined) {
    const std::string why = firstFault(j.scan, [&](const std::string& name) {
      return bring(files, j.folder, target, name)
                 ? std::string()
                 : "the journal names a file its folder does not hold: " + name;
    });
    if (why.empty()) continue;
    refuse(j, why, err);
    ++problems;
  }
}

}  // namespace

int joinScans(const std::string& target, const std::vector<std::string>& folders, std::ostream& out,
              std::ostream& err) {
  toolkit::PosixFileSystem files;
  std::vector<Joined> joined;
  int problems = 0;
  if (!readFolders(files, folders, joined, problems, err)) return 1;
  refuseSharedNames(joined, problems, err);
  if (!makeFolder(files, target, err)) return 1;
  try {
    bringFiles(files, target, joined, problems, err);
    // The joined journal: the target is a scan folder of its own, to be resumed or joined again.
    std::vector<ClipScan> records;
    std::string lines;
    for (Joined& j : joined) {
      lines += recordLine(j.scan) + "\n";
      records.push_back(std::move(j.scan));
    }
    toolkit::replaceFile(files, target + "/scan.jsonl", toolkit::bytesOf(lines), true);
    if (!writeScanReport(files, target, records, err)) return 1;
    out << reportSummary(records, target) << "\n";
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: cannot write " << terminalText(target) << ": " << e.description() << "\n";
    return 1;
  }
  return problems == 0 ? 0 : 1;
}

}  // namespace scan
