#pragma once

// The exports of the current picture and of a run of frames from it, without a window: the
// window's Save dialog and hgvtool export call these.
//
// Every export writes to a temporary file beside the destination and puts it in place only when
// it is whole. A failure leaves the destination as it was, removes the temporary file and throws
// ExportFailure, whose text names the destination and says what went wrong.

#include <stdexcept>
#include <string>

#include "clip/separate_mjpg.h"
#include "toolkit/core/file_system.h"
#include "toolkit/writers/video_writer.h"

namespace exporting {

// The run an export takes: from ExtractedFrame, the requested length or what is left of the clip
// where that is less. It never runs past the last frame and never wraps to the start.
struct ExportRange {
  std::int32_t first = 0;
  std::int32_t count = 0;
};
ExportRange exportRange(const clip::SeparateMJPG& clip, std::int32_t length);

class ExportFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The current picture's JPEG bytes, read again from the clip, as the whole of `destination`.
void CopyCurrentJpg(clip::SeparateMJPG& clip, toolkit::FileSystem& files,
                    const std::string& destination);

// The run of `length` frames as a clip of the same format, picture size and frame rate, frame
// bytes as stored in the source.
void ExportHgvClip(clip::SeparateMJPG& clip, toolkit::FileSystem& files,
                   const std::string& destination, std::int32_t length);

// The frames of `range` as a clip of the same format, picture size and frame rate.
void ExportHgvRun(clip::SeparateMJPG& clip, toolkit::FileSystem& files,
                  const std::string& destination, const ExportRange& range);

// The frames [first, first + count) of the open clip `source` as a WMV video of the clip's
// picture size and frame rate. `rate` is the value the old call took beside them; the video's
// timing comes from the clip.
int TOWMV(clip::SeparateMJPG& clip, toolkit::FileSystem& files, const std::string& source,
          const std::string& target, int rate, std::int32_t first, std::int32_t count,
          std::int32_t width, std::int32_t height);

// The frames of `range` of the open clip `source` as a video of `format`, of the clip's picture
// size (rounded down to even) and frame rate.
void ExportVideoRun(clip::SeparateMJPG& clip, toolkit::FileSystem& files, const std::string& source,
                    const std::string& target, const ExportRange& range, std::int32_t width,
                    std::int32_t height, toolkit::VideoFormat format);

// The open clip's time per frame in microseconds: its dwMicroSecPerFrame, or a tenth of a second
// where that is 0.
std::uint32_t clipMicroSecPerFrame(const clip::SeparateMJPG& clip);

}  // namespace exporting
