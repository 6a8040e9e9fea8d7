// The page of hgvtool scan's report (index.html), for people: a summary, then each clip with the
// strip of its activity and a card for each event.

#include <cmath>
#include <cstdio>
#include <string>

#include "scan/report.h"

namespace scan {
namespace {

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

// "2024-05-01T08:12:33+02:00" as a person reads it, "2024-05-01 08:12:33 +02:00", in a <time>
// that keeps the exact value for a script; nothing for a time not known.
std::string dayTime(const std::string& iso) {
  if (iso.empty()) return {};
  std::string shown = iso;
  const std::size_t t = shown.find('T');
  if (t != std::string::npos) {
    shown[t] = ' ';
    const std::size_t zone = shown.find_first_of("+-", t);
    if (zone != std::string::npos) shown.insert(zone, " ");
  }
  return "<time datetime=\"" + html(iso) + "\">" + html(shown) + "</time>";
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
  const std::string wall = dayTime(wallStart(scan, e));
  if (!wall.empty()) out += "<br>" + wall;
  return out + "</figcaption></figure>";
}

std::string clipSection(const ClipScan& scan) {
  std::string out = "<section class=\"clip\"><h2>" + html(clipFileName(scan.clip)) + "<span>" +
                    html(scan.clip) + "</span></h2>";
  char rate[32];
  std::snprintf(rate, sizeof rate, "%.4g frames/s", 1.0 / scan.frameSeconds());
  out += "<p class=\"meta\">" + std::to_string(scan.totalFrames) + " frames &middot; " +
         clock(scan.durationSeconds()) + " &middot; " + rate + " &middot; " +
         std::to_string(scan.events.size()) + (scan.events.size() == 1 ? " event" : " events");
  if (scan.recordingStart) {
    const bool recorded = scan.recordingStart->source == WallClock::Recorded;
    out += " &middot; began " + dayTime(wallTime(*scan.recordingStart, 0, scan.microSecPerFrame)) +
           (recorded ? " (creation time)" : " (file time)");
  }
  out += "</p>";
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
      out += "<li><b>" + html(clipFileName(scan->clip)) + "</b> <span class=\"path\">" +
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
      "search area. Dates and times are this machine's local time: from a video's creation time, "
      "else from the file's modification time less the clip's length.</p>\n</body>\n</html>\n";
  return out;
}

}  // namespace scan
