#include "skin/frm_export_video.h"

namespace skin {

void frmExportVideo::Form_Load() {}
void frmExportVideo::Form_QueryUnload(toolkit::Integer&, toolkit::Integer&) {}
void frmExportVideo::optJPG_Click() {}
void frmExportVideo::optSave50HGV_Click() {}
void frmExportVideo::optSave100HGV_Click() {}
void frmExportVideo::optSave200HGV_Click() {}
void frmExportVideo::optSave50WMV_Click() {}
void frmExportVideo::optSave100WMV_Click() {}
void frmExportVideo::optSave200WMV_Click() {}
void frmExportVideo::cmdChageSaveAddr_Click() {}
void frmExportVideo::cmdExportFile_Click() {}

}  // namespace skin
