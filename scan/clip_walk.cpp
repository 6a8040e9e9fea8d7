#include "scan/clip_walk.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "clip/footage_types.h"
#include "toolkit/core/runtime_error.h"

namespace scan {
namespace {

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool isFootageName(const std::string& name, const std::vector<std::string>& extensions) {
  return std::any_of(extensions.begin(), extensions.end(),
                     [&](const std::string& e) { return clip::hasExtension(name, e); });
}

// Walks one folder given: its entries are read whole before any subfolder is opened, so the walk
// holds one open folder at a time, however deep it goes.
void walkFolder(toolkit::FileSystem& files, const std::string& top,
                const std::vector<std::string>& extensions, ClipList& list) {
  std::vector<std::pair<std::string, int>> folders{{top, 0}};
  while (!folders.empty()) {
    const auto [folder, depth] = folders.back();
    folders.pop_back();
    if (depth > kMaxFolderDepth) {
      list.problems[folder] = "the folder lies more than " + std::to_string(kMaxFolderDepth) +
                              " levels deep: it was not searched";
      continue;
    }
    std::vector<toolkit::FolderEntry> entries;
    try {
      entries = files.list(folder);
    } catch (const toolkit::RuntimeError& e) {
      list.problems[folder] = "cannot read the folder: " + e.description();
      continue;
    }
    for (const toolkit::FolderEntry& entry : entries) {
      const std::string path = folder + "/" + entry.name;
      // Links to folders are not followed: a link back up would walk for ever.
      if (entry.kind == toolkit::FileKind::Folder) {
        folders.emplace_back(path, depth + 1);
      } else if (isFootageName(entry.name, extensions)) {
        list.clips.push_back(path);
      }
    }
  }
}

}  // namespace

std::vector<std::string> footageExtensions() {
  std::vector<std::string> extensions{std::string(clip::kClipExtension)};
  for (const std::string_view e : clip::kVideoExtensions) extensions.emplace_back(e);
  return extensions;
}

std::optional<std::vector<std::string>> parseExtensions(const std::string& list) {
  std::vector<std::string> extensions;
  std::size_t start = 0;
  while (start <= list.size()) {
    const std::size_t comma = std::min(list.find(',', start), list.size());
    std::string e = lowered(list.substr(start, comma - start));
    if (!e.empty() && e[0] == '.') e.erase(0, 1);
    if (e.empty() || e.find_first_of("./") != std::string::npos) return std::nullopt;
    extensions.push_back(std::move(e));
    start = comma + 1;
  }
  return extensions;
}

ClipList findClips(toolkit::FileSystem& files, const std::vector<std::string>& paths,
                   const std::vector<std::string>& extensions) {
  ClipList list;
  for (const std::string& path : paths) {
    // A folder given is walked even through a link; a link met on the walk is not followed.
    if (files.facts(path).kind == toolkit::FileKind::Folder) {
      walkFolder(files, path, extensions, list);
    } else {
      list.clips.push_back(path);
    }
  }
  for (const auto& problem : list.problems) list.clips.push_back(problem.first);
  std::sort(list.clips.begin(), list.clips.end());
  list.clips.erase(std::unique(list.clips.begin(), list.clips.end()), list.clips.end());
  return list;
}

ClipScan walkProblem(const std::string& path, const std::string& reason) {
  ClipScan scan;
  scan.clip = path;
  // No stamp: a later --resume looks through the folder again.
  scan.stamp = {};
  scan.microSecPerFrame = 100000;
  scan.boxes.push_back(toolkit::MessageBoxRequest::critical(reason));
  return scan;
}

}  // namespace scan
