#include "fuzz/journal_fuzz.h"

#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

#include "scan/journal.h"
#include "scan/json_text.h"
#include "scan/record.h"
#include "tests/support/memory_file_system.h"
#include "toolkit/core/runtime_error.h"

namespace fuzzing {
namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

// A value the JSON reader took holds finite numbers and UTF-8 strings only, at any depth.
void checkValue(const nlohmann::json& value, int depth) {
  check(depth <= 65);
  if (value.is_number()) check(std::isfinite(value.get<double>()));
  if (value.is_string()) check(scan::isUtf8(value.get_ref<const std::string&>()));
  if (value.is_array()) {
    for (const nlohmann::json& item : value) checkValue(item, depth + 1);
  }
  if (value.is_object()) {
    for (const auto& item : value.items()) {
      check(scan::isUtf8(item.key()));
      checkValue(item.value(), depth + 1);
    }
  }
}

bool inClip(int frame, const scan::ClipScan& scan) {
  return frame >= 0 && frame < scan.totalFrames;
}

void checkRecord(const scan::ClipScan& scan) {
  check(!scan.clip.empty() && std::isfinite(scan.scanSeconds) && scan.scanSeconds >= 0);
  check(scan.totalFrames >= 0 && (scan.opened || scan.totalFrames == 0));
  if (!scan.refused.empty()) check(scan.events.empty() && scan.stamp.size == -1);
  for (const search::ScanBox& box : scan.boxes) {
    for (const search::FrameRun& run : box.frames) {
      check(inClip(run.first, scan) && inClip(run.last, scan) && run.first <= run.last);
    }
  }
  for (const scan::MotionFrame& m : scan.motion) check(inClip(m.frame, scan));
  for (const scan::Event& e : scan.events) {
    check(inClip(e.clipFrom, scan) && e.clipFrom <= e.startFrame && e.startFrame <= e.peakFrame &&
          e.peakFrame <= e.endFrame && e.endFrame <= e.clipTo && inClip(e.clipTo, scan));
    check(e.motionFrames >= 1 && e.peakCells >= 0);
    check(e.thumbnail.empty() || e.thumbnail == scan::eventFileName(scan.clip, e.number, ".jpg"));
    check(e.exported.empty() || scan::isEventFileName(e.exported));
  }
  // Written and read back, a record is itself again, and what is written is JSON.
  const std::string line = scan::recordLine(scan);
  check(scan::isUtf8(line));
  const auto value = scan::parseJson(line);
  check(value.has_value());
  const auto again = scan::recordOf(*value);
  check(again.has_value() && again->refused.empty());
  check(again->clip == scan.clip && again->stamp == scan.stamp && scan::recordLine(*again) == line);
}

}  // namespace

void readJournalBytes(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  for (std::size_t start = 0, end; start < bytes.size(); start = end + 1) {
    end = bytes.find('\n', start);
    if (end == std::string::npos) end = bytes.size();
    if (const auto value = scan::parseJson(std::string_view(bytes).substr(start, end - start))) {
      checkValue(*value, 0);
    }
  }
  testing_support::MemoryFileSystem fs;
  fs.files["/scan/scan.jsonl"].assign(data, data + size);
  for (const scan::ClipScan& scan : scan::readJournal(fs, "/scan")) checkRecord(scan);
  scan::ScanJournal journal(fs, "/scan");
  try {
    journal.open(true);
  } catch (const toolkit::RuntimeError&) {
    std::abort();  // the file is in memory: nothing can fail
  }
  // What --resume keeps is whole lines, and no more than was there.
  const std::vector<std::uint8_t>& kept = fs.files["/scan/scan.jsonl"];
  check(kept.size() <= size && (kept.empty() || kept.back() == '\n'));
  for (const std::string& clip : journal.clips()) check(!clip.empty());
}

}  // namespace fuzzing

#ifdef HG_LIBFUZZER
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzing::readJournalBytes(data, size);
  return 0;
}
#endif
