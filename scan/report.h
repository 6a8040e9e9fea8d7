#pragma once

// The report of hgvtool scan: a page for people (index.html), a table for spreadsheets
// (events.csv), JSON for scripts (events.json, and the same objects on stdout with --json), and a
// short table per clip on the terminal. Frames count from 0 in the files; the page shows them as
// the window does, from 1, and says so.

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "scan/one_clip.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"

namespace scan {

// One clip as one JSON object on one line: {"clip", "opened", "ended", "TotalFrames",
// "frame_rate", "duration_s", "boxes", "motion": [...], "events": [...]}.
std::string scanJson(const ClipScan& scan);
nlohmann::ordered_json scanValue(const ClipScan& scan);
// A header, then one row per event of every clip.
std::string scanCsv(const std::vector<ClipScan>& scans);
std::string scanHtml(const std::vector<ClipScan>& scans);

// Writes index.html, events.csv and events.json of `scans` (the records of the journal, sorted by
// path) into `folder`, each whole or not at all and on the disk; the thumbnails and event clips
// are already there. False, with the reason on `err`, when a file cannot be written.
bool writeScanReport(toolkit::FileSystem& files, const std::string& folder,
                     const std::vector<ClipScan>& scans, std::ostream& err);
// "3 clips, 22 events: FOLDER/index.html", the line that ends a scan or a join.
std::string reportSummary(const std::vector<ClipScan>& scans, const std::string& folder);

// The clip's line and a table of its events: event, start, end, duration and, for a clip with a
// recording start, the event's start by the wall clock.
void printScanText(const ClipScan& scan, std::ostream& out);

// A time as HH:MM:SS.mmm.
std::string clockTime(double seconds);
// Seconds as a plain decimal, to the microsecond a frame rate is given in.
std::string secondsText(double seconds);
// The event's start and end by the wall clock (recording_start.h), "2024-05-01T08:12:33+02:00";
// empty for a clip without a recording start.
std::string wallStart(const ClipScan& scan, const Event& e);
std::string wallEnd(const ClipScan& scan, const Event& e);
// The clip's file name without its folders; the path itself when it has none.
std::string clipFileName(const std::string& path);

// The texts of the clip's message boxes on one line, " | " between them.
std::string scanMessage(const ClipScan& scan);

// [{"text": ..., "icon": "critical"|null, "title": ...|null}, ...]
std::string boxesJson(const std::vector<toolkit::MessageBoxRequest>& boxes);
// The same, with "frames": [[first, last], ...] after the title of a box tied to frames.
std::string boxesJson(const std::vector<search::ScanBox>& boxes);
// The same as values, for a caller that puts them inside its own.
nlohmann::ordered_json boxesValue(const std::vector<toolkit::MessageBoxRequest>& boxes);
nlohmann::ordered_json boxesValue(const std::vector<search::ScanBox>& boxes);

// Makes the folder and those above it; false, with the reason on `err`, when it cannot be made.
bool makeFolder(toolkit::FileSystem& files, const std::string& folder, std::ostream& err);

}  // namespace scan
