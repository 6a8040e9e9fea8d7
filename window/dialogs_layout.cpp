#include "window/frm_export_video.h"
#include "window/frm_setting.h"
#include "window/frm_wait.h"
#include "window/windows.h"

namespace window {
namespace {

using toolkit::FontSpec;
using toolkit::RGB;

constexpr FontSpec kArial9Bold{"Arial", 9, true};
constexpr FontSpec kArial975{"Arial", 9.75, false};
constexpr FontSpec kArial1125{"Arial", 11.25, false};
constexpr FontSpec kArial1125Bold{"Arial", 11.25, true};
constexpr FontSpec kArial12{"Arial", 12, false};
constexpr FontSpec kArial12Bold{"Arial", 12, true};
constexpr toolkit::Color kBlack = RGB(0, 0, 0);

}  // namespace

Windows::Windows(toolkit::Host& host, review::Session& session)
    : Form1(host, session, *this),
      frmExportVideo(host, session, *this),
      frmSetting(host, session, *this),
      frmWait(host, session, *this) {}

frmExportVideo::frmExportVideo(toolkit::Host& host, review::Session& session, Windows& windows)
    : Form(host, "frmExportVideo"),
      session(session),
      OpenSaveFile(session.OpenSaveFile),
      SeparateMJPG(session.SeparateMJPG),
      DrawRectangle(windows.Form1.DrawRectangle),
      Form1(windows.Form1),
      frmWait(windows.frmWait) {}

void frmExportVideo::createControls() {
  Caption = std::string("Save File");
  setBorder(toolkit::FormBorder::FixedDialog, false);
  setClientSize(8235, 8850);

  auto option = [this](const char* name, toolkit::Control* container, Single l, Single t, Single w,
                       Single h, const char* caption, const FontSpec& font, int tab) {
    auto* o = add<toolkit::OptionButton>(name, container, l, t, w, h);
    o->Caption = std::string(caption);
    o->setFont(font);
    o->ForeColor = kBlack;
    o->TabIndex = tab;
    return o;
  };
  auto label = [this](const char* name, Single l, Single t, Single w, Single h, const char* caption,
                      const FontSpec& font, int tab) {
    auto* lbl = add<toolkit::Label>(name, Frame1, l, t, w, h);
    lbl->Caption = std::string(caption);
    lbl->setFont(font);
    lbl->ForeColor = kBlack;
    lbl->TabIndex = tab;
    return lbl;
  };

  Frame1 = add<toolkit::Frame>("Frame1", nullptr, 225, 300, 7740, 8115);
  Frame1->Caption = std::string("Export Image or Video Clip (beginning at current picture)");
  Frame1->setFont(kArial12Bold);
  Frame1->ForeColor = kBlack;
  Frame1->TabIndex = 6;
  dlgSaveAVI = add<toolkit::CommonDialog>("dlgSaveAVI", Frame1, 6840, 480, 0, 0);

  fraWMV = add<toolkit::Frame>("fraWMV", Frame1, 4395, 1635, 3120, 1815);
  fraWMV->Caption = std::string("VideoType_WMV");
  fraWMV->setFont(kArial1125);
  fraWMV->TabIndex = 18;
  optSave200WMV = option("optSave200WMV", fraWMV, 120, 1440, 2865, 285, "200 images video clip",
                         kArial1125Bold, 22);
  optSave100WMV = option("optSave100WMV", fraWMV, 120, 960, 2895, 285, "100 images video clip",
                         kArial1125Bold, 21);
  optSave50WMV = option("optSave50WMV", fraWMV, 120, 480, 2880, 285, "50 images video clip",
                        kArial1125Bold, 20);

  fraHGV = add<toolkit::Frame>("fraHGV", Frame1, 225, 1635, 3135, 1815);
  fraHGV->Caption = std::string("VideoType_HGV");
  fraHGV->setFont(kArial1125);
  fraHGV->TabIndex = 12;
  optSave200HGV = option("optSave200HGV", fraHGV, 120, 1440, 2775, 285, "200 images video clip",
                         kArial1125Bold, 15);
  optSave100HGV = option("optSave100HGV", fraHGV, 135, 960, 2730, 285, "100 images video clip",
                         kArial1125Bold, 14);
  optSave50HGV = option("optSave50HGV", fraHGV, 150, 495, 2730, 285, "50 images video clip",
                        kArial1125Bold, 13);
  fraHGV->Enabled = false;

  cmdExportFile = add<toolkit::CommandButton>("cmdExportFile", Frame1, 6390, 7455, 1095, 495);
  cmdExportFile->Caption = std::string("&Export");
  cmdExportFile->setFont(kArial1125Bold);
  cmdExportFile->TabIndex = 11;
  cmdChageSaveAddr = add<toolkit::CommandButton>("cmdChageSaveAddr", Frame1, 255, 5925, 1215, 495);
  cmdChageSaveAddr->Caption = std::string("&Change...");
  cmdChageSaveAddr->setFont(kArial1125Bold);
  cmdChageSaveAddr->TabIndex = 10;
  optJPG = option("optJPG", Frame1, 240, 480, 2655, 375, "Current Image(*.JPG)", kArial9Bold, 7);

  lblOutputWMV = label("lblOutputWMV", 4380, 3975, 3120, 975, "", kArial975, 23);
  lblWMV = label("lblWMV", 4350, 1080, 2550, 285, "Window Video Clip(*.WMV)", kArial975, 19);
  lblEL = label("lblEL", 270, 5490, 1575, 255, "Export Location", kArial1125, 17);
  lblExportAddress = label("lblExportAddress", 270, 6585, 7215, 495, "", kArial1125, 16);
  lblExportAddress->ForeColor = toolkit::kSysWindowText;
  lblExportAddress->BackStyle = toolkit::LabelBackStyle::Transparent;
  lblOutputHGV = label("lblOutputHGV", 210, 3960, 3120, 975, "", kArial975, 9);
  lblHGV =
      label("lblHGV", 240, 1080, 2700, 255, "Harrowglen Camera Video Clip(*.HGV)", kArial975, 8);

  optJPG->onClick = [this] { optJPG_Click(); };
  optSave50HGV->onClick = [this] { optSave50HGV_Click(); };
  optSave100HGV->onClick = [this] { optSave100HGV_Click(); };
  optSave200HGV->onClick = [this] { optSave200HGV_Click(); };
  optSave50WMV->onClick = [this] { optSave50WMV_Click(); };
  optSave100WMV->onClick = [this] { optSave100WMV_Click(); };
  optSave200WMV->onClick = [this] { optSave200WMV_Click(); };
  cmdChageSaveAddr->onClick = [this] { cmdChageSaveAddr_Click(); };
  cmdExportFile->onClick = [this] { cmdExportFile_Click(); };
}

frmSetting::frmSetting(toolkit::Host& host, review::Session& session, Windows& windows)
    : Form(host, "frmSetting"),
      OpenSaveFile(session.OpenSaveFile),
      SeparateMJPG(session.SeparateMJPG),
      DrawRectangle(windows.Form1.DrawRectangle),
      Form1(windows.Form1) {}

void frmSetting::createControls() {
  Caption = std::string("Settings");
  setBorder(toolkit::FormBorder::FixedDialog, false);
  setClientSize(7380, 8325);

  auto button = [this](const char* name, Single l, Single t, Single w, Single h,
                       const char* caption, int tab) {
    auto* b = add<toolkit::CommandButton>(name, nullptr, l, t, w, h);
    b->Caption = std::string(caption);
    b->setFont(kArial1125Bold);
    b->TabIndex = tab;
    return b;
  };
  auto label = [this](const char* name, Single l, Single t, Single w, Single h, int tab) {
    auto* lbl = add<toolkit::Label>(name, nullptr, l, t, w, h);
    lbl->setFont(kArial12);
    lbl->ForeColor = kBlack;
    lbl->TabIndex = tab;
    return lbl;
  };

  cmdCancel = button("cmdCancel", 5985, 7455, 975, 615, "&Cancel", 7);
  cmdOK = button("cmdOK", 5925, 5925, 975, 615, "&OK", 6);
  cmdDefault = button("cmdDefault", 330, 6990, 1095, 615, "&Default", 5);
  cmbSensitivity = add<toolkit::ComboBox>("cmbSensitivity", nullptr, 360, 5595, 1695, 390);
  cmbSensitivity->setFont(kArial1125Bold);
  cmbSensitivity->BackColor = toolkit::kSysButtonFace;
  cmbSensitivity->TabIndex = 3;
  cmdSearchArea = button("cmdSearchArea", 300, 3180, 2730, 615, "&Set Motion Search Area", 1);
  cmdSearchArea->BackColor = RGB(255, 128, 0);
  lblSettingText = label("lblSettingText", 375, 255, 6570, 1170, 8);
  lblRestore = label("lblRestore", 345, 6540, 4815, 360, 4);
  lblSensitivity = label("lblSensitivity", 375, 4365, 6645, 1215, 2);
  lblSelectArea = label("lblSelectArea", 360, 1935, 6600, 1155, 0);

  cmdOK->onClick = [this] { cmdOK_Click(); };
  cmdCancel->onClick = [this] { cmdCancel_Click(); };
  cmdDefault->onClick = [this] { cmdDefault_Click(); };
  cmdSearchArea->onClick = [this] { cmdSearchArea_Click(); };
}

frmWait::frmWait(toolkit::Host& host, review::Session& session, Windows& windows)
    : Form(host, "frmWait"),
      session(session),
      OpenSaveFile(session.OpenSaveFile),
      SeparateMJPG(session.SeparateMJPG),
      Form1(windows.Form1),
      frmExportVideo(windows.frmExportVideo) {}

void frmWait::createControls() {
  setBorder(toolkit::FormBorder::None, false);
  setClientSize(3915, 1290);
  setStartCentred(true);
  setBackColor(RGB(0, 128, 128));
  setFont({"Arial", 9, false});

  tmrWMV = add<toolkit::Timer>("tmrWMV", nullptr, 3360, 0, 0, 0);
  tmrWMV->Interval = 0;
  lblWait = add<toolkit::Label>("lblWait", nullptr, 480, 480, 2895, 345);
  lblWait->Caption = std::string("Converting ...Please wait!");
  lblWait->setFont(kArial12Bold);
  lblWait->BackColor = RGB(0, 128, 128);
  lblWait->ForeColor = RGB(255, 255, 255);
  lblWait->TabIndex = 0;

  tmrWMV->onTimer = [this] { tmrWMV_Timer(); };
}

}  // namespace window
