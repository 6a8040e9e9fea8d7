#include "window/art/skin_art.h"
#include "window/form1.h"
#include "window/windows.h"

namespace window {
namespace {

using toolkit::ImageControl;
using toolkit::kFalse;
using toolkit::RGB;

toolkit::Picture art(SkinPicture picture) { return toolkit::Picture(paintSkinPicture(picture)); }

struct ImageSpec {
  ImageControl* Form1::*member;
  const char* name;
  SkinPicture picture;
  Single left, top, width, height;
};

// The images of the window in its stacking order (the first lies on top of the later ones).
const ImageSpec kImages[] = {
    {&Form1::imgCsave, "imgCsave", SkinPicture::ImgCsave, 2445, 8115, 480, 165},
    {&Form1::imgSave, "imgSave", SkinPicture::ImgSave, 2415, 7215, 555, 765},
    {&Form1::imgCstep, "imgCstep", SkinPicture::ImgCstep, 4860, 8115, 1470, 165},
    {&Form1::imgCplay, "imgCplay", SkinPicture::ImgCplay, 6735, 8115, 1980, 165},
    {&Form1::imgCsearch, "imgCsearch", SkinPicture::ImgCsearch, 9120, 8115, 1500, 165},
    {&Form1::imgCsetting, "imgCsetting", SkinPicture::ImgCsetting, 1245, 8115, 825, 165},
    {&Form1::img1XN, "img1XN", SkinPicture::Img1XN, 6765, 8115, 285, 135},
    {&Form1::img2XN, "img2XN", SkinPicture::Img2XN, 6765, 8115, 285, 135},
    {&Form1::img3XN, "img3XN", SkinPicture::Img3XN, 6765, 8115, 285, 135},
    {&Form1::img4XN, "img4XN", SkinPicture::Img4XN, 6765, 8115, 285, 135},
    {&Form1::img5XN, "img5XN", SkinPicture::Img5XN, 6765, 8115, 285, 135},
    {&Form1::img5X, "img5X", SkinPicture::Img5X, 8250, 8115, 225, 135},
    {&Form1::img2X, "img2X", SkinPicture::Img2X, 8250, 8115, 225, 135},
    {&Form1::img3X, "img3X", SkinPicture::Img3X, 8250, 8115, 225, 135},
    {&Form1::img4X, "img4X", SkinPicture::Img4X, 8250, 8115, 225, 135},
    {&Form1::img1X, "img1X", SkinPicture::Img1X, 8250, 8115, 210, 135},
    {&Form1::imgCzoom, "imgCzoom", SkinPicture::ImgCzoom, 11250, 8115, 510, 165},
    {&Form1::imgCbe, "imgCbe", SkinPicture::ImgCbe, 3510, 8115, 1050, 165},
    {&Form1::imgCfile, "imgCfile", SkinPicture::ImgCfile, 555, 8115, 390, 135},
    {&Form1::imgRightSearch, "imgRightSearch", SkinPicture::ImgRightSearch, 9885, 7215, 435, 765},
    {&Form1::imgLeftSearch, "imgLeftSearch", SkinPicture::ImgLeftSearch, 9240, 7215, 450, 765},
    {&Form1::imgZoomOut, "imgZoomOut", SkinPicture::ImgZoomOut, 10980, 7215, 450, 765},
    {&Form1::imgZoomIn, "imgZoomIn", SkinPicture::ImgZoomIn, 11565, 7215, 450, 765},
    {&Form1::imgRightPlay, "imgRightPlay", SkinPicture::ImgRightPlay, 8160, 7230, 360, 765},
    {&Form1::imgPausePlay, "imgPausePlay", SkinPicture::ImgPausePlay, 7380, 7215, 555, 765},
    {&Form1::imgLeftPlay, "imgLeftPlay", SkinPicture::ImgLeftPlay, 6840, 7230, 360, 765},
    {&Form1::imgRightStep, "imgRightStep", SkinPicture::ImgRightStep, 5715, 7215, 450, 765},
    {&Form1::imgLeftStep, "imgLeftStep", SkinPicture::ImgLeftStep, 5040, 7215, 450, 765},
    {&Form1::imgBegin, "imgBegin", SkinPicture::ImgBegin, 3450, 7215, 450, 765},
    {&Form1::imgSetting, "imgSetting", SkinPicture::ImgSetting, 1410, 7215, 555, 780},
    {&Form1::imgEnd, "imgEnd", SkinPicture::ImgEnd, 4095, 7215, 450, 765},
    {&Form1::imgFile, "imgFile", SkinPicture::ImgFile, 495, 7215, 555, 795},
};

}  // namespace

Form1::Form1(toolkit::Host& host, review::Session& session, Windows& windows)
    : Form(host, "Form1"),
      session(session),
      OpenSaveFile(session.OpenSaveFile),
      SeparateMJPG(session.SeparateMJPG),
      AnalyseBMP(searchState.AnalyseBMP),
      DrawRectangle(searchState.DrawRectangle),
      frmExportVideo(windows.frmExportVideo),
      frmSetting(windows.frmSetting),
      frmWait(windows.frmWait),
      m_transport(session, *this, *this),
      m_search(session, *this, searchState, *this, m_transport) {
  setDecodeThreads(search::defaultDecodeThreads());
}

void Form1::setDecodeThreads(int threads) {
  m_search.setDecodeAhead(nullptr);
  m_decodeAhead.reset();
  if (threads > 1) {
    m_decodeAhead = std::make_unique<search::DecodeAhead>(session.platform.files, threads);
    m_search.setDecodeAhead(m_decodeAhead.get());
  }
}

void Form1::createControls() {
  Caption = std::string("Harrowglen 1.0");
  setBorder(toolkit::FormBorder::FixedSingle, true);
  setClientSize(12510, 8400);
  setStartCentred(true);
  setBackColor(toolkit::kSysActiveBorder);
  setFont({"MS Sans Serif", 9.75, false});
  setIcon(art(SkinPicture::Icon));
  Picture = art(SkinPicture::Background);

  dlgOpenAVI = add<toolkit::CommonDialog>("dlgOpenAVI", nullptr, 600, 2640, 0, 0);

  picBar = add<toolkit::PictureBox>("picBar", nullptr, 2500, 6600, 9000, 245);
  picBar->BackColor = RGB(36, 141, 16);
  picBar->AutoSize = true;
  picBar->TabIndex = 6;
  picBlock = add<toolkit::PictureBox>("picBlock", picBar, 0, 0, 750, 225);
  picBlock->BackColor = RGB(36, 141, 16);
  picBlock->AutoSize = true;
  picBlock->Picture = art(SkinPicture::PicBlock);
  picBlock->TabIndex = 7;
  imgBar = add<ImageControl>("imgBar", picBar, 0, 0, 9000, 225);
  imgBar->Stretch = true;
  imgBar->Picture = art(SkinPicture::ImgBar);

  fraBox = add<toolkit::Frame>("fraBox", nullptr, 2520, 1080, 8970, 5415);
  fraBox->setBorder(false);
  fraBox->setFont({"MS Sans Serif", 8.25, false});
  fraBox->TabIndex = 0;
  VS1 = add<toolkit::ScrollBar>("VS1", fraBox, 8520, 360, 300, 3345, Qt::Vertical);
  VS1->Visible = false;
  VS1->Max = 2;
  VS1->Value = 1;
  VS1->TabIndex = 2;
  HS1 = add<toolkit::ScrollBar>("HS1", fraBox, 330, 4890, 4350, 300, Qt::Horizontal);
  HS1->Visible = false;
  HS1->Max = 2;
  HS1->Value = 1;
  HS1->TabIndex = 1;
  picBase = add<toolkit::PictureBox>("picBase", fraBox, 0, 0, 7710, 4800);
  picBase->BackColor = toolkit::kSysWindowText;
  picBase->TabIndex = 3;
  picShowAVI = add<toolkit::PictureBox>("picShowAVI", picBase, 0, 0, 5505, 3705);
  picShowAVI->AutoSize = true;
  picShowAVI->AutoRedraw = true;
  picShowAVI->TabIndex = 4;
  ShaRect = add<toolkit::Shape>("ShaRect", picShowAVI, 720, 360, 1155, 1605);
  ShaRect->Visible = false;

  tmrControlDisplay = add<toolkit::Timer>("tmrControlDisplay", nullptr, 240, 4320, 0, 0);
  tmrControlDisplay->Interval = 0;

  lblImageID = add<toolkit::Label>("lblImageID", nullptr, 2530, 6825, 180, 270);
  lblImageID->setFont({"Arial", 11.25, true});
  lblImageID->BackStyle = toolkit::LabelBackStyle::Transparent;
  lblImageID->AutoSize = true;
  lblImageID->TabIndex = 5;

  for (const ImageSpec& row : kImages) {
    ImageControl* image =
        add<ImageControl>(row.name, nullptr, row.left, row.top, row.width, row.height);
    image->Stretch = true;
    image->Picture = art(row.picture);
    this->*row.member = image;
  }
  img5X->Visible = false;
  // img5XN alone shows its bitmap at its natural size.
  img5XN->Stretch = false;

  wireEvents();
}

void Form1::wireEvents() {
  // Keys do what their buttons do, with the same guards.
  addKey(QKeySequence(Qt::Key_Space), [this] {
    const bool running = PlayingForward != kFalse || PlayingBack != kFalse ||
                         SearchingForward != kFalse || SearchingBack != kFalse;
    running ? imgPausePlay_Click() : imgRightPlay_Click();
  });
  for (const int key : {Qt::Key_Period, Qt::Key_Right}) {
    addKey(QKeySequence(key), [this] { imgRightStep_Click(); });
  }
  for (const int key : {Qt::Key_Comma, Qt::Key_Left}) {
    addKey(QKeySequence(key), [this] { imgLeftStep_Click(); });
  }
  addKey(QKeySequence(Qt::Key_Home), [this] { imgBegin_Click(); });
  addKey(QKeySequence(Qt::Key_End), [this] { imgEnd_Click(); });
  addKey(QKeySequence(Qt::Key_BracketRight), [this] { imgRightSearch_Click(); });
  addKey(QKeySequence(Qt::Key_BracketLeft), [this] { imgLeftSearch_Click(); });
  for (const int key : {Qt::Key_Plus, Qt::Key_Equal}) {
    addKey(QKeySequence(key), [this] { imgZoomIn_Click(); });
  }
  addKey(QKeySequence(Qt::Key_Minus), [this] { imgZoomOut_Click(); });
  addKey(QKeySequence(Qt::CTRL | Qt::Key_O), [this] { imgFile_Click(); });
  addKey(QKeySequence(Qt::CTRL | Qt::Key_S), [this] { imgSave_Click(); });
  onFileDropped = [this](const std::string& path) { OpenFromOutside(path); };

  imgFile->onClick = [this] { imgFile_Click(); };
  imgSetting->onClick = [this] { imgSetting_Click(); };
  imgSave->onClick = [this] { imgSave_Click(); };
  imgBegin->onClick = [this] { imgBegin_Click(); };
  imgEnd->onClick = [this] { imgEnd_Click(); };
  imgLeftStep->onClick = [this] { imgLeftStep_Click(); };
  imgRightStep->onClick = [this] { imgRightStep_Click(); };
  imgLeftPlay->onClick = [this] { imgLeftPlay_Click(); };
  imgPausePlay->onClick = [this] { imgPausePlay_Click(); };
  imgRightPlay->onClick = [this] { imgRightPlay_Click(); };
  imgLeftSearch->onClick = [this] { imgLeftSearch_Click(); };
  imgRightSearch->onClick = [this] { imgRightSearch_Click(); };
  imgZoomOut->onClick = [this] { imgZoomOut_Click(); };
  imgZoomIn->onClick = [this] { imgZoomIn_Click(); };

  tmrControlDisplay->onTimer = [this] { tmrControlDisplay_Timer(); };

  using namespace std::placeholders;
  picBar->onMouseMove = std::bind(&Form1::picBar_MouseMove, this, _1, _2, _3, _4);
  picBar->onMouseUp = std::bind(&Form1::picBar_MouseUp, this, _1, _2, _3, _4);
  picBlock->onMouseDown = std::bind(&Form1::picBlock_MouseDown, this, _1, _2, _3, _4);
  imgBar->onMouseDown = std::bind(&Form1::imgBar_MouseDown, this, _1, _2, _3, _4);
  imgBar->onMouseUp = std::bind(&Form1::imgBar_MouseUp, this, _1, _2, _3, _4);
  picShowAVI->onMouseDown = std::bind(&Form1::picShowAVI_MouseDown, this, _1, _2, _3, _4);
  picShowAVI->onMouseMove = std::bind(&Form1::picShowAVI_MouseMove, this, _1, _2, _3, _4);
  picShowAVI->onMouseUp = std::bind(&Form1::picShowAVI_MouseUp, this, _1, _2, _3, _4);

  HS1->onChange = [this] { HS1_Change(); };
  HS1->onScroll = [this] { HS1_Scroll(); };
  HS1->onGotFocus = [this] { HS1_GotFocus(); };
  VS1->onChange = [this] { VS1_Change(); };
  VS1->onScroll = [this] { VS1_Scroll(); };
  VS1->onGotFocus = [this] { VS1_GotFocus(); };
}

}  // namespace window
