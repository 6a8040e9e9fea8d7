#pragma once

// The export dialog "Save File". Its handlers are in frm_export_video.cpp.

#include "review/session.h"
#include "search/core/draw_rectangle.h"
#include "toolkit/widgets/controls.h"

namespace window {

class Form1;
class Windows;
class frmWait;

class frmExportVideo : public toolkit::Form {
 public:
  frmExportVideo(toolkit::Host& host, review::Session& session, Windows& windows);

  review::Session& session;
  ::review::OpenSaveFile& OpenSaveFile;
  ::clip::SeparateMJPG& SeparateMJPG;
  ::search::DrawRectangle& DrawRectangle;
  ::window::Form1& Form1;
  ::window::frmWait& frmWait;

  toolkit::Frame* Frame1 = nullptr;
  toolkit::CommonDialog* dlgSaveAVI = nullptr;
  toolkit::Frame* fraWMV = nullptr;
  toolkit::OptionButton* optSave200WMV = nullptr;
  toolkit::OptionButton* optSave100WMV = nullptr;
  toolkit::OptionButton* optSave50WMV = nullptr;
  toolkit::Frame* fraHGV = nullptr;
  toolkit::OptionButton* optSave200HGV = nullptr;
  toolkit::OptionButton* optSave100HGV = nullptr;
  toolkit::OptionButton* optSave50HGV = nullptr;
  toolkit::CommandButton* cmdExportFile = nullptr;
  toolkit::CommandButton* cmdChageSaveAddr = nullptr;
  toolkit::OptionButton* optJPG = nullptr;
  toolkit::Label* lblOutputWMV = nullptr;
  toolkit::Label* lblWMV = nullptr;
  toolkit::Label* lblEL = nullptr;
  toolkit::Label* lblExportAddress = nullptr;
  toolkit::Label* lblOutputHGV = nullptr;
  toolkit::Label* lblHGV = nullptr;

  void Form_Load() override;
  void Form_QueryUnload(toolkit::Integer& Cancel, toolkit::Integer& UnloadMode) override;
  void optJPG_Click();
  void optSave50HGV_Click();
  void optSave100HGV_Click();
  void optSave200HGV_Click();
  void optSave50WMV_Click();
  void optSave100WMV_Click();
  void optSave200WMV_Click();
  void cmdChageSaveAddr_Click();
  void cmdExportFile_Click();

  // Hides the dialog, puts up the wait window and leaves the conversion of the run of `length`
  // frames to `destination` to its timer's first tick.
  void BeginWmvExport(const std::string& destination, toolkit::Integer length);

 protected:
  void createControls() override;

 private:
  // An option's click: the destination's extension rewritten, the option alone chosen.
  void choose(toolkit::OptionButton* chosen, const char* extension);
};

}  // namespace window
