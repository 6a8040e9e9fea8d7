#pragma once

// The borderless wait window of a video conversion. Its handlers are in frm_wait.cpp.

#include "review/session.h"
#include "toolkit/widgets/controls.h"

namespace window {

class Form1;
class Windows;
class frmExportVideo;

class frmWait : public toolkit::Form {
 public:
  frmWait(toolkit::Host& host, review::Session& session, Windows& windows);

  review::Session& session;
  ::review::OpenSaveFile& OpenSaveFile;
  ::clip::SeparateMJPG& SeparateMJPG;
  ::window::Form1& Form1;
  ::window::frmExportVideo& frmExportVideo;

  toolkit::Timer* tmrWMV = nullptr;
  toolkit::Label* lblWait = nullptr;

  void Form_QueryUnload(toolkit::Integer& Cancel, toolkit::Integer& UnloadMode) override;
  void tmrWMV_Timer();

 protected:
  void createControls() override;
};

}  // namespace window
