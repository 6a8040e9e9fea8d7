#include "app/hgvtool_support.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "app/hgvtool_commands.h"
#include "app/json_value.h"
#include "review/open_clip.h"
#include "search/core/frame_decoder.h"
#include "search/core/marks.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace app {
namespace {

// A folder of the session's own, made new under the temporary folder: its scratch files never
// meet another process's, or a link someone planted under a name they could guess.
std::string makeTempFolder() {
  if (const std::optional<std::string> problem = tempFolderProblem())
    throw TempFolderError(*problem);
  std::string pattern = (std::filesystem::temp_directory_path() / "hgvtool-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) {
    throw TempFolderError("cannot make a folder in the temporary folder \"" +
                          std::filesystem::temp_directory_path().string() +
                          "\": " + std::strerror(errno));
  }
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

void ToolSession::gatherBoxesByFrame() {
  m_sink.gather([this] { return m_session->SeparateMJPG.ExtractedFrame.value(); });
}

std::vector<ScanBox> ToolSession::scanBoxes() const {
  std::vector<ScanBox> out(m_sink.boxes().begin(), m_sink.boxes().end());
  out.insert(out.end(), m_sink.gathered().begin(), m_sink.gathered().end());
  return out;
}

void ToolSession::TeeSink::show(const toolkit::MessageBoxRequest& box) {
  m_print.show(box);
  const int frame = m_frame ? m_frame() : -1;
  if (!m_frame) {
    m_record.show(box);
  } else if (frame < 0) {
    m_gathered.emplace_back(box);
  } else {
    const std::string key = box.text + '\0' + (box.title ? "t" + *box.title : "-") +
                            (box.icon == toolkit::MsgIcon::Critical ? "!" : "");
    const auto [entry, added] = m_entryOf.try_emplace(key, m_gathered.size());
    if (added) m_gathered.emplace_back(box);
    addFrame(m_gathered[entry->second].frames, frame);
  }
}

void addFrame(std::vector<FrameRun>& runs, int frame) {
  // The first run that holds the frame, ends just before it, or lies after it.
  const auto at = std::lower_bound(runs.begin(), runs.end(), frame,
                                   [](const FrameRun& run, int f) { return run.last < f - 1; });
  if (at == runs.end() || at->first > frame + 1) {
    runs.insert(at, {frame, frame});
    return;
  }
  at->first = std::min(at->first, frame);
  at->last = std::max(at->last, frame);
  const auto next = at + 1;
  if (next != runs.end() && next->first <= at->last + 1) {
    at->last = next->last;
    runs.erase(next);
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
  std::filesystem::remove_all(m_platform.programFolder, ec);
}

std::optional<std::string> tempFolderProblem() {
  std::error_code ec;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(ec);
  if (!ec) return std::nullopt;
  const char* given = std::getenv("TMPDIR");
  return "the temporary folder \"" + std::string(given ? given : folder.string()) +
         "\" (TMPDIR) cannot be used: " + ec.message();
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
  for (std::size_t at = 0; at < s.size();) {
    const auto c = static_cast<unsigned char>(s[at]);
    const std::size_t length = utf8SequenceLength(std::string_view(s).substr(at));
    if (length > 1) {
      out.append(s, at, length);
    } else if (length == 0) {
      out += "\xEF\xBF\xBD";  // U+FFFD: JSON is UTF-8, and this byte is none of it
    } else if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c == '\n' || c == '\r' || c == '\t') {
      out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out += static_cast<char>(c);
    }
    at += std::max<std::size_t>(length, 1);
  }
  return out + "\"";
}

namespace {

std::string boxJson(const toolkit::MessageBoxRequest& b) {
  return "{\"text\": " + jsonString(b.text) +
         ", \"icon\": " + (b.icon == toolkit::MsgIcon::Critical ? "\"critical\"" : "null") +
         ", \"title\": " + (b.title ? jsonString(*b.title) : "null");
}

}  // namespace

std::string boxesJson(const std::vector<toolkit::MessageBoxRequest>& boxes) {
  std::string out = "[";
  for (std::size_t i = 0; i < boxes.size(); ++i) out += (i ? ", " : "") + boxJson(boxes[i]) + "}";
  return out + "]";
}

std::string boxesJson(const std::vector<ScanBox>& boxes) {
  std::string out = "[";
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    out += (i ? ", " : "") + boxJson(boxes[i].box);
    if (!boxes[i].frames.empty()) {
      out += ", \"frames\": [";
      for (std::size_t k = 0; k < boxes[i].frames.size(); ++k) {
        const FrameRun& run = boxes[i].frames[k];
        out +=
            (k ? ", [" : "[") + std::to_string(run.first) + ", " + std::to_string(run.last) + "]";
      }
      out += "]";
    }
    out += "}";
  }
  return out + "]";
}

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
    err << "hgvtool: cannot make the folder \"" << terminalText(folder) << "\": " << ec.message()
        << "\n";
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
