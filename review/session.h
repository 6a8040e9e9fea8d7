#pragma once

// The program's module state, one object per run (or per test, or per clip of hgvtool scan): the
// clip reader's variables and the session's. The windows reach them by these names. The search
// keeps its own state beside it (search::SearchState).

#include "clip/separate_mjpg.h"
#include "review/form1_fields.h"
#include "review/open_save_file.h"
#include "toolkit/core/platform.h"

namespace review {

struct Session {
  explicit Session(toolkit::Platform& platform) : platform(platform), SeparateMJPG(platform) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  toolkit::Platform& platform;
  ::clip::SeparateMJPG SeparateMJPG;
  ::review::OpenSaveFile OpenSaveFile;

  // A clip is open and has frames to show. A file that passed the header check but whose scan
  // gave no frame leaves ClipOpen True with tables that are not this clip's: every handler that
  // needs a frame takes that state for no clip.
  bool clipHasFrames() const {
    return OpenSaveFile.ClipOpen != toolkit::kFalse && OpenSaveFile.TotalFrames > Long(0);
  }
};

// The starting values that Form_Load gives the session and the window's fields.
void loadStartingValues(Session& session, Form1Fields& fields);

}  // namespace review
