#include "skin/form1.h"

namespace skin {

void Form1::imgLeftSearch_Click() {}
void Form1::imgRightSearch_Click() {}
void Form1::imgSetting_Click() {}
void Form1::picShowAVI_MouseDown(Integer, Integer, Single, Single) {}
void Form1::picShowAVI_MouseMove(Integer, Integer, Single, Single) {}
void Form1::picShowAVI_MouseUp(Integer, Integer, Single, Single) {}

}  // namespace skin
