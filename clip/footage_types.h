#pragma once

// The names of the files cameras write, by extension without the dot, as the open dialog offers
// them and the scan looks for them. The clip's own ".hgv" comes first.

#include <array>
#include <cctype>
#include <string_view>

namespace clip {

// Whether `name` ends in "." and `extension`, in any case.
inline bool hasExtension(std::string_view name, std::string_view extension) {
  if (name.size() <= extension.size() || name[name.size() - extension.size() - 1] != '.') {
    return false;
  }
  const std::string_view tail = name.substr(name.size() - extension.size());
  for (std::size_t i = 0; i < tail.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(tail[i])) !=
        std::tolower(static_cast<unsigned char>(extension[i]))) {
      return false;
    }
  }
  return true;
}

inline constexpr std::string_view kClipExtension = "hgv";
inline constexpr std::array<std::string_view, 12> kVideoExtensions = {
    "mp4", "m4v", "mov", "avi", "mkv", "mts", "m2ts", "ts", "wmv", "asf", "3gp", "webm"};

}  // namespace clip
