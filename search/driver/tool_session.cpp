#include "search/driver/tool_session.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "review/open_clip.h"
#include "search/core/frame_decoder.h"
#include "search/core/marks.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace search {
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
  loadStartingValues(m_search);
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
    FrameDecoder().decodeAsScratch(frame, file, m_fields.SearchCellSize.value());
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
  return frame ? markedPicture(*frame, {}) : toolkit::RgbImage{};
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

}  // namespace search
