#pragma once

// The four windows of the program, built together so that each reaches the others by name. A test
// builds a fresh set over its own host and session.

#include "review/session.h"
#include "window/form1.h"
#include "window/frm_export_video.h"
#include "window/frm_setting.h"
#include "window/frm_wait.h"

namespace window {

class Windows {
 public:
  Windows(toolkit::Host& host, review::Session& session);
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

  ::window::Form1 Form1;
  ::window::frmExportVideo frmExportVideo;
  ::window::frmSetting frmSetting;
  ::window::frmWait frmWait;
};

}  // namespace window
