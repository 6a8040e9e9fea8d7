#pragma once

// What hgvtool writes to a terminal: names with their control characters made harmless, and a
// progress line rewritten in place.

#include <iosfwd>
#include <string>
#include <string_view>

namespace scan {

// `text` as it may go to a terminal: control characters (C0, DEL, C1) and bytes that are not
// UTF-8 as \xNN, so that a name cannot move the cursor, retitle the window or hide what follows.
std::string terminalText(std::string_view text);

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

}  // namespace scan
