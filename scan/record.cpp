#include "scan/record.h"

#include <cmath>
#include <limits>

#include "scan/report.h"
#include "video/video_file.h"

namespace scan {

using search::FrameRun;
using search::ScanBox;
using Json = nlohmann::json;

std::string recordLine(const ClipScan& scan) {
  nlohmann::ordered_json line = scanValue(scan);
  line["dwMicroSecPerFrame"] = scan.microSecPerFrame;
  line["size"] = scan.stamp.size;
  line["mtime_ns"] = scan.stamp.mtimeNs;
  if (scan.recordingStart) {
    line["recording_start_ns"] = scan.recordingStart->unixNs;
    line["wall_clock"] = wallClockName(scan.recordingStart->source);
  }
  // To the millisecond: how long a scan took is a figure for people, not for the report's times.
  line["scan_s"] = std::round(scan.scanSeconds * 1000) / 1000;
  return jsonText(line);
}

namespace {

// A line that holds no record: a field missing, of another kind, or out of its range.
struct Damaged {};

constexpr long long kInt32Min = std::numeric_limits<std::int32_t>::min();
constexpr long long kInt32Max = std::numeric_limits<std::int32_t>::max();
// Longer than any scan: a larger figure is damage, and would not fit the report's columns.
constexpr double kMostScanSeconds = 1e9;

long long whole(const Json& v, long long least, long long most) {
  const std::optional<long long> n = wholeNumber(v);
  if (!n || *n < least || *n > most) throw Damaged{};
  return *n;
}

int frameOf(const Json& v, int totalFrames) {
  return static_cast<int>(whole(v, 0, totalFrames - 1LL));
}

const std::string& text(const Json& v) {
  if (!v.is_string()) throw Damaged{};
  return v.get_ref<const std::string&>();
}

const Json& list(const Json& v, std::size_t size = 0) {
  if (!v.is_array() || (size && v.size() != size)) throw Damaged{};
  return v;
}

// The clip's path: "clip" where it is UTF-8, else the exact bytes of "clip_bytes" in hex, which
// must give "clip" once their stray bytes are replaced.
std::string clipOf(const Json& line) {
  std::string clip = text(member(line, "clip"));
  if (line.contains("clip_bytes")) {
    const std::string& hex = text(member(line, "clip_bytes"));
    if (hex.size() % 2 != 0) throw Damaged{};
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
      const auto digit = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        throw Damaged{};
      };
      bytes += static_cast<char>(digit(hex[i]) << 4 | digit(hex[i + 1]));
    }
    if (validUtf8(bytes) != clip) throw Damaged{};
    clip = std::move(bytes);
  }
  if (clip.empty() || clip.find('\0') != std::string::npos) throw Damaged{};
  return clip;
}

std::vector<FrameRun> runsOf(const Json& frames, int totalFrames) {
  std::vector<FrameRun> runs;
  if (frames.is_null()) return runs;
  for (const Json& r : list(frames)) {
    const FrameRun run{frameOf(list(r, 2)[0], totalFrames), frameOf(r[1], totalFrames)};
    // Ascending and apart, as the scan gathers them.
    if (run.last < run.first || (!runs.empty() && run.first <= runs.back().last + 1)) {
      throw Damaged{};
    }
    runs.push_back(run);
  }
  if (runs.empty()) throw Damaged{};  // a box of no frame is written without "frames"
  return runs;
}

ScanBox boxOf(const Json& b, int totalFrames) {
  ScanBox box;
  box.box.text = text(member(b, "text"));
  const Json& icon = member(b, "icon");
  if (!icon.is_null() && text(icon) != "critical") throw Damaged{};
  box.box.icon = icon.is_null() ? toolkit::MsgIcon::None : toolkit::MsgIcon::Critical;
  if (!member(b, "title").is_null()) box.box.title = text(member(b, "title"));
  box.frames = runsOf(member(b, "frames"), totalFrames);
  return box;
}

MotionFrame motionOf(const Json& m, int totalFrames) {
  MotionFrame motion{frameOf(member(m, "frame"), totalFrames), {}};
  for (const Json& p : list(member(m, "marked"))) {
    motion.marked.push_back({static_cast<std::int32_t>(whole(list(p, 2)[0], kInt32Min, kInt32Max)),
                             static_cast<std::int32_t>(whole(p[1], kInt32Min, kInt32Max))});
  }
  return motion;
}

std::string nameOf(const Json& v) { return v.is_null() ? std::string() : text(v); }

// An event lies inside its clip, in the order the grouping gives its frames.
Event eventOf(const Json& e, int number, int totalFrames) {
  Event event;
  event.number = static_cast<int>(whole(member(e, "number"), number, number));
  event.clipFrom = frameOf(member(e, "clip_from"), totalFrames);
  event.startFrame =
      static_cast<int>(whole(member(e, "start_frame"), event.clipFrom, totalFrames - 1LL));
  event.peakFrame =
      static_cast<int>(whole(member(e, "peak_frame"), event.startFrame, totalFrames - 1LL));
  event.endFrame =
      static_cast<int>(whole(member(e, "end_frame"), event.peakFrame, totalFrames - 1LL));
  event.clipTo = static_cast<int>(whole(member(e, "clip_to"), event.endFrame, totalFrames - 1LL));
  event.motionFrames = static_cast<int>(
      whole(member(e, "motion_frames"), 1, event.endFrame - event.startFrame + 1LL));
  event.peakCells = static_cast<int>(whole(member(e, "peak_cells"), 0, kInt32Max));
  for (std::size_t k = 0; k < 4; ++k) {
    event.box[k] =
        static_cast<std::int32_t>(whole(list(member(e, "box"), 4)[k], kInt32Min, kInt32Max));
  }
  event.thumbnail = nameOf(member(e, "thumbnail"));
  event.exported = nameOf(member(e, "exported"));
  return event;
}

// The clip's recording start; none in a line written before the scan kept one.
std::optional<RecordingStart> recordingStartOf(const Json& line, bool opened) {
  const bool start = line.contains("recording_start_ns");
  if (start != line.contains("wall_clock")) throw Damaged{};
  if (!start) return std::nullopt;
  const std::optional<WallClock> source = wallClockOf(text(member(line, "wall_clock")));
  if (!source || !opened) throw Damaged{};
  return RecordingStart{whole(member(line, "recording_start_ns"), kEarliestStartNs, kLatestStartNs),
                        *source};
}

ClipScan scanOf(const Json& line) {
  for (const char* key : {"clip", "opened", "ended", "TotalFrames", "boxes", "motion", "events",
                          "dwMicroSecPerFrame", "size", "mtime_ns"}) {
    if (!line.contains(key)) throw Damaged{};
  }
  ClipScan scan;
  scan.clip = clipOf(line);
  if (!member(line, "opened").is_boolean()) throw Damaged{};
  scan.opened = member(line, "opened").get<bool>();
  const std::string& ended = text(member(line, "ended"));
  const bool known = ended == "refused" || ended == "error" || ended == "end_of_run";
  if (!known || (ended == "refused") == scan.opened) throw Damaged{};
  scan.broke = ended == "error";
  // A clip that did not open has no frames: nothing of it can lie inside it.
  scan.totalFrames =
      static_cast<int>(whole(member(line, "TotalFrames"), 0, scan.opened ? video::kMaxFrames : 0));
  scan.microSecPerFrame = static_cast<std::uint32_t>(
      whole(member(line, "dwMicroSecPerFrame"), 0, std::numeric_limits<std::uint32_t>::max()));
  scan.stamp = {whole(member(line, "size"), -1, std::numeric_limits<std::int64_t>::max()),
                whole(member(line, "mtime_ns"), std::numeric_limits<std::int64_t>::min(),
                      std::numeric_limits<std::int64_t>::max())};
  scan.recordingStart = recordingStartOf(line, scan.opened);
  if (line.contains("scan_s")) {
    const Json& took = member(line, "scan_s");
    if (!took.is_number() || !(took.get<double>() >= 0) || took.get<double>() > kMostScanSeconds) {
      throw Damaged{};
    }
    scan.scanSeconds = took.get<double>();
  }
  for (const Json& b : list(member(line, "boxes")))
    scan.boxes.push_back(boxOf(b, scan.totalFrames));
  for (const Json& m : list(member(line, "motion"))) {
    scan.motion.push_back(motionOf(m, scan.totalFrames));
    // The grouping into events takes the motion frames in ascending order.
    const std::size_t n = scan.motion.size();
    if (n > 1 && scan.motion[n - 1].frame <= scan.motion[n - 2].frame) {
      throw Damaged{};
    }
  }
  for (const Json& e : list(member(line, "events"))) {
    scan.events.push_back(eventOf(e, static_cast<int>(scan.events.size()) + 1, scan.totalFrames));
  }
  return scan;
}

// At most this much of a refused name is repeated in the message.
constexpr std::size_t kShownName = 80;

// Why `name`, the file of `event` of `clip` as a journal gives it, is not one the scan writes;
// empty when it is: exactly eventFileName's for that clip and event, with one of `extensions`.
std::string nameFault(const std::string& name, const std::string& clip, int event,
                      std::initializer_list<const char*> extensions) {
  if (name.empty()) return {};
  for (const char* extension : extensions) {
    if (name == eventFileName(clip, event, extension)) return {};
  }
  const std::string shown = name.size() > kShownName ? name.substr(0, kShownName) + "..." : name;
  const bool outside = name.find('/') != std::string::npos || name.find("..") != std::string::npos;
  return (outside ? "the journal names a file outside its folder: "
                  : "the journal names a file the scan does not write: ") +
         shown;
}

}  // namespace

std::optional<ClipScan> recordOf(const nlohmann::json& line) {
  ClipScan scan;
  try {
    scan = scanOf(line);
  } catch (const Damaged&) {
    return std::nullopt;
  }
  for (const Event& e : scan.events) {
    std::string fault = nameFault(e.thumbnail, scan.clip, e.number, {".jpg"});
    if (fault.empty()) fault = nameFault(e.exported, scan.clip, e.number, {".hgv", ".wmv", ".mp4"});
    if (fault.empty()) continue;
    return refusedRecord(scan.clip, fault);
  }
  return scan;
}

ClipScan refusedRecord(const std::string& clip, const std::string& why) {
  ClipScan scan;
  scan.clip = clip;
  scan.microSecPerFrame = 100000;
  scan.refused = why;
  scan.boxes.push_back(toolkit::MessageBoxRequest::critical("its record was refused: " + why));
  return scan;
}

FileStamp stampOf(toolkit::FileSystem& files, const std::string& path) {
  const toolkit::FileFacts facts = files.facts(path);
  if (facts.kind == toolkit::FileKind::None) return {};
  return {facts.size, facts.mtimeNs};
}

}  // namespace scan
