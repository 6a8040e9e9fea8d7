#pragma once

// The names of the files cameras write, by extension without the dot, as the open dialog offers
// them and the scan looks for them. The clip's own ".hgv" comes first.

#include <array>
#include <string_view>

namespace clip {

inline constexpr std::string_view kClipExtension = "hgv";
inline constexpr std::array<std::string_view, 12> kVideoExtensions = {
    "mp4", "m4v", "mov", "avi", "mkv", "mts", "m2ts", "ts", "wmv", "asf", "3gp", "webm"};

}  // namespace clip
