#include "toolkit/core/program_folder.h"
#include "window/form1.h"
#include "window/windows.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;

void Form1::Form_Load() {
  try {
    if (host().PrevInstance()) {
      // The running copy is not told, and its scratch files are its own: this copy only goes.
      m_endingSecondCopy = true;
      Unload();
      return;
    }
    review::loadStartingValues(session, *this);
    loadSearchStartingValues();
    picShowAVI->Visible = false;
    tmrControlDisplay->Enabled = false;
    HS1->Max = 100;
    VS1->Max = 100;
    picBase->Width = fraBox->Width;
    picBase->Height = fraBox->Height;
    SeparateMJPG.DisplayHeight = Long::fromDouble(picBase->Height);
    SeparateMJPG.DisplayWidth = Long::fromDouble(picBase->Width);
    lblImageID->Visible = false;
    pic = add<toolkit::PictureBox>("pic", nullptr, 0, 0, 0, 0);
    pic->Visible = false;
    pic->Picture = LoadPicture(toolkit::inFolder(programFolder(), "Harrowglen Interface.BMP"));
  } catch (const toolkit::RuntimeError&) {
    // Start-up ends quietly on any run-time error; a missing or broken interface bitmap costs
    // nothing.
  }
}

void Form1::Form_Resize() {}

void Form1::Form_QueryUnload(Integer& Cancel, Integer& UnloadMode) {
  (void)Cancel;
  (void)UnloadMode;
  if (m_endingSecondCopy) return;
  if (SearchingForward != kFalse || SearchingBack != kFalse) {
    // The search sees the flag at its next check and shuts the session down itself.
    CloseRequested = kTrue;
    return;
  }
  ShutDownSession();
}

void Form1::ShutDownSession() {
  std::vector<toolkit::Form*> loaded = host().Forms();
  for (toolkit::Form* form : loaded) form->Unload();
  clip::ScratchFiles& scratch = SeparateMJPG.scratch();
  if (FileExists(OpenSaveFile.CurrentFrameFile)) scratch.remove(OpenSaveFile.CurrentFrameFile);
  if (FileExists(scratch.bitmapPath())) scratch.remove(scratch.bitmapPath());
  if (FileExists(scratch.markedPath())) scratch.remove(scratch.markedPath());
}

}  // namespace window
