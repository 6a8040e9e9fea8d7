#include <QApplication>

#include "clip/footage_types.h"
#include "review/open_clip.h"
#include "window/form1.h"

namespace window {

using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::ScaleUnit;

namespace {

// The open dialog's filter: clips first, then the videos cameras write, then any file. On a file
// system that tells case apart, the dialog offers both "*.HGV" and "*.hgv" for it.
std::string openFilter() {
  std::string videos;
  for (const std::string_view extension : clip::kVideoExtensions) {
    videos += (videos.empty() ? "*." : ";*.") + std::string(extension);
  }
  return "Tessmoor HGV File(*.HGV) | *.HGV | Camera videos | " + videos + " | All files | *";
}
// picBase gives back the room of the scroll bars when a zoom ends.
constexpr float kScrollBarTwips = 300;

}  // namespace

bool Form1::canOpenClip() const {
  if (SearchingForward != kFalse || SearchingBack != kFalse) return false;
  return !(OpenSaveFile.ClipOpen != kFalse && DrawRectangle.SearchAreaEditing != kFalse);
}

void Form1::imgFile_Click() {
  if (!canOpenClip()) return;
  try {
    dlgOpenAVI->Filter = openFilter();
    dlgOpenAVI->FilterIndex = 1;
    dlgOpenAVI->MaxFileSize = 1000;
    dlgOpenAVI->FileName = "";
    dlgOpenAVI->ShowOpen();
    if (dlgOpenAVI->FileName.size() < 3) return;
    OpenClip(dlgOpenAVI->FileName);
  } catch (const toolkit::RuntimeError& e) {
    MsgBox(toolkit::errorBoxText(review::kOpenHandlerName, e), toolkit::MsgIcon::Critical);
  }
}

bool Form1::OpenClip(const std::string& path) {
  try {
    if (review::OpenClipFile(session, path) != review::OpenResult::Extracted) return false;

    picShowAVI->Visible = true;
    picBase->ScaleMode = ScaleUnit::Twips;
    picShowAVI->Picture = FramePicture(OpenSaveFile.CurrentFrameFile);
    if (FirstClipPending != kFalse) {
      showFirstClip();
    } else {
      showAnotherClip();
    }
    InitSearchArea();
    return true;
  } catch (const toolkit::RuntimeError& e) {
    MsgBox(toolkit::errorBoxText(review::kOpenHandlerName, e), toolkit::MsgIcon::Critical);
    return false;
  }
}

// Frame 0 gives the source size of every frame of the clip; it is measured at every opening, so
// that no frame is ever painted from a source of 0 by 0.
void Form1::measureClipPicture() {
  OpenSaveFile.PictureHeight = Long::fromDouble(picShowAVI->Height);
  OpenSaveFile.PictureWidth = Long::fromDouble(picShowAVI->Width);
}

void Form1::measureClipView() {
  measureClipPicture();
  SeparateMJPG.DisplayHeight = Long::fromDouble(fraBox->Height);
  SeparateMJPG.DisplayWidth = Long::fromDouble(fraBox->Width);
}

void Form1::paintClipFitted() {
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  picShowAVI->PaintPicture(picShowAVI->Picture, 0, 0, SeparateMJPG.DisplayWidth.value(),
                           SeparateMJPG.DisplayHeight.value(), 0, 0,
                           OpenSaveFile.PictureWidth.value(), OpenSaveFile.PictureHeight.value());
}

bool Form1::clipLargerThanView() const {
  return picShowAVI->Width > picBase->Width || picShowAVI->Height > picBase->Height;
}

void Form1::showFirstClip() {
  SettingsShown = kFalse;
  HS1->Visible = false;
  VS1->Visible = false;
  BarTravel = Long::fromDouble(picBar->Width - picBlock->Width);
  UpdateBarPosition();
  lblImageID->Visible = true;
  measureClipPicture();
  m_smallClip = !clipLargerThanView();
  if (!m_smallClip) {
    measureClipView();
    paintClipFitted();
    FirstClipPending = kFalse;
  }
}

void Form1::showAnotherClip() {
  picBase->ScaleMode = ScaleUnit::Twips;
  picShowAVI->ScaleMode = ScaleUnit::Twips;
  if (VS1->Visible && HS1->Visible) {
    ZoomPercent = 100;
    VS1->Visible = false;
    HS1->Visible = false;
    picShowAVI->Top = 0;
    picShowAVI->Left = 0;
    picBase->Width = picBase->Width + kScrollBarTwips;
    picBase->Height = picBase->Height + kScrollBarTwips;
  }
  MarkedPicturePath.clear();
  measureClipView();
  m_smallClip = !clipLargerThanView();
  if (!m_smallClip) paintClipFitted();
  OpenSaveFile.ZoomActive = kFalse;
  StopPlayback();
  OpenSaveFile.CurrentFrame = 0;
  UpdateBarPosition();
}

Form1::~Form1() = default;

void Form1::OpenFromOutside(const std::string& path, std::optional<int> frame) {
  if (!m_pendingOpen) {
    m_pendingOpen = std::make_unique<PendingOpen>();
    m_pendingOpen->timer.setInterval(100);
    QObject::connect(&m_pendingOpen->timer, &QTimer::timeout, [this] { openPending(); });
  }
  // A later request takes the place of one still waiting.
  m_pendingOpen->path = path;
  m_pendingOpen->frame = frame;
  m_pendingOpen->timer.start();
  openPending();
}

void Form1::openPending() {
  if (!m_pendingOpen || !m_pendingOpen->timer.isActive()) return;
  const bool free = loaded() && Enabled && canOpenClip() && !QApplication::activeModalWidget();
  if (!free) return;
  m_pendingOpen->timer.stop();
  const std::string path = m_pendingOpen->path;
  const std::optional<int> frame = m_pendingOpen->frame;
  host().dispatch([this, path, frame] {
    // What the open dialog checks before it hands over a typed name.
    if (!FileExists(path)) {
      MsgBox(path + "\nFile not found.\nCheck the file name and try again.",
             toolkit::MsgIcon::Critical, std::string("Warning"));
      return;
    }
    if (OpenClip(path) && frame) GoToFrame(*frame);
  });
}

void Form1::GoToFrame(int frame) {
  const int total = OpenSaveFile.TotalFrames.value();
  if (frame < 0 || frame >= total) {
    MsgBox("\"" + OpenSaveFile.ClipFileName + "\" has frames 0 to " + std::to_string(total - 1) +
               ": there is no frame " + std::to_string(frame) + ".",
           toolkit::MsgIcon::Critical, std::string("Warning"));
    return;
  }
  MarkedPicturePath.clear();
  guardTransport([this, frame] { JumpTo(frame); });
}

void Form1::BringToFront() {
  QWidget* w = window();
  if (!w || !loaded()) return;
  if (w->isMinimized()) w->showNormal();
  w->raise();
  w->activateWindow();
}

}  // namespace window
