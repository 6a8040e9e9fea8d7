#include "skin/frm_wait.h"

namespace skin {

void frmWait::Form_QueryUnload(toolkit::Integer&, toolkit::Integer&) {}
void frmWait::tmrWMV_Timer() {}

}  // namespace skin
