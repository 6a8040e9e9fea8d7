#pragma once

// One clip's scan, of the many hgvtool scan runs (scan/scan_run.h). The clip is searched forward
// from its first frame to the end of its run, each search going on from the frame the last one
// found, on a session of its own (as if the program had just started and opened that clip) and
// without scratch files, so that a clip's motion frames are exactly those `hgvtool search --all`
// lists for it alone. The motion frames are then grouped into events (scan/events.h), each with a
// thumbnail of its peak frame and, when asked for, a clip of its own.

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "scan/events.h"
#include "scan/recording_start.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/rect.h"
#include "toolkit/core/resource_budget.h"

namespace scan {

// The format of the events' own clips.
enum class EventClips { None, Hgv, Wmv, Mp4 };

struct ScanOptions {
  std::optional<toolkit::Rect> area;  // as hgvtool search --area
  std::string sensitivity;
  int threads = 1;  // decoding threads of each clip's search
  // The process's budget of pictures in flight and threads, for each clip's search; none: each
  // search makes its own.
  toolkit::ResourceBudget* budget = nullptr;
  EventRules rules;
  // Where each event's thumbnail and clip go, through `outFiles`; none are written when empty.
  // The clip's stamp is read through `outFiles` too, the machine's files when it is null.
  std::string outFolder;
  toolkit::FileSystem* outFiles = nullptr;
  EventClips clips = EventClips::None;
  // Asked now and then; true stops the scan of the clip at once, leaving nothing of it.
  std::function<bool()> cancelled;
};

// A file beside the report could not be written (a full disk, a folder that cannot be written):
// the scan cannot go on.
class ScanWriteError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What tells a clip file from its later self.
struct FileStamp {
  std::int64_t size = -1;  // -1: no file
  std::int64_t mtimeNs = 0;
  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

struct ClipScan {
  std::string clip;  // the path as given or found
  FileStamp stamp;   // of the file as it was scanned
  bool opened = false;
  bool broke = false;  // a search ended with an error before the end of the run
  int totalFrames = 0;
  std::uint32_t microSecPerFrame = 0;  // as the main header gives it
  // When the footage began by the wall clock; none for a clip not opened, or without a time.
  std::optional<RecordingStart> recordingStart;
  std::vector<search::ScanBox> boxes;
  std::vector<MotionFrame> motion;
  std::vector<Event> events;
  double scanSeconds = 0;    // how long its scan took
  bool interrupted = false;  // the scan was stopped before it was done: nothing of it counts
  // Why the journal's record of the clip was not taken (a file name the scan does not write);
  // empty for a scan taken or done. Such a record is the clip's problem, not its scan.
  std::string refused;

  double frameSeconds() const { return scan::frameSeconds(microSecPerFrame); }
  double durationSeconds() const { return totalFrames * frameSeconds(); }
};

// How far the scan of one clip is, read by another thread.
struct ScanProgress {
  std::atomic<int> totalFrames{0};   // once the clip is open
  std::atomic<long long> frames{0};  // frames the searches stepped onto
  std::atomic<bool> done{false};
};

// Scans one clip: its motion frames, its events, their thumbnails and clips. A scan that was
// cancelled comes back `interrupted`, with every file it wrote removed. Throws ScanWriteError.
ClipScan scanClip(const std::string& path, const ScanOptions& options,
                  ScanProgress* progress = nullptr);

// The file name of a clip's event file: the clip's name (letters, digits, '-' and '_' of at most
// its first 40 bytes), a mark of its whole path (two clips of one name in different folders stay
// apart) and the event's number: "front-0123456789abcdef-event02.jpg". The mark is 64 bits of
// FNV-1a, which keeps two honest paths apart but not two names made to meet: clipsSharingNames
// finds those.
std::string eventFileName(const std::string& clip, int event, const std::string& extension);

// Whether `name` has the shape of eventFileName's: a base name, nothing a browser or a shell reads
// as anything but a file beside the report, with one of the extensions the scan writes.
bool isEventFileName(std::string_view name);

// The clips of `clips` whose event files would take the names of another's, each with that
// other: one of `kept` (clips done, whose files stand) or one before it in `clips`.
std::vector<std::pair<std::string, std::string>> clipsSharingNames(
    const std::vector<std::string>& clips, const std::vector<std::string>& kept);

}  // namespace scan
