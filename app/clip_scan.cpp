#include "app/clip_scan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <sstream>

#include "app/clip_search.h"
#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "export/core/exports.h"
#include "search/core/marks.h"
#include "search/driver/search_driver.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"

namespace app {
namespace {

constexpr int kThumbnailWidth = 320;

bool isClipName(const std::filesystem::path& p) {
  std::string ext = p.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".hgv";
}

// Each thumbnail pixel is the mean of the picture's pixels it covers.
toolkit::RgbImage shrink(const toolkit::RgbImage& picture, int width) {
  toolkit::RgbImage thumb;
  thumb.width = std::min(width, picture.width);
  thumb.height = std::max(1, static_cast<int>(std::lround(static_cast<double>(picture.height) *
                                                          thumb.width / picture.width)));
  thumb.pixels.resize(static_cast<std::size_t>(thumb.width) * thumb.height * 3);
  for (int ty = 0; ty < thumb.height; ++ty) {
    const int y0 = static_cast<int>(static_cast<long long>(ty) * picture.height / thumb.height);
    const int y1 = std::max(
        y0 + 1, static_cast<int>(static_cast<long long>(ty + 1) * picture.height / thumb.height));
    for (int tx = 0; tx < thumb.width; ++tx) {
      const int x0 = static_cast<int>(static_cast<long long>(tx) * picture.width / thumb.width);
      const int x1 = std::max(
          x0 + 1, static_cast<int>(static_cast<long long>(tx + 1) * picture.width / thumb.width));
      unsigned long sum[3] = {0, 0, 0};
      for (int y = y0; y < y1; ++y) {
        const std::uint8_t* p =
            &picture.pixels[(static_cast<std::size_t>(y) * picture.width + x0) * 3];
        for (int x = x0; x < x1; ++x, p += 3) {
          sum[0] += p[0];
          sum[1] += p[1];
          sum[2] += p[2];
        }
      }
      const unsigned long n =
          static_cast<unsigned long>(y1 - y0) * static_cast<unsigned long>(x1 - x0);
      std::uint8_t* t = &thumb.pixels[(static_cast<std::size_t>(ty) * thumb.width + tx) * 3];
      for (int c = 0; c < 3; ++c) t[c] = static_cast<std::uint8_t>((sum[c] + n / 2) / n);
    }
  }
  return thumb;
}

// A result's marked picture shrunk to a JPEG in the thumbnail folder, the marks drawn again at
// that scale: shrunk with the picture, one-pixel outlines would fade into it.
std::string writeThumbnail(const ScanOptions& options, const ScanEvent& event,
                           const toolkit::RgbImage& marked) {
  if (marked.empty()) return {};
  char number[16];
  std::snprintf(number, sizeof number, "%06d", event.frame);
  const std::string name = options.thumbnailPrefix + number + ".jpg";
  toolkit::RgbImage thumb = shrink(marked, kThumbnailWidth);
  search::drawMarks(thumb, event.marked, static_cast<double>(thumb.width) / marked.width);
  std::ostringstream quiet;
  if (!writeFileAtomically(options.thumbnailFolder + "/" + name,
                           toolkit::encodeJpeg(thumb, 90, toolkit::ChromaSubsampling::k444),
                           quiet)) {
    return {};
  }
  return name;
}

}  // namespace

std::vector<std::string> findClips(const std::vector<std::string>& paths) {
  std::vector<std::string> clips;
  for (const std::string& path : paths) {
    std::error_code ec;
    if (!std::filesystem::is_directory(path, ec)) {
      clips.push_back(path);
      continue;
    }
    std::vector<std::string> found;
    const auto options = std::filesystem::directory_options::skip_permission_denied;
    for (auto it = std::filesystem::recursive_directory_iterator(path, options, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
      std::error_code typeError;
      if (it->is_regular_file(typeError) && isClipName(it->path())) {
        found.push_back(it->path().string());
      }
    }
    std::sort(found.begin(), found.end());
    clips.insert(clips.end(), found.begin(), found.end());
  }
  return clips;
}

ClipScan scanClip(const std::string& path, const ScanOptions& options, ScanProgress* progress) {
  ClipScan scan;
  scan.clip = path;
  std::ostringstream quiet;  // the boxes are kept for the report, not printed
  ToolSession tool(quiet);
  scan.opened = tool.openClip(path);
  // The results are all the scan wants: no scratch file is written while it searches.
  tool.session().SeparateMJPG.scratch().setMode(clip::ScratchFiles::Mode::Memory);
  std::vector<toolkit::MessageBoxRequest> errors;
  if (scan.opened) {
    scan.totalFrames = tool.session().OpenSaveFile.TotalFrames.value();
    if (progress) progress->totalFrames = scan.totalFrames;
    SearchOptions search;
    search.area = options.area;
    search.sensitivity = options.sensitivity;
    search.all = true;
    search.threads = options.threads;
    try {
      scan.secondsPerFrame = exporting::clipMicroSecPerFrame(tool.platform().files, path) / 1e6;
      runSearches(
          tool, search,
          [&](const SearchRecord& record) {
            if (record.outcome.ended == search::SearchOutcome::Ended::Error) scan.broke = true;
            if (record.outcome.ended != search::SearchOutcome::Ended::Found) return;
            ScanEvent event;
            event.frame = record.frame;
            event.seconds = record.frame * scan.secondsPerFrame;
            event.marked = record.outcome.marked;
            if (!options.thumbnailFolder.empty() && record.outcome.frame) {
              event.thumbnail = writeThumbnail(
                  options, event, search::markedPicture(*record.outcome.frame, event.marked));
            }
            scan.events.push_back(std::move(event));
          },
          [&] {
            if (progress) ++progress->frames;
          });
    } catch (const toolkit::RuntimeError& e) {
      scan.broke = true;
      errors.push_back(toolkit::MessageBoxRequest::critical("Error " + std::to_string(e.number()) +
                                                            ": " + e.description()));
    }
  }
  scan.boxes = tool.boxes();
  scan.boxes.insert(scan.boxes.end(), errors.begin(), errors.end());
  if (progress) progress->done = true;
  return scan;
}

}  // namespace app
