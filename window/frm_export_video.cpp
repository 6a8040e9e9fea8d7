// The export dialog "Save File": what to export from the current picture on, and where to.

#include "window/frm_export_video.h"

#include "export/core/exports.h"
#include "review/open_clip.h"
#include "toolkit/core/runtime_error.h"
#include "window/form1.h"
#include "window/frm_wait.h"

namespace window {

using toolkit::Integer;
using toolkit::kFalse;

namespace {

constexpr const char* kOutputHgvText =
    "Exporting to a .HGV file will maintain the original image resolution. This file is suitable "
    "for review with the Harrowglen software.";
constexpr const char* kOutputWmvText =
    "Exporting to a .WMV file will compress the video to a smaller size.  This file is suitable "
    "for email or upload to the internet.";
constexpr const char* kHgvFilter = "HGV File(*.hgv)|*.hgv";
constexpr const char* kWmvFilter = "WMV File(*.wmv)|*.wmv";
constexpr const char* kJpgFilter = "Jpg File(*.jpg)|*.jpg";
constexpr const char* kClipCreated = "Harrowglen Video File Successfully Created";
constexpr const char* kImageCreated = "Image File Successfully Created";

// The last "." of the whole path and everything before it, then the extension; a path without a
// "." becomes the bare extension.
std::string withExtension(const std::string& path, const char* extension) {
  const std::size_t dot = path.rfind('.');
  return (dot == std::string::npos ? std::string() : path.substr(0, dot + 1)) + extension;
}

}  // namespace

void frmExportVideo::Form_Load() {
  lblOutputHGV->Caption = std::string(kOutputHgvText);
  lblOutputWMV->Caption = std::string(kOutputWmvText);
  optJPG->Value = true;
  fraWMV->Enabled = true;
  fraHGV->Enabled = true;
  cmdExportFile->Enabled = false;
}

void frmExportVideo::Form_QueryUnload(Integer&, Integer&) {
  Form1.Enabled = true;
  Form1.picShowAVI->Enabled = true;
}

void frmExportVideo::choose(toolkit::OptionButton* chosen, const char* extension) {
  const std::string address = lblExportAddress->Caption;
  if (!address.empty()) lblExportAddress->Caption = withExtension(address, extension);
  for (toolkit::OptionButton* option : {optJPG, optSave50HGV, optSave100HGV, optSave200HGV,
                                        optSave50WMV, optSave100WMV, optSave200WMV}) {
    option->Value = option == chosen;
  }
}

void frmExportVideo::optJPG_Click() { choose(optJPG, "jpg"); }
void frmExportVideo::optSave50HGV_Click() { choose(optSave50HGV, "hgv"); }
void frmExportVideo::optSave100HGV_Click() { choose(optSave100HGV, "hgv"); }
void frmExportVideo::optSave200HGV_Click() { choose(optSave200HGV, "hgv"); }
void frmExportVideo::optSave50WMV_Click() { choose(optSave50WMV, "wmv"); }
void frmExportVideo::optSave100WMV_Click() { choose(optSave100WMV, "wmv"); }
void frmExportVideo::optSave200WMV_Click() { choose(optSave200WMV, "wmv"); }

void frmExportVideo::cmdChageSaveAddr_Click() {
  try {
    if (OpenSaveFile.ClipOpen == kFalse) return;
    if (optSave50HGV->Value || optSave100HGV->Value || optSave200HGV->Value) {
      dlgSaveAVI->Filter = kHgvFilter;
    } else if (optSave50WMV->Value || optSave100WMV->Value || optSave200WMV->Value) {
      dlgSaveAVI->Filter = kWmvFilter;
    } else if (optJPG->Value) {
      dlgSaveAVI->Filter = kJpgFilter;
    }
    dlgSaveAVI->FilterIndex = 1;
    dlgSaveAVI->MaxFileSize = 1000;
    dlgSaveAVI->ShowSave();
    if (dlgSaveAVI->FileName.size() < 3) return;
    const std::string name = dlgSaveAVI->FileName;
    dlgSaveAVI->FileName = "";
    lblExportAddress->Caption = name;
    cmdExportFile->Enabled = true;
  } catch (const toolkit::RuntimeError& e) {
    MsgBox(toolkit::errorBoxText(review::kOpenHandlerName, e), toolkit::MsgIcon::Critical);
  }
}

void frmExportVideo::cmdExportFile_Click() {
  if (!session.clipHasFrames()) return;
  cmdExportFile->Enabled = false;
  const std::string destination = lblExportAddress->Caption;
  toolkit::FileSystem& files = session.platform.files;
  const auto lengthOf = [](toolkit::OptionButton* fifty, toolkit::OptionButton* hundred) {
    return fifty->Value ? 50 : hundred->Value ? 100 : 200;
  };
  try {
    if (optSave50HGV->Value || optSave100HGV->Value || optSave200HGV->Value) {
      exporting::ExportHgvClip(SeparateMJPG, files, destination,
                               lengthOf(optSave50HGV, optSave100HGV));
      MsgBox(kClipCreated, toolkit::MsgIcon::None, std::string("Save"));
      Unload();
    } else if (optSave50WMV->Value || optSave100WMV->Value || optSave200WMV->Value) {
      BeginWmvExport(destination, lengthOf(optSave50WMV, optSave100WMV));
    } else if (optJPG->Value) {
      exporting::CopyCurrentJpg(SeparateMJPG, files, destination);
      MsgBox(kImageCreated, toolkit::MsgIcon::None, std::string("Save"));
      Unload();
    }
  } catch (const exporting::ExportFailure& e) {
    // Nothing was written; the windows come back as after an export.
    Unload();
    MsgBox(e.what(), toolkit::MsgIcon::Critical);
  }
}

void frmExportVideo::BeginWmvExport(const std::string& destination, Integer length) {
  Hide();
  frmWait.Show();
  Form1.Enabled = false;
  Form1.picShowAVI->Enabled = false;
  frmWait.tmrWMV->Enabled = true;
  frmWait.tmrWMV->Interval = 10;
  const exporting::ExportRange range = exporting::exportRange(SeparateMJPG, length.value());
  OpenSaveFile.WmvFrameCount = range.count;
  OpenSaveFile.WmvSourcePath = SeparateMJPG.ClipPath;
  OpenSaveFile.WmvFirstFrame = range.first;
  OpenSaveFile.WmvTargetPath = destination;
}

}  // namespace window
