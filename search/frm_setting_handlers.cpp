#include "skin/frm_setting.h"

namespace skin {

void frmSetting::Form_Load() {}
void frmSetting::Form_QueryUnload(toolkit::Integer&, toolkit::Integer&) {}
void frmSetting::cmdOK_Click() {}
void frmSetting::cmdCancel_Click() {}
void frmSetting::cmdDefault_Click() {}
void frmSetting::cmdSearchArea_Click() {}

}  // namespace skin
