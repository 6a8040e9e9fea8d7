#pragma once

// The main window: a skin of one background picture and image buttons, with the frame view in
// the middle and the timeline bar below it. Its handlers are defined in the folders that own
// them: start-up, shutdown and opening in review/, the view and the transport in view/, the
// search in search/, the export button in export/.

#include <string>

#include "review/session.h"
#include "toolkit/widgets/controls.h"

namespace skin {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::Long;
using toolkit::Single;

class Windows;
class frmExportVideo;
class frmSetting;
class frmWait;

class Form1 : public toolkit::Form {
 public:
  Form1(toolkit::Host& host, review::Session& session, Windows& windows);

  // Module state and the other windows, by the names the handlers use.
  ::review::OpenSaveFile& OpenSaveFile;
  ::clip::SeparateMJPG& SeparateMJPG;
  ::review::DrawRectangle& DrawRectangle;
  ::skin::frmExportVideo& frmExportVideo;
  ::skin::frmSetting& frmSetting;
  ::skin::frmWait& frmWait;

  // Fields of the window; their starting values come from Form_Load.
  Boolean PlayingForward = toolkit::kFalse;
  Boolean PlayingBack = toolkit::kFalse;
  std::string PlaySpeed;
  Long BarTravel;  // twips
  Boolean BlockDragging = toolkit::kFalse;
  Single BlockGrabX = 0;  // twips
  Integer ZoomPercent;
  Integer ZoomLevel;
  Boolean SearchingForward = toolkit::kFalse;
  Boolean SearchingBack = toolkit::kFalse;
  Boolean SearchStopRequested = toolkit::kFalse;
  Boolean CloseRequested = toolkit::kFalse;
  Integer SearchCellSize;
  std::string MarkedPicturePath;
  std::string FramePicturePath;
  Boolean MarkedPictureShowing = toolkit::kFalse;
  Boolean SettingsShown = toolkit::kFalse;
  Single BoxGrabX = 0;
  Single BoxGrabY = 0;
  Boolean BoxDragged = toolkit::kFalse;
  Boolean FirstClipPending = toolkit::kFalse;

  // Controls of the current load.
  toolkit::CommonDialog* dlgOpenAVI = nullptr;
  toolkit::PictureBox* picBar = nullptr;
  toolkit::PictureBox* picBlock = nullptr;
  toolkit::ImageControl* imgBar = nullptr;
  toolkit::Frame* fraBox = nullptr;
  toolkit::PictureBox* picBase = nullptr;
  toolkit::PictureBox* picShowAVI = nullptr;
  toolkit::Shape* ShaRect = nullptr;
  toolkit::ScrollBar* VS1 = nullptr;
  toolkit::ScrollBar* HS1 = nullptr;
  toolkit::Timer* tmrControlDisplay = nullptr;
  toolkit::Label* lblImageID = nullptr;

  toolkit::ImageControl* imgFile = nullptr;
  toolkit::ImageControl* imgSetting = nullptr;
  toolkit::ImageControl* imgSave = nullptr;
  toolkit::ImageControl* imgBegin = nullptr;
  toolkit::ImageControl* imgEnd = nullptr;
  toolkit::ImageControl* imgLeftStep = nullptr;
  toolkit::ImageControl* imgRightStep = nullptr;
  toolkit::ImageControl* imgLeftPlay = nullptr;
  toolkit::ImageControl* imgPausePlay = nullptr;
  toolkit::ImageControl* imgRightPlay = nullptr;
  toolkit::ImageControl* imgLeftSearch = nullptr;
  toolkit::ImageControl* imgRightSearch = nullptr;
  toolkit::ImageControl* imgZoomOut = nullptr;
  toolkit::ImageControl* imgZoomIn = nullptr;

  toolkit::ImageControl* imgCfile = nullptr;
  toolkit::ImageControl* imgCsetting = nullptr;
  toolkit::ImageControl* imgCsave = nullptr;
  toolkit::ImageControl* imgCbe = nullptr;
  toolkit::ImageControl* imgCstep = nullptr;
  toolkit::ImageControl* imgCplay = nullptr;
  toolkit::ImageControl* imgCsearch = nullptr;
  toolkit::ImageControl* imgCzoom = nullptr;

  toolkit::ImageControl* img1X = nullptr;
  toolkit::ImageControl* img2X = nullptr;
  toolkit::ImageControl* img3X = nullptr;
  toolkit::ImageControl* img4X = nullptr;
  toolkit::ImageControl* img5X = nullptr;
  toolkit::ImageControl* img1XN = nullptr;
  toolkit::ImageControl* img2XN = nullptr;
  toolkit::ImageControl* img3XN = nullptr;
  toolkit::ImageControl* img4XN = nullptr;
  toolkit::ImageControl* img5XN = nullptr;

  // The hidden box that Form_Load adds at run time.
  toolkit::PictureBox* pic = nullptr;

  // Start-up and shutdown (review/).
  void Form_Load() override;
  void Form_Resize() override;
  void Form_QueryUnload(Integer& Cancel, Integer& UnloadMode) override;
  void ShutDownSession();

  // Opening a clip (review/).
  void imgFile_Click();

  // View and transport (view/).
  void imgBegin_Click();
  void imgEnd_Click();
  void imgLeftStep_Click();
  void imgRightStep_Click();
  void imgLeftPlay_Click();
  void imgPausePlay_Click();
  void imgRightPlay_Click();
  void imgZoomOut_Click();
  void imgZoomIn_Click();
  void tmrControlDisplay_Timer();
  void picBar_MouseMove(Integer Button, Integer Shift, Single X, Single Y);
  void picBar_MouseUp(Integer Button, Integer Shift, Single X, Single Y);
  void picBlock_MouseDown(Integer Button, Integer Shift, Single X, Single Y);
  void imgBar_MouseDown(Integer Button, Integer Shift, Single X, Single Y);
  void imgBar_MouseUp(Integer Button, Integer Shift, Single X, Single Y);
  void HS1_Change();
  void HS1_Scroll();
  void HS1_GotFocus();
  void VS1_Change();
  void VS1_Scroll();
  void VS1_GotFocus();

  // Motion search and its settings (search/).
  void imgLeftSearch_Click();
  void imgRightSearch_Click();
  void imgSetting_Click();
  void picShowAVI_MouseDown(Integer Button, Integer Shift, Single X, Single Y);
  void picShowAVI_MouseMove(Integer Button, Integer Shift, Single X, Single Y);
  void picShowAVI_MouseUp(Integer Button, Integer Shift, Single X, Single Y);

  // Export (export/).
  void imgSave_Click();

 protected:
  void createControls() override;

 private:
  void wireEvents();

  // Form_Load found another running copy: this one ends without touching anything.
  bool m_endingSecondCopy = false;
};

}  // namespace skin
