#pragma once

// Finding the footage of hgvtool scan: the paths given, and the clips and videos under the
// folders among them, by their extensions, walked through the file-system seam one open folder
// at a time.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "scan/one_clip.h"
#include "toolkit/core/file_system.h"

namespace scan {

// The clips among `paths`, and what could not be looked through.
struct ClipList {
  // A file as it is, a folder's names with one of the extensions (any case) at any depth, whatever
  // kind of file they
  // are (a FIFO or device is refused when it is opened); all sorted by path, each once. A path
  // that does not exist is kept, so that it is reported as refused.
  std::vector<std::string> clips;
  // Folders that could not be read or lie too deep, by path, with the reason; each is also among
  // `clips`, to be reported with the clips that could not be opened.
  std::map<std::string, std::string> problems;
};

// How deep a walk goes below a folder given; deeper folders are problems.
inline constexpr int kMaxFolderDepth = 64;

// The extensions, lower case without the dot, that a walk takes by default: the clip's and those
// of the videos cameras write.
std::vector<std::string> footageExtensions();
// "hgv,MP4,.mov" as {"hgv", "mp4", "mov"}; none when an entry is empty or holds a dot or slash.
std::optional<std::vector<std::string>> parseExtensions(const std::string& list);

ClipList findClips(toolkit::FileSystem& files, const std::vector<std::string>& paths,
                   const std::vector<std::string>& extensions = footageExtensions());

// The scan of a path the walk could not look through: refused, with the walk's reason.
ClipScan walkProblem(const std::string& path, const std::string& reason);

}  // namespace scan
