#include "app/scan_record.h"

#include <sys/stat.h>

#include "app/scan_report.h"

namespace app {

std::string recordLine(const ClipScan& scan) {
  std::string line = scanJson(scan);
  line.pop_back();  // the object's closing brace
  char scanned[32];
  std::snprintf(scanned, sizeof scanned, "%.3f", scan.scanSeconds);
  return line + ", \"dwMicroSecPerFrame\": " + std::to_string(scan.microSecPerFrame) +
         ", \"size\": " + std::to_string(scan.stamp.size) +
         ", \"mtime_ns\": " + std::to_string(scan.stamp.mtimeNs) + ", \"scan_s\": " + scanned + "}";
}

namespace {

std::vector<search::CellPoint> cornersOf(const JsonValue& marked) {
  std::vector<search::CellPoint> out;
  for (const JsonValue& p : marked.array()) {
    if (p.array().size() != 2) continue;
    out.push_back({static_cast<std::int32_t>(p.array()[0].integer()),
                   static_cast<std::int32_t>(p.array()[1].integer())});
  }
  return out;
}

Event eventOf(const JsonValue& e) {
  Event event;
  event.number = static_cast<int>(e["number"].integer());
  event.startFrame = static_cast<int>(e["start_frame"].integer());
  event.endFrame = static_cast<int>(e["end_frame"].integer());
  event.motionFrames = static_cast<int>(e["motion_frames"].integer());
  event.peakFrame = static_cast<int>(e["peak_frame"].integer());
  event.peakCells = static_cast<int>(e["peak_cells"].integer());
  for (std::size_t k = 0; k < 4 && k < e["box"].array().size(); ++k) {
    event.box[k] = static_cast<std::int32_t>(e["box"].array()[k].integer());
  }
  event.clipFrom = static_cast<int>(e["clip_from"].integer());
  event.clipTo = static_cast<int>(e["clip_to"].integer());
  event.thumbnail = e["thumbnail"].string();
  event.exported = e["exported"].string();
  return event;
}

}  // namespace

std::optional<ClipScan> recordOf(const JsonValue& line) {
  for (const char* key : {"clip", "opened", "ended", "TotalFrames", "boxes", "motion", "events",
                          "dwMicroSecPerFrame", "size", "mtime_ns"}) {
    if (!line.has(key)) return std::nullopt;
  }
  ClipScan scan;
  scan.clip = line["clip"].string();
  scan.opened = line["opened"].boolean();
  scan.broke = line["ended"].string() == "error";
  scan.totalFrames = static_cast<int>(line["TotalFrames"].integer());
  scan.microSecPerFrame = static_cast<std::uint32_t>(line["dwMicroSecPerFrame"].integer());
  scan.stamp = {line["size"].integer(), line["mtime_ns"].integer()};
  scan.scanSeconds = line["scan_s"].number();
  for (const JsonValue& b : line["boxes"].array()) {
    toolkit::MessageBoxRequest box;
    box.text = b["text"].string();
    box.icon =
        b["icon"].string() == "critical" ? toolkit::MsgIcon::Critical : toolkit::MsgIcon::None;
    if (!b["title"].isNull()) box.title = b["title"].string();
    scan.boxes.push_back(std::move(box));
  }
  for (const JsonValue& m : line["motion"].array()) {
    scan.motion.push_back({static_cast<int>(m["frame"].integer()), cornersOf(m["marked"])});
  }
  for (const JsonValue& e : line["events"].array()) scan.events.push_back(eventOf(e));
  return scan;
}

FileStamp stampOf(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return {};
  return {static_cast<std::int64_t>(st.st_size),
          static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

}  // namespace app
