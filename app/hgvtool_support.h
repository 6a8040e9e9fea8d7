#pragma once

// What the hgvtool commands share: a fresh session folder for the scratch files, a message sink
// that both prints and remembers, and JSON output of the boxes shown.

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "review/form1_fields.h"
#include "review/session.h"
#include "search/core/search_state.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/image.h"
#include "toolkit/core/message_box.h"
#include "toolkit/core/platform.h"
#include "toolkit/core/rect.h"

namespace app {

// A session of its own, as if the program had just started: a temporary program folder (removed
// at the end), real files, the module state and the search's beside it at the values Form_Load
// gives them, and boxes that go to `err` as they are shown and are kept for a JSON report.
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

  // Opens a clip as the folder button does once the file is chosen, up to decoding frame 0, with
  // the same boxes. True when frame 0 is extracted and decodes.
  bool openClip(const std::string& path);
  // After openClip: frame 0 as the window shows it on opening.
  toolkit::RgbImage openedPicture();

 private:
  class TeeSink : public toolkit::MessageSink {
   public:
    explicit TeeSink(std::ostream& err) : m_print(err) {}
    void show(const toolkit::MessageBoxRequest& box) override {
      m_print.show(box);
      m_record.show(box);
    }
    const std::vector<toolkit::MessageBoxRequest>& boxes() const { return m_record.boxes(); }

   private:
    toolkit::StreamMessageSink m_print;
    toolkit::RecordingMessageSink m_record;
  };

  toolkit::PosixFileSystem m_files;
  TeeSink m_sink;
  toolkit::Platform m_platform;
  std::unique_ptr<review::Session> m_session;
  review::Form1Fields m_fields;
  search::SearchState m_search;
};

// [{"text": ..., "icon": "critical"|null, "title": ...|null}, ...]
std::string boxesJson(const std::vector<toolkit::MessageBoxRequest>& boxes);

// Parses a whole decimal number; false if `text` is not one or does not fit.
bool parseInt(const std::string& text, long long& value);

// A progress line on `err` when it is a terminal: each show() rewrites it in place, and it is
// cleared at the end. Nothing is written elsewhere.
class TerminalLine {
 public:
  explicit TerminalLine(std::ostream& err);
  ~TerminalLine();
  TerminalLine(const TerminalLine&) = delete;
  TerminalLine& operator=(const TerminalLine&) = delete;

  bool on() const { return m_on; }
  void show(const std::string& text);

 private:
  std::ostream& m_err;
  bool m_on;
  bool m_shown = false;
};

// Parses "L,T,R,B", four whole numbers of 32 bits.
bool parseArea(const std::string& text, toolkit::Rect& area);

// Makes the folder and those above it; false, with the reason on `err`, when it cannot be made.
bool makeFolder(const std::string& folder, std::ostream& err);

// Writes bytes to `path` so that no half-written file is left behind: into a neighbour first,
// then renamed over the target. Returns false (and says why on `err`) on failure.
bool writeFileAtomically(const std::string& path, const std::vector<std::uint8_t>& bytes,
                         std::ostream& err);

}  // namespace app
