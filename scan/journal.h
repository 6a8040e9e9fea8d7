#pragma once

// DIR/scan.jsonl: the scans done so far, one line a clip, each appended and synced to the disk as
// soon as its clip is done, after the clip's thumbnails and event clips. It is the scan's one
// account of what is done: the report is rebuilt from it, a later --resume goes on from it, and
// `hgvtool report` joins several of them.

#include <string>
#include <unordered_map>
#include <vector>

#include "scan/one_clip.h"
#include "toolkit/core/file_system.h"

namespace scan {

class ScanJournal {
 public:
  // `files` must outlive the journal.
  ScanJournal(toolkit::FileSystem& files, const std::string& folder);

  // Takes up the lines there are (`resume`) or starts a new journal. A last line that is not
  // whole, which a crash in the middle of writing it leaves, is cut off: its clip is scanned
  // again. Throws the file's RuntimeError.
  void open(bool resume);

  // Whether the journal holds a scan of `clip` done on a file of this stamp.
  bool done(const std::string& clip, const FileStamp& stamp) const;

  // Appends the scan's line and syncs it. On a failure (a full disk) the line is cut off again
  // as far as it can be, and the file's RuntimeError is thrown.
  void append(const ClipScan& scan);

  const std::string& path() const { return m_path; }
  // The clips the journal holds a record of, done or not.
  std::vector<std::string> clips() const;

 private:
  toolkit::FileSystem& m_files;
  std::string m_path;
  std::int64_t m_length = 0;
  // Only what tells a clip scanned before from one to scan: the records themselves stay on the
  // disk, so that a month of footage costs no more memory at its end than at its start.
  std::unordered_map<std::string, FileStamp> m_stamps;
};

// Every clip's last record of DIR/scan.jsonl, sorted by the clip's path; read as
// ScanJournal::open(true) reads it, but changing nothing. A record whose file names were refused
// is its clip's problem (ClipScan::refused); `damaged`, when given, counts the lines that hold no
// record at all, a cut-off last one included.
std::vector<ClipScan> readJournal(toolkit::FileSystem& files, const std::string& folder,
                                  int* damaged = nullptr);

// Every clip's last record among `records`, sorted by the clip's path.
std::vector<ClipScan> latestRecords(const std::vector<ClipScan>& records);

}  // namespace scan
