#include "skin/form1.h"

namespace skin {

void Form1::imgSave_Click() {}

}  // namespace skin
