#include "window/form1.h"
#include "window/frm_export_video.h"

namespace window {

using toolkit::kFalse;

void Form1::imgSave_Click() {
  if (!session.clipHasFrames() || DrawRectangle.SearchAreaEditing != kFalse ||
      SearchingForward != kFalse || SearchingBack != kFalse) {
    return;
  }
  if (!MarkedPicturePath.empty()) MarkedPicturePath.clear();
  StopPlayback();
  Enabled = false;
  frmExportVideo.Show();
}

}  // namespace window
