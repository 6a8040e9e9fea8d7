#pragma once

// A session without a window, as hgvtool's search and scan run it: a fresh program folder for the
// scratch files, and a message sink that both prints and remembers the boxes shown.

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "review/form1_fields.h"
#include "review/session.h"
#include "search/core/search_state.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/platform.h"
#include "toolkit/core/rect.h"

namespace search {

// The temporary folder cannot hold a session's folder: TMPDIR names no folder, or it is full.
class TempFolderError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Why no session folder can be made under the temporary folder; nullopt when one can.
std::optional<std::string> tempFolderProblem();

// Frames `first` to `last`, from 0.
struct FrameRun {
  int first = 0;
  int last = 0;
  friend bool operator==(const FrameRun&, const FrameRun&) = default;
};

// A box as a scan keeps it: shown once (no frames), or tied to the frames a search stood on each
// time it came, one entry for all of them.
struct ScanBox {
  // Not explicit: a box shown once is a ScanBox as it is.
  ScanBox(toolkit::MessageBoxRequest shown = {}, std::vector<FrameRun> at = {})
      : box(std::move(shown)), frames(std::move(at)) {}
  toolkit::MessageBoxRequest box;
  std::vector<FrameRun> frames;  // ascending, with a frame or more between two runs
  friend bool operator==(const ScanBox&, const ScanBox&) = default;
};

// Adds `frame` (0 or more) to `runs`, joining the runs it touches.
void addFrame(std::vector<FrameRun>& runs, int frame);

// A session of its own, as if the program had just started: a temporary program folder (removed
// at the end; TempFolderError when there is none), real files, the module state and the search's
// beside it at the values Form_Load gives them, and boxes that go to `err` as they are shown and
// are kept for a JSON report.
class ToolSession {
 public:
  explicit ToolSession(std::ostream& err);
  ~ToolSession();
  ToolSession(const ToolSession&) = delete;
  ToolSession& operator=(const ToolSession&) = delete;

  toolkit::Platform& platform() { return m_platform; }
  review::Session& session() { return *m_session; }
  review::Form1Fields& fields() { return m_fields; }
  search::SearchState& search() { return m_search; }
  const std::vector<toolkit::MessageBoxRequest>& boxes() const { return m_sink.boxes(); }

  // From now on each box is tied to the frame on show when it comes (the frame a search stepped
  // onto) and kept with the same box shown before, so that a clip whose every frame fails costs
  // one entry, not one per frame; boxes() no longer grows.
  void gatherBoxesByFrame();
  // Every box shown: those of boxes(), then those gathered, each where it first came.
  std::vector<ScanBox> scanBoxes() const;

  // Opens a clip as the folder button does once the file is chosen, up to decoding frame 0, with
  // the same boxes. True when frame 0 is extracted and decodes.
  bool openClip(const std::string& path);
  // After openClip: frame 0 as the window shows it on opening.
  toolkit::RgbImage openedPicture();

 private:
  class TeeSink : public toolkit::MessageSink {
   public:
    explicit TeeSink(std::ostream& err) : m_print(err) {}
    void show(const toolkit::MessageBoxRequest& box) override;
    const std::vector<toolkit::MessageBoxRequest>& boxes() const { return m_record.boxes(); }
    // Ties each box from now on to the frame `frame` gives (none when it is negative).
    void gather(std::function<int()> frame) { m_frame = std::move(frame); }
    const std::vector<ScanBox>& gathered() const { return m_gathered; }

   private:
    toolkit::StreamMessageSink m_print;
    toolkit::RecordingMessageSink m_record;
    std::function<int()> m_frame;
    std::vector<ScanBox> m_gathered;
    std::unordered_map<std::string, std::size_t> m_entryOf;  // a box's key: its entry
  };

  toolkit::PosixFileSystem m_files;
  TeeSink m_sink;
  toolkit::Platform m_platform;
  std::unique_ptr<review::Session> m_session;
  review::Form1Fields m_fields;
  search::SearchState m_search;
};

}  // namespace search
