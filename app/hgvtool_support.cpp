#include "app/hgvtool_support.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <ostream>

#include "app/hgvtool_commands.h"
#include "review/open_clip.h"
#include "search/core/frame_decoder.h"
#include "search/core/marks.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace app {
namespace {

std::string makeTempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "hgvtool-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) return std::filesystem::temp_directory_path().string();
  return pattern;
}

}  // namespace

ToolSession::ToolSession(std::ostream& err)
    : m_sink(err),
      m_platform{m_files, m_sink, makeTempFolder()},
      m_session(std::make_unique<review::Session>(m_platform)) {
  review::loadStartingValues(*m_session, m_fields);
  search::loadStartingValues(m_search);
}

bool ToolSession::openClip(const std::string& path) {
  try {
    if (review::OpenClipFile(*m_session, path) != review::OpenResult::Extracted) return false;
    // Frame 0 must be a picture, as the window's LoadPicture takes it: a bitmap file or a JPEG.
    // A JPEG is decoded into the frame's own value, where the first search finds it decoded.
    clip::ScratchFiles& scratch = m_session->SeparateMJPG.scratch();
    const std::span<const std::uint8_t> file = scratch.jpegFile();
    if (file.size() >= 2 && file[0] == 'B' && file[1] == 'M') {
      if (!toolkit::decodeBmp(file))
        throw toolkit::RuntimeError::of(toolkit::ErrorNumber::InvalidPicture);
      return true;
    }
    clip::Frame& frame = *m_session->SeparateMJPG.lastExtracted();
    search::FrameDecoder().decodeAsScratch(frame, file, m_fields.SearchCellSize.value());
    if (!frame.decoded()) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::InvalidPicture);
    return true;
  } catch (const toolkit::RuntimeError& e) {
    m_sink.show(
        toolkit::MessageBoxRequest::critical(toolkit::errorBoxText(review::kOpenHandlerName, e)));
    return false;
  }
}

toolkit::RgbImage ToolSession::openedPicture() {
  const std::span<const std::uint8_t> file = m_session->SeparateMJPG.scratch().jpegFile();
  if (file.size() >= 2 && file[0] == 'B' && file[1] == 'M') {
    return toolkit::decodeBmp(file).value_or(toolkit::RgbImage{});
  }
  const clip::FramePtr& frame = m_session->SeparateMJPG.lastExtracted();
  return frame ? search::markedPicture(*frame, {}) : toolkit::RgbImage{};
}

ToolSession::~ToolSession() {
  std::error_code ec;
  if (m_platform.programFolder != std::filesystem::temp_directory_path().string()) {
    std::filesystem::remove_all(m_platform.programFolder, ec);
  }
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

std::string jsonString(const std::string& s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

std::string boxesJson(const std::vector<toolkit::MessageBoxRequest>& boxes) {
  std::string out = "[";
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    const auto& b = boxes[i];
    if (i) out += ", ";
    out += "{\"text\": " + jsonString(b.text) +
           ", \"icon\": " + (b.icon == toolkit::MsgIcon::Critical ? "\"critical\"" : "null") +
           ", \"title\": " + (b.title ? jsonString(*b.title) : "null") + "}";
  }
  return out + "]";
}

bool parseInt(const std::string& text, long long& value) {
  if (text.empty() || text.size() > 18) return false;
  std::size_t i = text[0] == '-' ? 1 : 0;
  if (i == text.size()) return false;
  long long v = 0;
  for (; i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    v = v * 10 + (text[i] - '0');
  }
  value = text[0] == '-' ? -v : v;
  return true;
}

bool makeFolder(const std::string& folder, std::ostream& err) {
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (ec || !std::filesystem::is_directory(folder)) {
    err << "hgvtool: cannot make the folder \"" << folder << "\": " << ec.message() << "\n";
    return false;
  }
  return true;
}

bool writeFileAtomically(const std::string& path, const std::vector<std::uint8_t>& bytes,
                         std::ostream& err) {
  toolkit::PosixFileSystem files;
  try {
    toolkit::replaceFile(files, path, bytes);
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: cannot write " << path << ": " << e.description() << "\n";
    return false;
  }
  return true;
}

bool parseArea(const std::string& text, toolkit::Rect& area) {
  long long v[4];
  std::size_t start = 0;
  for (int i = 0; i < 4; ++i) {
    const std::size_t comma = text.find(',', start);
    if ((comma == std::string::npos) != (i == 3)) return false;
    const std::string part = text.substr(start, comma == std::string::npos ? comma : comma - start);
    if (!parseInt(part, v[i]) || v[i] < INT32_MIN || v[i] > INT32_MAX) return false;
    start = comma + 1;
  }
  area = {static_cast<std::int32_t>(v[0]), static_cast<std::int32_t>(v[1]),
          static_cast<std::int32_t>(v[2]), static_cast<std::int32_t>(v[3])};
  return true;
}

}  // namespace app
