#pragma once

// The module OpenSaveFile: what the session made of the open clip. It holds nothing but these
// variables; a fresh object is the state at program start.

#include <string>

#include "toolkit/core/vb_types.h"

namespace review {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::Long;

struct OpenSaveFile {
  Boolean ClipOpen = kFalse;
  std::string ClipFileName;
  // 32 bits: a camera's video may hold more frames than 16 bits count. A clip's reader keeps to
  // its own limit of 32,767, so a clip's numbers are what they always were.
  Long TotalFrames;
  Long CurrentFrame;
  std::string CurrentFrameFile;
  Long PictureWidth;   // twips
  Long PictureHeight;  // twips
  Boolean ZoomActive = kFalse;
  std::string WmvSourcePath;
  std::string WmvTargetPath;
  Long WmvFirstFrame;
  Long WmvFrameCount;
};

}  // namespace review
