#pragma once

// The program's module state, one object per run (or per test): the clip reader's variables, the
// session's, and the search box's. The windows reach them by these names.

#include "clip/separate_mjpg.h"
#include "review/draw_rectangle.h"
#include "review/open_save_file.h"
#include "toolkit/core/platform.h"

namespace review {

struct Session {
  explicit Session(toolkit::Platform& platform) : SeparateMJPG(platform) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  ::clip::SeparateMJPG SeparateMJPG;
  ::review::OpenSaveFile OpenSaveFile;
  ::review::DrawRectangle DrawRectangle;
};

}  // namespace review
