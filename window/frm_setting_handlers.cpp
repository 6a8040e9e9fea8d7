// The motion search settings dialog: sensitivity and search area, committed at OK.

#include "window/form1.h"
#include "window/frm_setting.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Pointer;
using toolkit::ScaleUnit;

namespace {

constexpr const char* kSettingText =
    "The Motion Search feature will scan through your video clip to show you where activity has "
    "occurred. This is a quick way to find out where the game is without having to watch the "
    "entire video.";
constexpr const char* kSelectAreaText =
    "Click on the \"Motion Search Area\" button. Set the search area in your video window to look "
    "for changes in a specific area. Simply click and drag the red motion search box to the area "
    "you want to confine your search.";
constexpr const char* kSensitivityText =
    "Select the sensitivity level of the Motion Search feature. For a faster scan, use the LOW "
    "setting. Using the HIGH sentivity setting will take longer to scan for events, yet will "
    "result in a more accurate search.";
constexpr const char* kRestoreText = "Restore to default search area and sensitivity.";

}  // namespace

void frmSetting::Form_Load() {
  lblSettingText->Caption = std::string(kSettingText);
  lblSelectArea->Caption = std::string(kSelectAreaText);
  lblSensitivity->Caption = std::string(kSensitivityText);
  std::string& sensitivity = Form1.AnalyseBMP.Sensitivity;
  if (ClosedOnce != kFalse) {
    cmbSensitivity->Text = sensitivity;
  } else {
    // The first load makes the default; before it the empty setting acts as "Medium".
    cmbSensitivity->Text = std::string("Medium");
    sensitivity = "Medium";
  }
  cmbSensitivity->AddItem("High");
  cmbSensitivity->AddItem("Medium");
  cmbSensitivity->AddItem("Low");
  lblRestore->Caption = std::string(kRestoreText);
  DrawRectangle.SearchAreaEditing = kFalse;
}

void frmSetting::RepaintFrame() {
  Form1.picShowAVI->AutoRedraw = true;
  Form1.ShowStep();
}

void frmSetting::cmdSearchArea_Click() {
  if (OpenSaveFile.ClipOpen == kFalse) return;
  DrawRectangle.SearchAreaEditing = kTrue;
  Form1.Enabled = true;
  Form1.ShaRect->Visible = false;
  RepaintFrame();
  toolkit::PictureBox& picShowAVI = *Form1.picShowAVI;
  picShowAVI.MousePointer = Pointer::Cross;
  picShowAVI.ScaleMode = ScaleUnit::Pixels;
  picShowAVI.Enabled = true;
  picShowAVI.SetFocus();
}

void frmSetting::cmdDefault_Click() {
  Form1.AnalyseBMP.Sensitivity = "Medium";
  cmbSensitivity->Text = Form1.AnalyseBMP.Sensitivity;
  Form1.RestoreDefaultBox();
}

void frmSetting::cmdOK_Click() {
  Form1.AnalyseBMP.Sensitivity = cmbSensitivity->Text;
  Form1.ShaRect->Visible = false;
  Form1.CommitSearchArea();
  RepaintFrame();
  Form1.picShowAVI->Enabled = true;
  Unload();
}

void frmSetting::cmdCancel_Click() {
  cmbSensitivity->Text = Form1.AnalyseBMP.Sensitivity;
  Form1.RevertSearchArea();
  RepaintFrame();
  Unload();
}

void frmSetting::Form_QueryUnload(toolkit::Integer&, toolkit::Integer&) {
  DrawRectangle.DefaultBox = {};
  Form1.picShowAVI->MousePointer = Pointer::Default;
  Form1.ShaRect->Visible = false;
  DrawRectangle.SearchAreaEditing = kFalse;
  ClosedOnce = kTrue;
  Form1.Enabled = true;
  Form1.picShowAVI->Enabled = true;
  Form1.SetFocus();
}

}  // namespace window
