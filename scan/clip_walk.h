#pragma once

// Finding the clips of hgvtool scan: the paths given, and the ".hgv" files under the folders
// among them, walked through the file-system seam one open folder at a time.

#include <map>
#include <string>
#include <vector>

#include "scan/one_clip.h"
#include "toolkit/core/file_system.h"

namespace scan {

// The clips among `paths`, and what could not be looked through.
struct ClipList {
  // A file as it is, a folder's ".hgv" names (any case) at any depth, whatever kind of file they
  // are (a FIFO or device is refused when it is opened); all sorted by path, each once. A path
  // that does not exist is kept, so that it is reported as refused.
  std::vector<std::string> clips;
  // Folders that could not be read or lie too deep, by path, with the reason; each is also among
  // `clips`, to be reported with the clips that could not be opened.
  std::map<std::string, std::string> problems;
};

// How deep a walk goes below a folder given; deeper folders are problems.
inline constexpr int kMaxFolderDepth = 64;

ClipList findClips(toolkit::FileSystem& files, const std::vector<std::string>& paths);

// The scan of a path the walk could not look through: refused, with the walk's reason.
ClipScan walkProblem(const std::string& path, const std::string& reason);

}  // namespace scan
