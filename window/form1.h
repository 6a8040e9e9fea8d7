#pragma once

// The main window: a skin of one background picture and image buttons, with the frame view in
// the middle and the timeline bar below it. Its handlers are defined beside it, a file for each
// part: start-up and opening (form1_startup, form1_open), the view and the transport (form1_view,
// form1_zoom, form1_transport, form1_timeline), the search (form1_search_*), the export button
// (form1_save).

#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "review/form1_fields.h"
#include "review/session.h"
#include "search/core/search_state.h"
#include "search/driver/search_driver.h"
#include "toolkit/widgets/controls.h"
#include "view/transport.h"

namespace window {

using toolkit::Boolean;
using toolkit::Integer;
using toolkit::Long;
using toolkit::Single;

class Windows;
// A clip from outside and the frame to show, and the clock that looks each tenth of a second
// whether the folder button is free.
struct PendingOpen {
  std::string path;
  std::optional<int> frame;
  QTimer timer;
};
class frmExportVideo;
class frmSetting;
class frmWait;

// The window's fields (PlayingForward, ZoomPercent, SearchingForward, ...) are those of
// review::Form1Fields; their starting values come from Form_Load.
class Form1 : public toolkit::Form, public review::Form1Fields, public search::SearchWindow {
 public:
  Form1(toolkit::Host& host, review::Session& session, Windows& windows);
  ~Form1() override;

  // Module state and the other windows, by the names the handlers use. The search's state is the
  // window's own, beside the session.
  review::Session& session;
  search::SearchState searchState;
  ::review::OpenSaveFile& OpenSaveFile;
  ::clip::SeparateMJPG& SeparateMJPG;
  ::search::AnalyseBMP& AnalyseBMP;
  ::search::DrawRectangle& DrawRectangle;
  ::window::frmExportVideo& frmExportVideo;
  ::window::frmSetting& frmSetting;
  ::window::frmWait& frmWait;

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

  // Start-up and shutdown (form1_startup.cpp).
  void Form_Load() override;
  void Form_Resize() override;
  void Form_QueryUnload(Integer& Cancel, Integer& UnloadMode) override;
  void ShutDownSession() override;

  // Opening a clip (form1_open.cpp).
  void imgFile_Click();
  // What the folder button does once the file is chosen: the same checks, boxes and state. True
  // when the clip is open on frame 0.
  bool OpenClip(const std::string& path);
  // The folder button would act now: no search runs and no search area is being chosen.
  bool canOpenClip() const;
  // A clip from outside the window (the command line, a second start, a file dropped on it):
  // opened as the folder button opens a chosen file, at the first moment the button would act
  // (not during a search, not under a dialog), then shown at `frame` (from 0) when given.
  void OpenFromOutside(const std::string& path, std::optional<int> frame = std::nullopt);
  // Brings the window to the front, restored if it was minimised.
  void BringToFront();

  // Frame presentation, zoom and pan (form1_view.cpp, form1_zoom.cpp).
  void ShowCurrentFrame() override;
  // What ShowCurrentFrame paints: `picture` by the fit or the zoom path.
  void ShowPicture(const toolkit::Picture& picture);
  // The clip's frame 0 fitted into the opening at its natural size, and no zoom magnifies it:
  // every frame is shown whole at that size. Zooming in starts from the opening, as for any clip.
  bool showsNaturalSize() const { return m_smallClip && ZoomPercent < Integer(120); }
  // The picture of the file at `path`, taken from the frame's own value when it is "Temp.jpg".
  toolkit::Picture FramePicture(const std::string& path);
  // The show step: ShowCurrentFrame if the file CurrentFrameFile exists.
  void ShowStep() override;
  void ApplyZoom(Integer& Zoom);
  void UpdateZoomBars();

  // Bar, playback stop, step, play and pause (form1_timeline.cpp, form1_transport.cpp).
  void UpdateBarPosition() override;
  void StopPlayback() override;
  void StepBack() { m_transport.StepBack(); }
  void StepForward() { m_transport.StepForward(); }
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

  // Motion search and its settings (form1_search_handlers.cpp).
  void imgLeftSearch_Click() { m_search.Click(search::Direction::Back); }
  void imgRightSearch_Click() { m_search.Click(search::Direction::Forward); }
  search::SearchDriver& searchDriver() { return m_search; }
  // Threads that decode ahead during a search; 1 decodes in the search's own order of work.
  void setDecodeThreads(int threads);
  search::DecodeAhead* decodeAhead() { return m_decodeAhead.get(); }
  void imgSetting_Click();
  void picShowAVI_MouseDown(Integer Button, Integer Shift, Single X, Single Y);
  void picShowAVI_MouseMove(Integer Button, Integer Shift, Single X, Single Y);
  void picShowAVI_MouseUp(Integer Button, Integer Shift, Single X, Single Y);
  void ApplyDraggedBox();
  // The procedures of DrawRectangle on this window's view (form1_search_area.cpp).
  void InitSearchArea();
  void RefreshSearchBox();
  void RestoreDefaultBox();
  void CommitSearchArea();
  void RevertSearchArea();
  // Puts a box in pixels of picShowAVI on show in ShaRect.
  void ShowSearchBox(const toolkit::Rect& box);

  // What the search asks of the window.
  void DoEvents() override { Form::DoEvents(); }
  void setSearchPointer(search::Direction direction, bool wait) override;
  void ShowResult(const clip::FramePtr& frame,
                  const std::vector<search::CellPoint>& corners) override;
  // Form_Load's starting values of the search.
  void loadSearchStartingValues();

  // Export (form1_save.cpp).
  void imgSave_Click();

 protected:
  void createControls() override;

 private:
  void wireEvents();
  // Runs a transport action; an extraction that fails stops playback and says which frame of
  // which clip could not be read, once.
  void guardTransport(const std::function<void()>& action);
  // The view dark, with a note that the frame last extracted cannot be shown.
  void ShowUndecodableFrame();
  // The view's size in pixels, for the search box: picBase at fit, picShowAVI while zoomed.
  search::PixelSize searchViewSize();
  search::PixelSize clipSize() const;

  view::Transport m_transport;
  search::SearchDriver m_search;
  std::unique_ptr<search::DecodeAhead> m_decodeAhead;

  // Form_Load found another running copy: this one ends without touching anything.
  bool m_endingSecondCopy = false;
  // The open clip's frame 0 is no larger than the opening.
  bool m_smallClip = false;
  // What OpenClip does once frame 0 is in picShowAVI: the first clip of the session lays out the
  // bar and the label, a later one leaves any zoom; both paint the frame fitted when it is larger
  // than the view.
  void showFirstClip();
  void showAnotherClip();
  void measureClipPicture();
  void measureClipView();
  void paintClipFitted();
  bool clipLargerThanView() const;
  // A clip from outside that waits for the folder button to be free.
  std::unique_ptr<PendingOpen> m_pendingOpen;
  void openPending();
  // Shows frame `frame` of the open clip, as the timeline bar goes to a frame.
  void GoToFrame(int frame);
  // Stops playback and shows frame `frame`, the bar and the number following.
  void JumpTo(int frame);
};

}  // namespace window
