#include "scan/journal.h"

#include <algorithm>
#include <map>

#include "scan/json_text.h"
#include "scan/record.h"
#include "toolkit/core/runtime_error.h"

namespace scan {
namespace {

// The records of the journal's bytes, how many bytes of whole lines there are, and how many
// lines hold no record, a last one that is not whole included.
std::vector<ClipScan> parse(const std::string& bytes, std::int64_t& wholeBytes, int& damaged) {
  std::vector<ClipScan> records;
  std::size_t start = 0;
  wholeBytes = 0;
  damaged = 0;
  for (std::size_t end; (end = bytes.find('\n', start)) != std::string::npos; start = end + 1) {
    const auto value = parseJson(std::string_view(bytes).substr(start, end - start));
    std::optional<ClipScan> record = value ? recordOf(*value) : std::nullopt;
    // A damaged line inside the journal is passed over; its clip has no record and is scanned.
    if (record) {
      records.push_back(std::move(*record));
    } else {
      ++damaged;
    }
    wholeBytes = static_cast<std::int64_t>(end + 1);
  }
  if (start < bytes.size()) ++damaged;
  return records;
}

std::string journalPath(const std::string& folder) { return folder + "/scan.jsonl"; }

}  // namespace

ScanJournal::ScanJournal(toolkit::FileSystem& files, const std::string& folder)
    : m_files(files), m_path(journalPath(folder)) {}

void ScanJournal::open(bool resume) {
  m_stamps.clear();
  m_length = 0;
  // Someone else's link or FIFO planted in a shared folder is neither read nor written through.
  const toolkit::FileKind there = m_files.kind(m_path);
  if (there != toolkit::FileKind::None && there != toolkit::FileKind::Regular) {
    toolkit::throwNotRegularFile();
  }
  if (resume && m_files.exists(m_path)) {
    const std::string bytes = toolkit::readWholeFile(m_files, m_path);
    int damaged = 0;
    for (const ClipScan& record : parse(bytes, m_length, damaged)) {
      m_stamps[record.clip] = record.stamp;
    }
    if (m_length < static_cast<std::int64_t>(bytes.size())) {
      m_files.openWrite(m_path)->truncate(m_length);
    }
    return;
  }
  auto file = m_files.openWrite(m_path);
  file->truncate(0);
  file->sync();
}

bool ScanJournal::done(const std::string& clip, const FileStamp& stamp) const {
  const auto it = m_stamps.find(clip);
  return it != m_stamps.end() && it->second == stamp && stamp.size >= 0;
}

void ScanJournal::append(const ClipScan& scan) {
  const std::string line = recordLine(scan) + "\n";
  try {
    auto file = m_files.openWrite(m_path);
    file->writeAt(m_length, toolkit::bytesOf(line));
    file->sync();
  } catch (const toolkit::RuntimeError&) {
    try {
      m_files.openWrite(m_path)->truncate(m_length);
    } catch (const toolkit::RuntimeError&) {
      // A later --resume cuts a part of a line off all the same.
    }
    throw;
  }
  m_length += static_cast<std::int64_t>(line.size());
  m_stamps[scan.clip] = scan.stamp;
}

std::vector<std::string> ScanJournal::clips() const {
  std::vector<std::string> out;
  out.reserve(m_stamps.size());
  for (const auto& entry : m_stamps) out.push_back(entry.first);
  return out;
}

std::vector<ClipScan> readJournal(toolkit::FileSystem& files, const std::string& folder,
                                  int* damaged) {
  const std::string path = journalPath(folder);
  if (!files.exists(path)) return {};
  std::int64_t whole = 0;
  int lines = 0;
  std::vector<ClipScan> records = parse(toolkit::readWholeFile(files, path), whole, lines);
  if (damaged) *damaged = lines;
  return latestRecords(records);
}

std::vector<ClipScan> latestRecords(const std::vector<ClipScan>& records) {
  std::map<std::string, const ClipScan*> latest;
  for (const ClipScan& record : records) latest[record.clip] = &record;
  std::vector<ClipScan> out;
  out.reserve(latest.size());
  for (const auto& entry : latest) out.push_back(*entry.second);
  return out;
}

}  // namespace scan
