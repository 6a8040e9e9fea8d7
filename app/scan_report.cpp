// The report of hgvtool scan: a page for people, a table for spreadsheets, JSON for scripts.

#include "app/scan_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "app/json_value.h"

namespace app {
namespace {

// Seconds as a plain decimal, to the microsecond a frame rate is given in.
std::string seconds(double s) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6f", s);
  std::string out = text;
  while (out.back() == '0') out.pop_back();
  if (out.back() == '.') out.pop_back();
  return out;
}

// 1:02:03.4 or 2:03.40, as a person reads a time in a video.
std::string clock(double s) {
  const long long hundredths = std::llround(s * 100);
  const long long h = hundredths / 360000, m = hundredths / 6000 % 60;
  const double sec = static_cast<double>(hundredths % 6000) / 100;
  char text[40];
  if (h > 0) {
    std::snprintf(text, sizeof text, "%lld:%02lld:%05.2f", h, m, sec);
  } else {
    std::snprintf(text, sizeof text, "%lld:%05.2f", m, sec);
  }
  return text;
}

std::string html(const std::string& s) {
  std::string out;
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

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

std::string fileName(const std::string& path) {
  const std::string name = std::filesystem::path(path).filename().string();
  return name.empty() ? path : name;
}

std::string corners(const std::vector<search::CellPoint>& marked) {
  std::string out = "[";
  for (std::size_t k = 0; k < marked.size(); ++k) {
    out += std::string(k ? ", " : "") + "[" + std::to_string(marked[k].X.value()) + ", " +
           std::to_string(marked[k].Y.value()) + "]";
  }
  return out + "]";
}

std::string hexOf(const std::string& bytes) {
  std::string out;
  for (unsigned char c : bytes) {
    out += "0123456789abcdef"[c >> 4];
    out += "0123456789abcdef"[c & 15];
  }
  return out;
}

std::string nullable(const std::string& name) { return name.empty() ? "null" : jsonString(name); }

std::string eventJson(const Event& e, double fd) {
  return "{\"number\": " + std::to_string(e.number) +
         ", \"start_frame\": " + std::to_string(e.startFrame) +
         ", \"end_frame\": " + std::to_string(e.endFrame) +
         ", \"start_s\": " + seconds(e.startSeconds(fd)) +
         ", \"end_s\": " + seconds(e.endSeconds(fd)) +
         ", \"duration_s\": " + seconds(e.durationSeconds(fd)) +
         ", \"motion_frames\": " + std::to_string(e.motionFrames) +
         ", \"peak_frame\": " + std::to_string(e.peakFrame) +
         ", \"peak_cells\": " + std::to_string(e.peakCells) + ", \"box\": [" +
         std::to_string(e.box[0]) + ", " + std::to_string(e.box[1]) + ", " +
         std::to_string(e.box[2]) + ", " + std::to_string(e.box[3]) +
         "], \"clip_from\": " + std::to_string(e.clipFrom) +
         ", \"clip_to\": " + std::to_string(e.clipTo) +
         ", \"thumbnail\": " + nullable(e.thumbnail) + ", \"exported\": " + nullable(e.exported) +
         "}";
}

constexpr const char* kStyle = R"(
body { font: 14px/1.45 system-ui, sans-serif; margin: 24px auto; max-width: 1100px; padding: 0 16px;
       color: #1d2329; background: #f4f5f2; }
h1 { font-size: 24px; margin: 0 0 6px; }
h2 { font-size: 17px; margin: 0; }
h2 span { font-weight: normal; color: #6a737c; font-size: 12px; margin-left: 8px; }
.summary { display: flex; flex-wrap: wrap; gap: 10px; margin: 12px 0 20px; }
.summary div { background: #fff; border: 1px solid #d9dcd6; border-radius: 6px; padding: 8px 14px; }
.summary b { display: block; font-size: 20px; font-variant-numeric: tabular-nums; }
.summary span { color: #5a636c; font-size: 12px; }
.problems { background: #fff4f1; border: 1px solid #e7b8ad; border-radius: 6px; padding: 8px 14px;
            margin-bottom: 20px; color: #8a2416; }
.problems li { margin: 4px 0; }
.problems .path { color: #6a737c; font-size: 12px; }
section.clip { background: #fff; border: 1px solid #d9dcd6; border-radius: 6px; padding: 12px 16px;
               margin-bottom: 16px; }
.meta { color: #5a636c; margin: 2px 0 8px; font-variant-numeric: tabular-nums; }
svg.strip { width: 100%; height: 36px; display: block; background: #eef0ec; border-radius: 3px; }
svg.strip .event { fill: #f2c14e; opacity: 0.45; }
svg.strip .cells { fill: #2f6f9f; }
.axis { display: flex; justify-content: space-between; color: #6a737c; font-size: 11px;
        margin: 2px 0 10px; font-variant-numeric: tabular-nums; }
.events { display: flex; flex-wrap: wrap; gap: 12px; }
figure { margin: 0; width: 220px; }
figure img { width: 220px; display: block; border: 1px solid #b9beb5; background: #ddd; }
figcaption { font-size: 12px; color: #39424a; font-variant-numeric: tabular-nums; margin-top: 3px; }
figcaption b { font-size: 13px; color: #1d2329; }
.none { color: #6a737c; font-style: italic; }
.note { color: #6a737c; font-size: 12px; }
)";

// Marked cells per frame as bars, the events shaded behind them; one unit per frame across, no
// script needed to read it.
std::string activityStrip(const ClipScan& scan) {
  const int total = std::max(scan.totalFrames, 1);
  std::size_t most = 1;
  for (const MotionFrame& m : scan.motion) most = std::max(most, m.marked.size());
  std::string out = "<svg class=\"strip\" viewBox=\"0 0 " + std::to_string(total) +
                    " 36\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"activity\">";
  for (const Event& e : scan.events) {
    out += "<rect class=\"event\" x=\"" + std::to_string(e.startFrame) + "\" y=\"0\" width=\"" +
           std::to_string(e.endFrame - e.startFrame + 1) + "\" height=\"36\"/>";
  }
  std::string path;
  for (const MotionFrame& m : scan.motion) {
    const double height = std::max(2.0, 34.0 * static_cast<double>(m.marked.size()) / most);
    char bar[96];
    std::snprintf(bar, sizeof bar, "M%d 36v-%.1fh1v%.1fz", m.frame, height, height);
    path += bar;
  }
  if (!path.empty()) out += "<path class=\"cells\" d=\"" + path + "\"/>";
  return out + "</svg>";
}

std::string eventCard(const ClipScan& scan, const Event& e) {
  const double fd = scan.frameSeconds();
  std::string out = "<figure>";
  // Only names of the scan's own shape: a relative file beside the page, never a path or a link
  // of some scheme that a journal could have put there.
  const bool exported = isEventFileName(e.exported);
  const std::string target = exported ? e.exported : e.thumbnail;
  if (isEventFileName(e.thumbnail)) {
    out += "<a href=\"" + html(target) + "\"><img src=\"" + html(e.thumbnail) + "\" alt=\"event " +
           std::to_string(e.number) + "\" loading=\"lazy\"></a>";
  }
  char duration[32];
  std::snprintf(duration, sizeof duration, "%.1f s", e.durationSeconds(fd));
  out += "<figcaption><b>Event " + std::to_string(e.number) + "</b> " + clock(e.startSeconds(fd)) +
         "&ndash;" + clock(e.endSeconds(fd)) + " &middot; " + duration + "<br>" +
         std::to_string(e.motionFrames) +
         (e.motionFrames == 1 ? " motion frame" : " motion frames") + ", frames " +
         std::to_string(e.startFrame + 1) + "&ndash;" + std::to_string(e.endFrame + 1);
  if (exported) out += " &middot; <a href=\"" + html(e.exported) + "\">clip</a>";
  return out + "</figcaption></figure>";
}

std::string clipSection(const ClipScan& scan) {
  std::string out = "<section class=\"clip\"><h2>" + html(fileName(scan.clip)) + "<span>" +
                    html(scan.clip) + "</span></h2>";
  char rate[32];
  std::snprintf(rate, sizeof rate, "%.4g frames/s", 1.0 / scan.frameSeconds());
  out += "<p class=\"meta\">" + std::to_string(scan.totalFrames) + " frames &middot; " +
         clock(scan.durationSeconds()) + " &middot; " + rate + " &middot; " +
         std::to_string(scan.events.size()) + (scan.events.size() == 1 ? " event" : " events") +
         "</p>";
  out += activityStrip(scan);
  out += "<div class=\"axis\"><span>0:00.00</span><span>" + clock(scan.durationSeconds()) +
         "</span></div>";
  if (scan.events.empty()) {
    out += "<p class=\"none\">Nothing moved in the area.</p>";
  } else {
    out += "<div class=\"events\">";
    for (const Event& e : scan.events) out += eventCard(scan, e);
    out += "</div>";
  }
  return out + "</section>\n";
}

std::string summaryBox(const std::string& value, const std::string& label) {
  return "<div><b>" + value + "</b><span>" + label + "</span></div>";
}

}  // namespace

std::string scanHtml(const std::vector<ClipScan>& scans) {
  double footage = 0, active = 0, scanned = 0;
  long long frames = 0;
  std::size_t events = 0;
  std::vector<const ClipScan*> problems;
  for (const ClipScan& scan : scans) {
    footage += scan.durationSeconds();
    scanned += scan.scanSeconds;
    if (scan.opened) frames += scan.totalFrames;
    events += scan.events.size();
    for (const Event& e : scan.events) active += e.durationSeconds(scan.frameSeconds());
    if (!scan.opened || scan.broke || !scan.boxes.empty()) problems.push_back(&scan);
  }
  char share[32], fps[32], took[32];
  std::snprintf(share, sizeof share, "%.1f %%", footage > 0 ? 100 * active / footage : 0.0);
  std::snprintf(fps, sizeof fps, "%.0f", scanned > 0 ? frames / scanned : 0.0);
  std::snprintf(took, sizeof took, "%.1f s", scanned);
  std::string out =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<title>Harrowglen activity</title>\n<style>";
  out += kStyle;
  out += "</style>\n</head>\n<body>\n<h1>Activity</h1>\n<div class=\"summary\">";
  out += summaryBox(std::to_string(scans.size()), scans.size() == 1 ? "clip" : "clips");
  out += summaryBox(clock(footage), "of footage");
  out += summaryBox(std::to_string(events), events == 1 ? "event" : "events");
  out += summaryBox(clock(active), std::string("with activity, ") + share);
  // The one thing that differs between two scans of the same clips.
  out += "<div class=\"timing\"><b>" + std::string(took) + "</b><span>of scanning, " + fps +
         " frames/s a job</span></div>";
  out += "</div>\n";
  if (!problems.empty()) {
    out += "<div class=\"problems\"><b>Clips with something to say</b><ul>";
    for (const ClipScan* scan : problems) {
      const char* what = !scan->opened ? "not opened" : scan->broke ? "stopped by an error" : "";
      out += "<li><b>" + html(fileName(scan->clip)) + "</b> <span class=\"path\">" +
             html(scan->clip) + "</span> " + what +
             (scanMessage(*scan).empty() ? "" : ": " + html(scanMessage(*scan))) + "</li>";
    }
    out += "</ul></div>\n";
  }
  for (const ClipScan& scan : scans) {
    if (scan.opened) out += clipSection(scan);
  }
  out +=
      "<p class=\"note\">Times are from the start of each clip; frames are numbered as the window "
      "shows them, from 1. An event runs from its first to its last frame with motion in the "
      "search area.</p>\n</body>\n</html>\n";
  return out;
}

std::string scanCsv(const std::vector<ClipScan>& scans) {
  std::string out =
      "clip,event,start,end,duration_s,start_frame,end_frame,start_s,end_s,motion_frames,"
      "peak_frame,peak_cells,box,thumbnail,exported\r\n";
  for (const ClipScan& scan : scans) {
    const double fd = scan.frameSeconds();
    for (const Event& e : scan.events) {
      out += csv(scan.clip) + "," + std::to_string(e.number) + "," + clockTime(e.startSeconds(fd)) +
             "," + clockTime(e.endSeconds(fd)) + "," + seconds(e.durationSeconds(fd)) + "," +
             std::to_string(e.startFrame) + "," + std::to_string(e.endFrame) + "," +
             seconds(e.startSeconds(fd)) + "," + seconds(e.endSeconds(fd)) + "," +
             std::to_string(e.motionFrames) + "," + std::to_string(e.peakFrame) + "," +
             std::to_string(e.peakCells) + "," + std::to_string(e.box[0]) + " " +
             std::to_string(e.box[1]) + " " + std::to_string(e.box[2]) + " " +
             std::to_string(e.box[3]) + "," + csv(e.thumbnail) + "," + csv(e.exported) + "\r\n";
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
  out << "  event  start         end           duration\n";
  const double fd = scan.frameSeconds();
  for (const Event& e : scan.events) {
    char line[128];
    std::snprintf(line, sizeof line, "  %5d  %s  %s  %7.2f s\n", e.number,
                  clockTime(e.startSeconds(fd)).c_str(), clockTime(e.endSeconds(fd)).c_str(),
                  e.durationSeconds(fd));
    out << line;
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
std::string framesText(const std::vector<FrameRun>& runs) {
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
  for (const ScanBox& box : scan.boxes) {
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

std::string scanJson(const ClipScan& scan) {
  const double fd = scan.frameSeconds();
  // A path that is not UTF-8 is written as JSON can hold it, and its exact bytes beside it.
  std::string out = "{\"clip\": " + jsonString(scan.clip) +
                    (isUtf8(scan.clip) ? "" : ", \"clip_bytes\": \"" + hexOf(scan.clip) + "\"") +
                    ", \"opened\": " + (scan.opened ? "true" : "false") + ", \"ended\": \"" +
                    ended(scan) + "\", \"TotalFrames\": " + std::to_string(scan.totalFrames) +
                    ", \"frame_rate\": " + seconds(1.0 / fd) +
                    ", \"duration_s\": " + seconds(scan.durationSeconds()) +
                    ", \"boxes\": " + boxesJson(scan.boxes) + ", \"motion\": [";
  for (std::size_t i = 0; i < scan.motion.size(); ++i) {
    const MotionFrame& m = scan.motion[i];
    out += std::string(i ? ", " : "") + "{\"frame\": " + std::to_string(m.frame) +
           ", \"time_s\": " + seconds(m.frame * fd) + ", \"marked\": " + corners(m.marked) + "}";
  }
  out += "], \"events\": [";
  for (std::size_t i = 0; i < scan.events.size(); ++i) {
    out += std::string(i ? ", " : "") + eventJson(scan.events[i], fd);
  }
  return out + "]}";
}

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

}  // namespace app
