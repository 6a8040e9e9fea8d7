#pragma once

// The motion search settings dialog "Settings". Its handlers are in frm_setting_handlers.cpp.

#include "review/session.h"
#include "search/core/draw_rectangle.h"
#include "toolkit/widgets/controls.h"

namespace window {

class Form1;
class Windows;

class frmSetting : public toolkit::Form {
 public:
  frmSetting(toolkit::Host& host, review::Session& session, Windows& windows);

  ::review::OpenSaveFile& OpenSaveFile;
  ::clip::SeparateMJPG& SeparateMJPG;
  ::search::DrawRectangle& DrawRectangle;
  ::window::Form1& Form1;

  // The dialog was open before; survives its closing.
  toolkit::Boolean ClosedOnce = toolkit::kFalse;

  toolkit::CommandButton* cmdCancel = nullptr;
  toolkit::CommandButton* cmdOK = nullptr;
  toolkit::CommandButton* cmdDefault = nullptr;
  toolkit::ComboBox* cmbSensitivity = nullptr;
  toolkit::CommandButton* cmdSearchArea = nullptr;
  toolkit::Label* lblSettingText = nullptr;
  toolkit::Label* lblRestore = nullptr;
  toolkit::Label* lblSensitivity = nullptr;
  toolkit::Label* lblSelectArea = nullptr;

  void Form_Load() override;
  void Form_QueryUnload(toolkit::Integer& Cancel, toolkit::Integer& UnloadMode) override;
  void cmdOK_Click();
  void cmdCancel_Click();
  void cmdDefault_Click();
  void cmdSearchArea_Click();
  // Paints the current frame anew over whatever is drawn on the picture (a rubber band, the red
  // box), by the fit or the zoom path, with AutoRedraw True.
  void RepaintFrame();

 protected:
  void createControls() override;
};

}  // namespace window
