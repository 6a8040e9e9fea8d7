#pragma once

// Opening a clip once its file is chosen: the part of the open button's handler that needs no
// window. The window, hgvtool and the tests all open clips through OpenClipFile.

#include <string>

#include "review/session.h"

namespace review {

// The name line of the open handler's error box.
inline constexpr const char* kOpenHandlerName = "ModuleName | ProcedureName";
// The warning when a file passed the header check but its scan gave no frame and said nothing.
inline constexpr const char* kNoFramesText = "The clip holds no frames that can be shown.";

enum class OpenResult {
  Refused,       // the header check said no; ClipOpen is False
  VideoRefused,  // a file that is no clip could not be opened as a video; nothing changed
  NoFrames,      // admitted, but the scan gave 0 frames; ClipOpen True, TotalFrames 0
  NoPicture,     // frame 0 was extracted but its file is not there
  Extracted,     // frame 0 is in CurrentFrameFile, ready to be shown
};

// A file that is no clip (clip::SeparateMJPG::isClipFile) is opened as a camera's video instead of
// the header check, and then goes on as a clip does. Otherwise sets ClipFileName, runs the header
// check into ClipOpen and the scan into TotalFrames, then extracts frame 0 as CurrentFrame.
// Refusals show their own boxes; a scan that gave 0 frames silently gets kNoFramesText. Run-time
// errors of the extraction propagate: the caller shows them under kOpenHandlerName.
OpenResult OpenClipFile(Session& session, const std::string& path);

}  // namespace review
