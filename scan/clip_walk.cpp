#include "scan/clip_walk.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <utility>

#include "toolkit/core/runtime_error.h"

namespace scan {
namespace {

bool isClipName(const std::filesystem::path& p) {
  std::string ext = p.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".hgv";
}

// Walks one folder given: its entries are read whole before any subfolder is opened, so the walk
// holds one open folder at a time, however deep it goes.
void walkFolder(toolkit::FileSystem& files, const std::string& top, ClipList& list) {
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
      } else if (isClipName(entry.name)) {
        list.clips.push_back(path);
      }
    }
  }
}

}  // namespace

ClipList findClips(toolkit::FileSystem& files, const std::vector<std::string>& paths) {
  ClipList list;
  for (const std::string& path : paths) {
    // A folder given is walked even through a link; a link met on the walk is not followed.
    if (files.facts(path).kind == toolkit::FileKind::Folder) {
      walkFolder(files, path, list);
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
