#pragma once

// hgvtool scan: the activity of many clips. Each clip is searched forward from its first frame to
// the end of its run, each search going on from the frame the last one found, on a session of
// its own (as if the program had just started and opened that clip), so that a clip's events are
// exactly those `hgvtool search --all` lists for it alone.

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "search/core/analyse_bmp.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/rect.h"

namespace app {

struct ScanOptions {
  std::optional<toolkit::Rect> area;  // as hgvtool search --area
  std::string sensitivity;
  int threads = 1;  // decoding threads of each clip's search
  // Where thumbnails of the marked pictures go; none when empty. `thumbnailPrefix` starts each
  // file name, which goes on with the frame number.
  std::string thumbnailFolder;
  std::string thumbnailPrefix;
};

struct ScanEvent {
  int frame = 0;  // from 0
  double seconds = 0;
  std::vector<search::CellPoint> marked;
  std::string thumbnail;  // file name in the thumbnail folder; empty when none was written
};

struct ClipScan {
  std::string clip;  // the path as given or found
  bool opened = false;
  bool broke = false;  // a search ended with an error before the end of the run
  int totalFrames = 0;
  double secondsPerFrame = 0;
  std::vector<toolkit::MessageBoxRequest> boxes;
  std::vector<ScanEvent> events;
};

// The clips among `paths`: a file as it is, a folder's ".hgv" files (any case) at any depth,
// sorted by path. A path that does not exist is kept, so that it is reported as refused.
std::vector<std::string> findClips(const std::vector<std::string>& paths);

// How far the scan of one clip is, read by another thread.
struct ScanProgress {
  std::atomic<int> totalFrames{0};   // once the clip is open
  std::atomic<long long> frames{0};  // frames the searches stepped onto
  std::atomic<bool> done{false};
};

// Scans one clip.
ClipScan scanClip(const std::string& path, const ScanOptions& options,
                  ScanProgress* progress = nullptr);

// The texts of the clip's message boxes on one line, " | " between them.
std::string scanMessage(const ClipScan& scan);

// The report: one JSON object per clip, as events.json lists them and --json prints them.
std::string scanJson(const ClipScan& scan);
// Writes index.html, events.csv and events.json into `folder`, each whole or not at all; the
// thumbnails are already there. False, with the reason on `err`, when a file cannot be written.
bool writeScanReport(const std::string& folder, const std::vector<ClipScan>& scans,
                     std::ostream& err);

}  // namespace app
