#pragma once

// The four windows of the program, built together so that each reaches the others by name. A test
// builds a fresh set over its own host and session.

#include "review/session.h"
#include "skin/form1.h"
#include "skin/frm_export_video.h"
#include "skin/frm_setting.h"
#include "skin/frm_wait.h"

namespace skin {

class Windows {
 public:
  Windows(toolkit::Host& host, review::Session& session);
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

  ::skin::Form1 Form1;
  ::skin::frmExportVideo frmExportVideo;
  ::skin::frmSetting frmSetting;
  ::skin::frmWait frmWait;
};

}  // namespace skin
