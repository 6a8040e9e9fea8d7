// The report of hgvtool scan: a table for spreadsheets, JSON for scripts and lines for the
// terminal; the page is in report_page.cpp.

#include "scan/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>

#include "scan/json_text.h"
#include "scan/terminal.h"
#include "toolkit/core/runtime_error.h"

namespace scan {

using Json = nlohmann::ordered_json;

namespace {

std::string csv(const std::string& text) {
  // A cell a spreadsheet would take for a formula gets a quote in front, which it shows as text.
  const bool formula =
      !text.empty() && std::string_view("=+-@\t\r").find(text[0]) != std::string_view::npos;
  const std::string s = formula ? "'" + text : text;
  if (s.find_first_of(",\"\r\n") == std::string::npos) return s;
  std::string out = "\"";
  for (char c : s) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

std::string ended(const ClipScan& scan) {
  if (!scan.opened) return "refused";
  return scan.broke ? "error" : "end_of_run";
}

Json corners(const std::vector<search::CellPoint>& marked) {
  Json out = Json::array();
  for (const search::CellPoint& p : marked) out.push_back({p.X.value(), p.Y.value()});
  return out;
}

std::string hexOf(const std::string& bytes) {
  std::string out;
  for (unsigned char c : bytes) {
    out += "0123456789abcdef"[c >> 4];
    out += "0123456789abcdef"[c & 15];
  }
  return out;
}

Json nullable(const std::string& text) { return text.empty() ? Json() : textJson(text); }

Json eventValue(const ClipScan& scan, const Event& e) {
  const double fd = scan.frameSeconds();
  return {{"number", e.number},
          {"start_frame", e.startFrame},
          {"end_frame", e.endFrame},
          {"start_s", secondsJson(e.startSeconds(fd))},
          {"end_s", secondsJson(e.endSeconds(fd))},
          {"duration_s", secondsJson(e.durationSeconds(fd))},
          {"wall_start", nullable(wallStart(scan, e))},
          {"wall_end", nullable(wallEnd(scan, e))},
          {"wall_clock",
           scan.recordingStart ? Json(wallClockName(scan.recordingStart->source)) : Json()},
          {"motion_frames", e.motionFrames},
          {"peak_frame", e.peakFrame},
          {"peak_cells", e.peakCells},
          {"box", {e.box[0], e.box[1], e.box[2], e.box[3]}},
          {"clip_from", e.clipFrom},
          {"clip_to", e.clipTo},
          {"thumbnail", nullable(e.thumbnail)},
          {"exported", nullable(e.exported)}};
}

}  // namespace

std::string secondsText(double s) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", s);
  std::string out = text;
  while (out.back() == '0') out.pop_back();
  if (out.back() == '.') out.pop_back();
  return out;
}

std::string wallStart(const ClipScan& scan, const Event& e) {
  return scan.recordingStart ? wallTime(*scan.recordingStart, e.startFrame, scan.microSecPerFrame)
                             : std::string();
}

std::string wallEnd(const ClipScan& scan, const Event& e) {
  return scan.recordingStart
             ? wallTime(*scan.recordingStart, e.endFrame + 1LL, scan.microSecPerFrame)
             : std::string();
}

std::string clipFileName(const std::string& path) {
  const std::string name = std::filesystem::path(path).filename().string();
  return name.empty() ? path : name;
}

std::string scanCsv(const std::vector<ClipScan>& scans) {
  std::string out =
      "clip,event,start,end,duration_s,start_frame,end_frame,start_s,end_s,motion_frames,"
      "peak_frame,peak_cells,box,thumbnail,exported,wall_start,wall_end\r\n";
  for (const ClipScan& scan : scans) {
    const double fd = scan.frameSeconds();
    for (const Event& e : scan.events) {
      out += csv(scan.clip) + "," + std::to_string(e.number) + "," + clockTime(e.startSeconds(fd)) +
             "," + clockTime(e.endSeconds(fd)) + "," + secondsText(e.durationSeconds(fd)) + "," +
             std::to_string(e.startFrame) + "," + std::to_string(e.endFrame) + "," +
             secondsText(e.startSeconds(fd)) + "," + secondsText(e.endSeconds(fd)) + "," +
             std::to_string(e.motionFrames) + "," + std::to_string(e.peakFrame) + "," +
             std::to_string(e.peakCells) + "," + std::to_string(e.box[0]) + " " +
             std::to_string(e.box[1]) + " " + std::to_string(e.box[2]) + " " +
             std::to_string(e.box[3]) + "," + csv(e.thumbnail) + "," + csv(e.exported) + "," +
             csv(wallStart(scan, e)) + "," + csv(wallEnd(scan, e)) + "\r\n";
    }
  }
  return out;
}

std::string clockTime(double s) {
  const long long ms = std::llround(s * 1000);
  char text[40];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld.%03lld", ms / 3600000, ms / 60000 % 60,
                ms / 1000 % 60, ms % 1000);
  return text;
}

void printScanText(const ClipScan& scan, std::ostream& out) {
  out << terminalText(scan.clip) << ": ";
  if (!scan.opened) {
    out << "not opened";
  } else {
    out << scan.totalFrames << " frames, " << scan.events.size()
        << (scan.events.size() == 1 ? " event" : " events");
    if (scan.broke) out << ", stopped by an error";
  }
  if (!scan.boxes.empty()) out << "\n  " << terminalText(scanMessage(scan));
  out << "\n";
  if (scan.events.empty()) return;
  out << "  event  start         end           duration";
  if (scan.recordingStart) {
    out << (scan.recordingStart->source == WallClock::Recorded ? "   wall clock (creation time)"
                                                               : "   wall clock (file time)");
  }
  out << "\n";
  const double fd = scan.frameSeconds();
  for (const Event& e : scan.events) {
    char line[128];
    std::snprintf(line, sizeof line, "  %5d  %s  %s  %7.2f s", e.number,
                  clockTime(e.startSeconds(fd)).c_str(), clockTime(e.endSeconds(fd)).c_str(),
                  e.durationSeconds(fd));
    out << line;
    if (scan.recordingStart) out << "  " << wallStart(scan, e);
    out << "\n";
  }
}

namespace {

bool write(toolkit::FileSystem& files, const std::string& path, const std::string& text,
           std::ostream& err) {
  try {
    toolkit::replaceFile(files, path, toolkit::bytesOf(text), true);
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: cannot write " << path << ": " << e.description() << "\n";
    return false;
  }
  return true;
}

// At most this many runs of a box's frames are listed in its message; the rest are counted.
constexpr std::size_t kListedRuns = 8;

// " (frames 2-7, 11)", from 1 as the window numbers them.
std::string framesText(const std::vector<search::FrameRun>& runs) {
  if (runs.empty()) return {};
  const bool one = runs.size() == 1 && runs[0].first == runs[0].last;
  std::string out = one ? " (frame " : " (frames ";
  for (std::size_t k = 0; k < runs.size() && k < kListedRuns; ++k) {
    out += (k ? ", " : "") + std::to_string(runs[k].first + 1);
    if (runs[k].last > runs[k].first) out += "-" + std::to_string(runs[k].last + 1);
  }
  if (runs.size() > kListedRuns) {
    out += " and " + std::to_string(runs.size() - kListedRuns) + " more runs";
  }
  return out + ")";
}

}  // namespace

std::string scanMessage(const ClipScan& scan) {
  std::string out;
  for (const search::ScanBox& box : scan.boxes) {
    std::string text = box.box.text;
    for (std::size_t at; (at = text.find("\r\n")) != std::string::npos;) text.replace(at, 2, " ");
    for (char& c : text) {
      if (c == '\r' || c == '\n') c = ' ';
    }
    if (!box.frames.empty()) {
      while (!text.empty() && text.back() == ' ') text.pop_back();
      text += framesText(box.frames);
    }
    if (!out.empty()) out += " | ";
    out += text;
  }
  return out;
}

Json scanValue(const ClipScan& scan) {
  const double fd = scan.frameSeconds();
  Json out = {{"clip", textJson(scan.clip)}};
  // A path that is not UTF-8 is written as JSON can hold it, and its exact bytes beside it.
  if (!isUtf8(scan.clip)) out["clip_bytes"] = hexOf(scan.clip);
  out["opened"] = scan.opened;
  out["ended"] = ended(scan);
  out["TotalFrames"] = scan.totalFrames;
  out["frame_rate"] = secondsJson(1.0 / fd);
  out["duration_s"] = secondsJson(scan.durationSeconds());
  out["boxes"] = boxesValue(scan.boxes);
  Json& motion = out["motion"] = Json::array();
  for (const MotionFrame& m : scan.motion) {
    motion.push_back(
        {{"frame", m.frame}, {"time_s", secondsJson(m.frame * fd)}, {"marked", corners(m.marked)}});
  }
  Json& events = out["events"] = Json::array();
  for (const Event& e : scan.events) events.push_back(eventValue(scan, e));
  return out;
}

std::string scanJson(const ClipScan& scan) { return jsonText(scanValue(scan)); }

bool writeScanReport(toolkit::FileSystem& files, const std::string& folder,
                     const std::vector<ClipScan>& scans, std::ostream& err) {
  std::string json = "[\n";
  for (std::size_t i = 0; i < scans.size(); ++i) {
    json += scanJson(scans[i]) + (i + 1 < scans.size() ? ",\n" : "\n");
  }
  json += "]\n";
  return write(files, folder + "/events.json", json, err) &&
         write(files, folder + "/events.csv", scanCsv(scans), err) &&
         write(files, folder + "/index.html", scanHtml(scans), err);
}

std::string reportSummary(const std::vector<ClipScan>& scans, const std::string& folder) {
  std::size_t events = 0;
  for (const ClipScan& scan : scans) events += scan.events.size();
  return std::to_string(scans.size()) + (scans.size() == 1 ? " clip, " : " clips, ") +
         std::to_string(events) + (events == 1 ? " event" : " events") + ": " +
         terminalText((std::filesystem::path(folder) / "index.html").string());
}

namespace {

Json boxValue(const toolkit::MessageBoxRequest& b) {
  return {{"text", textJson(b.text)},
          {"icon", b.icon == toolkit::MsgIcon::Critical ? Json("critical") : Json()},
          {"title", b.title ? textJson(*b.title) : Json()}};
}

}  // namespace

Json boxesValue(const std::vector<toolkit::MessageBoxRequest>& boxes) {
  Json out = Json::array();
  for (const toolkit::MessageBoxRequest& box : boxes) out.push_back(boxValue(box));
  return out;
}

Json boxesValue(const std::vector<search::ScanBox>& boxes) {
  Json out = Json::array();
  for (const search::ScanBox& box : boxes) {
    Json value = boxValue(box.box);
    if (!box.frames.empty()) {
      Json& frames = value["frames"] = Json::array();
      for (const search::FrameRun& run : box.frames) frames.push_back({run.first, run.last});
    }
    out.push_back(std::move(value));
  }
  return out;
}

std::string boxesJson(const std::vector<toolkit::MessageBoxRequest>& boxes) {
  return jsonText(boxesValue(boxes));
}

std::string boxesJson(const std::vector<search::ScanBox>& boxes) {
  return jsonText(boxesValue(boxes));
}

bool makeFolder(toolkit::FileSystem& files, const std::string& folder, std::ostream& err) {
  std::error_code ec;
  if (!files.makeFolders(folder, ec)) {
    err << "hgvtool: cannot make the folder \"" << terminalText(folder) << "\": " << ec.message()
        << "\n";
    return false;
  }
  return true;
}

}  // namespace scan
