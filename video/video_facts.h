#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

extern "C" {
#include <libavformat/avformat.h>
}

#include "video/video_file.h"

namespace video {

// What the container says of `stream`, with the frame count of the packet index.
VideoFacts readFacts(const AVFormatContext* format, const AVStream* stream,
                     std::int64_t frameCount);

// "2024-05-01T06:12:33.000000Z" (or with a space, without the fraction or the Z) as seconds since
// 1970, always read as UTC: what muxers write there is UTC, and the reader's time zone must not
// move it. nullopt for anything else.
std::optional<std::int64_t> parseCreationTime(std::string_view text);

}  // namespace video
