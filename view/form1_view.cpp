#include "skin/form1.h"

namespace skin {

void Form1::imgBegin_Click() {}
void Form1::imgEnd_Click() {}
void Form1::imgLeftStep_Click() {}
void Form1::imgRightStep_Click() {}
void Form1::imgLeftPlay_Click() {}
void Form1::imgPausePlay_Click() {}
void Form1::imgRightPlay_Click() {}
void Form1::imgZoomOut_Click() {}
void Form1::imgZoomIn_Click() {}
void Form1::tmrControlDisplay_Timer() {}
void Form1::picBar_MouseMove(Integer, Integer, Single, Single) {}
void Form1::picBar_MouseUp(Integer, Integer, Single, Single) {}
void Form1::picBlock_MouseDown(Integer, Integer, Single, Single) {}
void Form1::imgBar_MouseDown(Integer, Integer, Single, Single) {}
void Form1::imgBar_MouseUp(Integer, Integer, Single, Single) {}
void Form1::HS1_Change() {}
void Form1::HS1_Scroll() {}
void Form1::HS1_GotFocus() {}
void Form1::VS1_Change() {}
void Form1::VS1_Scroll() {}
void Form1::VS1_GotFocus() {}

}  // namespace skin
