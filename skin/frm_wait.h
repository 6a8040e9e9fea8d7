#pragma once

// The borderless wait window of a video conversion. Its handlers are in export/.

#include "review/session.h"
#include "toolkit/widgets/controls.h"

namespace skin {

class Form1;
class Windows;
class frmExportVideo;

class frmWait : public toolkit::Form {
 public:
  frmWait(toolkit::Host& host, review::Session& session, Windows& windows);

  review::Session& session;
  ::review::OpenSaveFile& OpenSaveFile;
  ::clip::SeparateMJPG& SeparateMJPG;
  ::skin::Form1& Form1;
  ::skin::frmExportVideo& frmExportVideo;

  toolkit::Timer* tmrWMV = nullptr;
  toolkit::Label* lblWait = nullptr;

  void Form_QueryUnload(toolkit::Integer& Cancel, toolkit::Integer& UnloadMode) override;
  void tmrWMV_Timer();

 protected:
  void createControls() override;
};

}  // namespace skin
