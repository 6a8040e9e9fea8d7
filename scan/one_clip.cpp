#include "scan/one_clip.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <ostream>
#include <unordered_map>

#include "export/core/exports.h"
#include "scan/record.h"
#include "search/core/marks.h"
#include "search/driver/tool_search.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"
#include "video/video_file.h"

namespace scan {

using search::ScanBox;
using search::SearchOptions;
using search::SearchRecord;
using search::ToolSession;

namespace {

constexpr int kThumbnailWidth = 320;

// The searches of `hgvtool search --all` over the open clip: its motion frames, in order.
void searchMotion(ToolSession& tool, const ScanOptions& options, ClipScan& scan,
                  ScanProgress* progress) {
  SearchOptions search;
  search.budget = options.budget;
  search.area = options.area;
  search.sensitivity = options.sensitivity;
  search.all = true;
  search.threads = options.threads;
  search.stop = options.cancelled;
  runSearches(
      tool, search,
      [&](const SearchRecord& record) {
        if (record.outcome.ended == search::SearchOutcome::Ended::Error) scan.broke = true;
        if (record.outcome.ended != search::SearchOutcome::Ended::Found) return;
        scan.motion.push_back({record.frame, record.outcome.marked});
      },
      [&] {
        if (progress) ++progress->frames;
      });
}

// Writes a file beside the report, whole or not at all, on the disk before the clip's line of
// the journal is; what cannot be written ends the scan.
void writeBeside(const ScanOptions& options, const std::string& name,
                 const std::vector<std::uint8_t>& bytes) {
  const std::string path = options.outFolder + "/" + name;
  try {
    toolkit::replaceFile(*options.outFiles, path, bytes, true);
  } catch (const toolkit::RuntimeError& e) {
    throw ScanWriteError("cannot write " + path + ": " + e.description());
  }
}

// The peak frame of an event, decoded once more, with its marks, shrunk to a JPEG beside the
// report; the marks are drawn again at that scale, since shrunk with the picture one-pixel
// outlines would fade into it.
std::string writeThumbnail(ToolSession& tool, const ClipScan& scan, const Event& event,
                           const ScanOptions& options) {
  const auto peak = std::find_if(scan.motion.begin(), scan.motion.end(),
                                 [&](const MotionFrame& m) { return m.frame == event.peakFrame; });
  clip::SeparateMJPG& clip = tool.session().SeparateMJPG;
  std::vector<std::uint8_t> jpeg;
  if (clip.videoFacts()) {
    jpeg = clip.frameJpeg(event.peakFrame);
  } else {
    clip::readFrameBytes(*tool.platform().files.openRead(scan.clip),
                         clip.placeOf(event.peakFrame), jpeg);
  }
  toolkit::Size full;
  const std::optional<toolkit::RgbImage> picture =
      toolkit::decodeJpegCovering(jpeg, kThumbnailWidth, std::numeric_limits<int>::max(), full);
  if (!picture || peak == scan.motion.end()) return {};
  const toolkit::Size size =
      toolkit::fitWithin(full.width, full.height, kThumbnailWidth, std::numeric_limits<int>::max());
  toolkit::RgbImage thumb = toolkit::shrinkImage(*picture, size.width, size.height);
  search::drawMarks(thumb, peak->marked, static_cast<double>(thumb.width) / full.width);
  const std::string name = eventFileName(scan.clip, event.number, ".jpg");
  writeBeside(options, name, toolkit::encodeJpeg(thumb, 90, toolkit::ChromaSubsampling::k444));
  return name;
}

// The event's padded run as a clip of its own, through the exports the Save dialog uses.
std::string exportEvent(ToolSession& tool, const ClipScan& scan, const Event& event,
                        const ScanOptions& options) {
  clip::SeparateMJPG& clip = tool.session().SeparateMJPG;
  const exporting::ExportRange run{event.clipFrom, event.clipTo - event.clipFrom + 1};
  toolkit::FileSystem& files = *options.outFiles;
  std::string name;
  if (options.clips == EventClips::Hgv) {
    name = eventFileName(scan.clip, event.number, ".hgv");
    exporting::ExportHgvRun(clip, files, options.outFolder + "/" + name, run);
  } else {
    const bool mp4 = options.clips == EventClips::Mp4;
    name = eventFileName(scan.clip, event.number, mp4 ? ".mp4" : ".wmv");
    exporting::ExportVideoRun(clip, files, scan.clip, options.outFolder + "/" + name, run,
                              clip.ClipWidth.value(), clip.ClipHeight.value(),
                              mp4 ? toolkit::VideoFormat::Mp4 : toolkit::VideoFormat::Wmv);
  }
  return name;
}

// Every file the clip's events put beside the report, as they name them.
void removeEventFiles(const ClipScan& scan, const ScanOptions& options) {
  for (const Event& event : scan.events) {
    for (const std::string& name : {event.thumbnail, event.exported}) {
      if (isEventFileName(name)) {
        toolkit::discardFile(*options.outFiles, options.outFolder + "/" + name);
      }
    }
  }
}

// A thumbnail and a clip for each event. An event clip that cannot be made is said in the clip's
// boxes; a file that cannot be written ends the scan, and a cancelled scan leaves none of them.
void writeEventFiles(ToolSession& tool, ClipScan& scan, const ScanOptions& options) {
  for (Event& event : scan.events) {
    if (options.cancelled && options.cancelled()) {
      scan.interrupted = true;
      break;
    }
    try {
      event.thumbnail = writeThumbnail(tool, scan, event, options);
      if (options.clips != EventClips::None)
        event.exported = exportEvent(tool, scan, event, options);
    } catch (const exporting::ExportFailure& e) {
      scan.boxes.push_back(toolkit::MessageBoxRequest::critical(e.what()));
    } catch (const ScanWriteError&) {
      removeEventFiles(scan, options);
      throw;
    }
  }
  if (scan.interrupted) removeEventFiles(scan, options);
}

}  // namespace

std::string eventFileName(const std::string& clip, int event, const std::string& extension) {
  std::string stem;
  for (char ch : std::filesystem::path(clip).stem().string()) {
    // ASCII by hand: std::isalnum takes the locale's letters, and a Latin-1 locale would let a
    // byte that is not UTF-8 into the name.
    const bool kept = (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') ||
                      (ch >= '0' && ch <= '9') || ch == '-' || ch == '_';
    stem += kept ? ch : '_';
  }
  // FNV-1a over the whole path.
  std::uint64_t hash = 1469598103934665603ull;
  for (unsigned char ch : clip) hash = (hash ^ ch) * 1099511628211ull;
  char tail[64];
  std::snprintf(tail, sizeof tail, "-%016llx-event%02d", static_cast<unsigned long long>(hash),
                event);
  return stem.substr(0, 40) + tail + extension;
}

bool isEventFileName(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return false;
  const std::string_view extension = name.substr(dot);
  if (extension != ".jpg" && extension != ".hgv" && extension != ".wmv" && extension != ".mp4") {
    return false;
  }
  std::string_view rest = name.substr(0, dot);
  std::size_t digits = 0;
  while (digits < rest.size() &&
         std::isdigit(static_cast<unsigned char>(rest[rest.size() - 1 - digits]))) {
    ++digits;
  }
  if (digits < 2 || digits > 10) return false;
  rest.remove_suffix(digits);
  constexpr std::string_view kEvent = "-event";
  constexpr std::size_t kMark = 17;  // "-" and 16 hex digits
  if (rest.size() < kEvent.size() + kMark || rest.substr(rest.size() - kEvent.size()) != kEvent) {
    return false;
  }
  rest.remove_suffix(kEvent.size());
  const std::string_view mark = rest.substr(rest.size() - kMark);
  if (mark[0] != '-' || mark.find_first_not_of("0123456789abcdef", 1) != std::string_view::npos) {
    return false;
  }
  rest.remove_suffix(kMark);
  constexpr std::string_view kStem =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
  return rest.size() <= 40 && rest.find_first_not_of(kStem) == std::string_view::npos;
}

std::vector<std::pair<std::string, std::string>> clipsSharingNames(
    const std::vector<std::string>& clips, const std::vector<std::string>& kept) {
  // Two clips share every event file's name when they share the first one's.
  std::unordered_map<std::string, std::string> owner;
  for (const std::string& clip : kept) owner.emplace(eventFileName(clip, 1, ""), clip);
  std::vector<std::pair<std::string, std::string>> sharing;
  for (const std::string& clip : clips) {
    const auto [at, added] = owner.emplace(eventFileName(clip, 1, ""), clip);
    if (!added && at->second != clip) sharing.emplace_back(clip, at->second);
  }
  return sharing;
}

ClipScan scanClip(const std::string& path, const ScanOptions& options, ScanProgress* progress) {
  const auto start = std::chrono::steady_clock::now();
  ClipScan scan;
  scan.clip = path;
  toolkit::PosixFileSystem machine;
  scan.stamp = stampOf(options.outFiles ? *options.outFiles : machine, path);
  // The boxes are kept for the report, not printed: a stream without a buffer drops them, where
  // one that kept them would grow with every frame that fails.
  std::ostream quiet(nullptr);
  ToolSession tool(quiet);
  tool.session().SeparateMJPG.VideoThreads = options.threads;
  scan.opened = tool.openClip(path);
  tool.gatherBoxesByFrame();
  // The results are all the scan wants: no scratch file is written while it searches.
  tool.session().SeparateMJPG.scratch().setMode(clip::ScratchFiles::Mode::Memory);
  std::vector<toolkit::MessageBoxRequest> errors;
  if (scan.opened) {
    scan.totalFrames = tool.session().OpenSaveFile.TotalFrames.value();
    if (progress) progress->totalFrames = scan.totalFrames;
    try {
      scan.microSecPerFrame = exporting::clipMicroSecPerFrame(tool.session().SeparateMJPG);
      const video::VideoFacts* video = tool.session().SeparateMJPG.videoFacts();
      if (scan.stamp.size >= 0) {
        scan.recordingStart =
            recordingStart(video ? video->creationTime : std::nullopt, scan.stamp.mtimeNs,
                           scan.totalFrames, scan.microSecPerFrame);
      }
      searchMotion(tool, options, scan, progress);
      scan.interrupted = options.cancelled && options.cancelled();
      scan.events = groupEvents(scan.motion, options.rules, scan.frameSeconds(), scan.totalFrames);
      if (!options.outFolder.empty() && !scan.interrupted) writeEventFiles(tool, scan, options);
    } catch (const toolkit::RuntimeError& e) {
      scan.broke = true;
      errors.push_back(toolkit::MessageBoxRequest::critical("Error " + std::to_string(e.number()) +
                                                            ": " + e.description()));
    }
  } else {
    scan.microSecPerFrame = 100000;
  }
  std::vector<ScanBox> events = std::move(scan.boxes);
  scan.boxes = tool.scanBoxes();
  scan.boxes.insert(scan.boxes.end(), events.begin(), events.end());
  scan.boxes.insert(scan.boxes.end(), errors.begin(), errors.end());
  scan.scanSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (progress) progress->done = true;
  return scan;
}

}  // namespace scan
