// The wait window of a video conversion: its timer's one tick does the conversion.

#include "window/frm_wait.h"

#include "export/core/exports.h"
#include "window/form1.h"
#include "window/frm_export_video.h"

namespace window {

namespace {
// The value the old conversion call took beside the range.
constexpr int kConversionRate = 1;
}  // namespace

void frmWait::Form_QueryUnload(toolkit::Integer&, toolkit::Integer&) {}

void frmWait::tmrWMV_Timer() {
  tmrWMV->Enabled = false;
  std::optional<std::string> failure;
  try {
    exporting::TOWMV(SeparateMJPG, session.platform.files, OpenSaveFile.WmvSourcePath,
                     OpenSaveFile.WmvTargetPath, kConversionRate,
                     OpenSaveFile.WmvFirstFrame.value(), OpenSaveFile.WmvFrameCount.value(),
                     SeparateMJPG.ClipWidth.value(), SeparateMJPG.ClipHeight.value());
  } catch (const exporting::ExportFailure& e) {
    failure = e.what();
  }
  Unload();
  frmExportVideo.Unload();
  if (failure) Form1.MsgBox(*failure, toolkit::MsgIcon::Critical);
}

}  // namespace window
