#include "skin/form1.h"

namespace skin {

void Form1::imgFile_Click() {}

}  // namespace skin
