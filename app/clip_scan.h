#pragma once

// hgvtool scan: the activity of many clips. Each clip is searched forward from its first frame to
// the end of its run, each search going on from the frame the last one found, on a session of its
// own (as if the program had just started and opened that clip) and without scratch files, so
// that a clip's motion frames are exactly those `hgvtool search --all` lists for it alone. The
// motion frames are then grouped into events (app/scan_events.h), each with a thumbnail of its
// peak frame and, when asked for, a clip of its own.

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/scan_events.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/rect.h"

namespace app {

// The format of the events' own clips.
enum class EventClips { None, Hgv, Wmv, Mp4 };

struct ScanOptions {
  std::optional<toolkit::Rect> area;  // as hgvtool search --area
  std::string sensitivity;
  int threads = 1;  // decoding threads of each clip's search
  EventRules rules;
  // Where each event's thumbnail and clip go; none are written when empty.
  std::string outFolder;
  EventClips clips = EventClips::None;
};

struct ClipScan {
  std::string clip;  // the path as given or found
  bool opened = false;
  bool broke = false;  // a search ended with an error before the end of the run
  int totalFrames = 0;
  std::uint32_t microSecPerFrame = 0;  // as the main header gives it
  std::vector<toolkit::MessageBoxRequest> boxes;
  std::vector<MotionFrame> motion;
  std::vector<Event> events;

  double frameSeconds() const { return app::frameSeconds(microSecPerFrame); }
  double durationSeconds() const { return totalFrames * frameSeconds(); }
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

// Scans one clip: its motion frames, its events, their thumbnails and clips.
ClipScan scanClip(const std::string& path, const ScanOptions& options,
                  ScanProgress* progress = nullptr);

// The file name of a clip's event file: the clip's name, a mark of its whole path (two clips of
// one name in different folders stay apart) and the event's number.
std::string eventFileName(const std::string& clip, int event, const std::string& extension);

// The texts of the clip's message boxes on one line, " | " between them.
std::string scanMessage(const ClipScan& scan);

}  // namespace app
