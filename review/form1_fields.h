#pragma once

// The fields of the main window that several subsystems share. They are the window's, but they
// hold no control: the transport and the search procedures work on them with or without a
// window, so hgvtool runs the very procedures the window runs.

#include <string>

#include "toolkit/core/vb_types.h"

namespace review {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::Long;
using toolkit::Single;

struct Form1Fields {
  Boolean PlayingForward = kFalse;
  Boolean PlayingBack = kFalse;
  std::string PlaySpeed;
  Long BarTravel;  // twips
  Boolean BlockDragging = kFalse;
  Single BlockGrabX = 0;  // twips
  Integer ZoomPercent;
  Integer ZoomLevel;
  Boolean SearchingForward = kFalse;
  Boolean SearchingBack = kFalse;
  Boolean SearchStopRequested = kFalse;
  Boolean CloseRequested = kFalse;
  Integer SearchCellSize;
  // Not empty exactly while a search result stands.
  std::string MarkedPicturePath;
  std::string FramePicturePath;
  Boolean MarkedPictureShowing = kFalse;
  Boolean SettingsShown = kFalse;
  Single BoxGrabX = 0;  // pixels
  Single BoxGrabY = 0;
  Boolean BoxDragged = kFalse;
  Boolean FirstClipPending = kFalse;
};

}  // namespace review
