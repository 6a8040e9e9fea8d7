// The report of hgvtool scan: a page for people, a table for spreadsheets, JSON for scripts.

#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>

#include "app/clip_scan.h"
#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"

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

std::string csv(const std::string& s) {
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

double duration(const ClipScan& scan) { return scan.totalFrames * scan.secondsPerFrame; }

std::string fileName(const std::string& path) {
  const std::string name = std::filesystem::path(path).filename().string();
  return name.empty() ? path : name;
}

std::string csvReport(const std::vector<ClipScan>& scans) {
  std::string out =
      "clip,opened,ended,frames,duration_s,events,frame,time_s,marked_cells,thumbnail,message\r\n";
  for (const ClipScan& scan : scans) {
    const std::string head = csv(scan.clip) + "," + (scan.opened ? "true" : "false") + "," +
                             ended(scan) + "," + std::to_string(scan.totalFrames) + "," +
                             seconds(duration(scan)) + "," + std::to_string(scan.events.size()) +
                             ",";
    const std::string tail = "," + csv(scanMessage(scan)) + "\r\n";
    if (scan.events.empty()) out += head + ",,," + tail;
    for (const ScanEvent& e : scan.events) {
      out += head + std::to_string(e.frame) + "," + seconds(e.seconds) + "," +
             std::to_string(e.marked.size()) + "," + csv(e.thumbnail) + tail;
    }
  }
  return out;
}

constexpr const char* kStyle = R"(
body { font: 14px/1.4 system-ui, sans-serif; margin: 24px; color: #1d2329; background: #f4f5f2; }
h1 { font-size: 22px; margin: 0 0 4px; }
p.summary { margin: 0 0 16px; color: #4a535c; }
table { border-collapse: collapse; width: 100%; background: #fff; }
th, td { text-align: left; vertical-align: top; padding: 8px 10px; border-bottom: 1px solid #d9dcd6; }
th { background: #2f3b45; color: #fff; font-weight: 600; position: sticky; top: 0; }
td.num { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
td.name { white-space: nowrap; font-weight: 600; }
td.name span { display: block; font-weight: normal; color: #6a737c; font-size: 12px; }
tr.refused td, tr.error td.note { color: #a3261b; }
.note { font-size: 12px; max-width: 28em; }
.events { display: flex; flex-wrap: wrap; gap: 8px; }
figure { margin: 0; width: 164px; }
figure img { width: 164px; display: block; border: 1px solid #b9beb5; background: #ddd; }
figcaption { font-size: 12px; color: #39424a; font-variant-numeric: tabular-nums; }
.none { color: #6a737c; }
)";

std::string htmlReport(const std::vector<ClipScan>& scans) {
  std::size_t events = 0, refused = 0;
  for (const ClipScan& scan : scans) {
    events += scan.events.size();
    if (!scan.opened) ++refused;
  }
  std::string out =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<title>Harrowglen activity</title>\n<style>";
  out += kStyle;
  out += "</style>\n</head>\n<body>\n<h1>Activity</h1>\n<p class=\"summary\">" +
         std::to_string(scans.size()) + (scans.size() == 1 ? " clip, " : " clips, ") +
         std::to_string(events) + (events == 1 ? " event" : " events");
  if (refused > 0) out += ", " + std::to_string(refused) + " not opened";
  out +=
      ". Frames are numbered as the window shows them, from 1; times are from the start of the "
      "clip.</p>\n<table>\n<thead><tr><th>Clip</th><th>Frames</th><th>Duration</th>"
      "<th>Events</th><th>Where something moved</th></tr></thead>\n<tbody>\n";
  for (const ClipScan& scan : scans) {
    const std::string kind = scan.opened ? (scan.broke ? "error" : "ok") : "refused";
    out += "<tr class=\"" + kind + "\"><td class=\"name\">" + html(fileName(scan.clip)) + "<span>" +
           html(scan.clip) + "</span></td>";
    out += "<td class=\"num\">" + std::to_string(scan.totalFrames) + "</td><td class=\"num\">" +
           (scan.opened ? clock(duration(scan)) : "") + "</td><td class=\"num\">" +
           std::to_string(scan.events.size()) + "</td><td>";
    const std::string note = scanMessage(scan);
    if (!note.empty()) out += "<p class=\"note\">" + html(note) + "</p>";
    if (scan.events.empty()) {
      out += scan.opened ? "<span class=\"none\">nothing moved in the area</span>" : "";
    } else {
      out += "<div class=\"events\">";
      for (const ScanEvent& e : scan.events) {
        const std::string label = "frame " + std::to_string(e.frame + 1) + " &middot; " +
                                  clock(e.seconds) + " &middot; " +
                                  std::to_string(e.marked.size()) +
                                  (e.marked.size() == 1 ? " cell" : " cells");
        out += "<figure>";
        if (!e.thumbnail.empty()) {
          out += "<a href=\"" + html(e.thumbnail) + "\"><img src=\"" + html(e.thumbnail) +
                 "\" alt=\"frame " + std::to_string(e.frame + 1) + "\" loading=\"lazy\"></a>";
        }
        out += "<figcaption>" + label + "</figcaption></figure>";
      }
      out += "</div>";
    }
    out += "</td></tr>\n";
  }
  out += "</tbody>\n</table>\n</body>\n</html>\n";
  return out;
}

bool write(const std::string& path, const std::string& text, std::ostream& err) {
  return writeFileAtomically(path, {text.begin(), text.end()}, err);
}

}  // namespace

std::string scanMessage(const ClipScan& scan) {
  std::string out;
  for (const auto& box : scan.boxes) {
    std::string text = box.text;
    for (std::size_t at; (at = text.find("\r\n")) != std::string::npos;) text.replace(at, 2, " ");
    for (char& c : text) {
      if (c == '\r' || c == '\n') c = ' ';
    }
    if (!out.empty()) out += " | ";
    out += text;
  }
  return out;
}

std::string scanJson(const ClipScan& scan) {
  std::string out = "{\"clip\": " + jsonString(scan.clip) +
                    ", \"opened\": " + (scan.opened ? "true" : "false") + ", \"ended\": \"" +
                    ended(scan) + "\", \"TotalFrames\": " + std::to_string(scan.totalFrames) +
                    ", \"duration_s\": " + seconds(duration(scan)) +
                    ", \"boxes\": " + boxesJson(scan.boxes) + ", \"events\": [";
  for (std::size_t i = 0; i < scan.events.size(); ++i) {
    const ScanEvent& e = scan.events[i];
    out += std::string(i ? ", " : "") + "{\"frame\": " + std::to_string(e.frame) +
           ", \"time_s\": " + seconds(e.seconds) + ", \"marked\": [";
    for (std::size_t k = 0; k < e.marked.size(); ++k) {
      out += std::string(k ? ", " : "") + "[" + std::to_string(e.marked[k].X.value()) + ", " +
             std::to_string(e.marked[k].Y.value()) + "]";
    }
    out += "], \"thumbnail\": " + (e.thumbnail.empty() ? "null" : jsonString(e.thumbnail)) + "}";
  }
  return out + "]}";
}

bool writeScanReport(const std::string& folder, const std::vector<ClipScan>& scans,
                     std::ostream& err) {
  std::string json = "[\n";
  for (std::size_t i = 0; i < scans.size(); ++i) {
    json += scanJson(scans[i]) + (i + 1 < scans.size() ? ",\n" : "\n");
  }
  json += "]\n";
  return write(folder + "/events.json", json, err) &&
         write(folder + "/events.csv", csvReport(scans), err) &&
         write(folder + "/index.html", htmlReport(scans), err);
}

}  // namespace app
