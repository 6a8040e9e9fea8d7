#include "scan/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ostream>

#include "scan/json_text.h"

namespace scan {

std::string terminalText(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = utf8SequenceLength(text.substr(at));
    const auto c = static_cast<unsigned char>(text[at]);
    const bool c1 = length == 2 && c == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    if (length == 0 || c1 || c < 0x20 || c == 0x7F) {
      for (std::size_t k = 0; k < std::max<std::size_t>(length, 1); ++k) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(text[at + k]));
        out += hex;
      }
    } else {
      out.append(text.substr(at, length));
    }
    at += std::max<std::size_t>(length, 1);
  }
  return out;
}

TerminalLine::TerminalLine(std::ostream& err) : m_err(err), m_on(::isatty(STDERR_FILENO) != 0) {}

TerminalLine::~TerminalLine() {
  if (m_shown) m_err << "\r\033[K" << std::flush;
}

void TerminalLine::show(const std::string& text) {
  if (!m_on) return;
  m_err << "\r\033[K" << text << std::flush;
  m_shown = true;
}

}  // namespace scan
