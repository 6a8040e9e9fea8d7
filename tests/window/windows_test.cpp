#include "window/windows.h"

#include <gtest/gtest.h>

#include <QPainter>

#include "review/session.h"
#include "tests/support/temp_dir.h"
#include "toolkit/widgets/testing.h"
#include "window/art/skin_art.h"

namespace {

using window::SkinPicture;

class WindowsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { toolkit::testing::ensureApplication(); }

  window::Form1& start() {
    m_windows.Form1.Show();
    return m_windows.Form1;
  }

  QImage screenshot() {
    return m_windows.Form1.window()->grab().toImage().convertToFormat(QImage::Format_RGB32);
  }

  // What an image control of this geometry (twips) shows of `picture`, stretched or not.
  static QImage expected(SkinPicture picture, const QRect& rect, bool stretch = true) {
    QImage out(rect.size(), QImage::Format_RGB32);
    out.fill(Qt::black);
    QPainter painter(&out);
    QImage art = window::paintSkinPicture(picture);
    if (stretch) {
      painter.drawImage(QRect(QPoint(0, 0), rect.size()), art);
    } else {
      painter.drawImage(0, 0, art);
    }
    return out;
  }

  static QRect pixels(int left, int top, int width, int height) {
    return QRect(toolkit::twipsToPixels(left), toolkit::twipsToPixels(top),
                 toolkit::twipsToPixels(width), toolkit::twipsToPixels(height));
  }

  testing_support::TempDir m_dir;
  toolkit::testing::TestHost m_host{m_dir.path()};
  review::Session m_session{m_host.platform};
  window::Windows m_windows{m_host.host, m_session};
};

TEST_F(WindowsTest, MainWindowHasItsFixedFrame) {
  window::Form1& form = start();
  QWidget* w = form.window();
  EXPECT_EQ(w->windowTitle(), "Harrowglen 1.0");
  EXPECT_EQ(w->size(), QSize(834, 560));
  EXPECT_EQ(w->minimumSize(), w->maximumSize()) << "the user cannot drag its size";
  EXPECT_TRUE(w->windowFlags() & Qt::WindowMinimizeButtonHint);
  EXPECT_FALSE(w->windowFlags() & Qt::WindowMaximizeButtonHint);
  EXPECT_FALSE(w->windowIcon().isNull());
}

// Every image button paints its own picture over the whole of the place the control stands in,
// in front of the background, wherever the layout put it.
TEST_F(WindowsTest, EachButtonShowsItsPictureWhereItStands) {
  window::Form1& f = start();
  const std::pair<toolkit::ImageControl*, SkinPicture> buttons[] = {
      {f.imgFile, SkinPicture::ImgFile},
      {f.imgSetting, SkinPicture::ImgSetting},
      {f.imgSave, SkinPicture::ImgSave},
      {f.imgBegin, SkinPicture::ImgBegin},
      {f.imgEnd, SkinPicture::ImgEnd},
      {f.imgLeftStep, SkinPicture::ImgLeftStep},
      {f.imgRightStep, SkinPicture::ImgRightStep},
      {f.imgLeftPlay, SkinPicture::ImgLeftPlay},
      {f.imgPausePlay, SkinPicture::ImgPausePlay},
      {f.imgRightPlay, SkinPicture::ImgRightPlay},
      {f.imgLeftSearch, SkinPicture::ImgLeftSearch},
      {f.imgRightSearch, SkinPicture::ImgRightSearch},
      {f.imgZoomOut, SkinPicture::ImgZoomOut},
      {f.imgZoomIn, SkinPicture::ImgZoomIn},
      {f.imgCfile, SkinPicture::ImgCfile},
      {f.imgCzoom, SkinPicture::ImgCzoom},
  };
  QImage shot = screenshot();
  for (const auto& [control, picture] : buttons) {
    SCOPED_TRACE(control->name());
    const QRect rect =
        pixels(static_cast<int>(control->Left()), static_cast<int>(control->Top()),
               static_cast<int>(control->Width()), static_cast<int>(control->Height()));
    ASSERT_FALSE(rect.isEmpty());
    EXPECT_EQ(shot.copy(rect), expected(picture, rect));
  }
}

TEST_F(WindowsTest, TheCaptionStripCoversTheSpeedMarksAtStart) {
  start();
  QImage shot = screenshot();
  QRect cplay = pixels(6735, 8115, 1980, 165);
  EXPECT_EQ(shot.copy(cplay), expected(SkinPicture::ImgCplay, cplay));
  // At img1X's place the strip's own pixels show, not the mark's.
  QRect mark = pixels(8250, 8115, 210, 135);
  EXPECT_EQ(shot.copy(mark),
            expected(SkinPicture::ImgCplay, cplay).copy(mark.translated(-cplay.topLeft())));
  EXPECT_NE(shot.copy(mark), expected(SkinPicture::Img1X, mark));
}

TEST_F(WindowsTest, WithTheStripHiddenTheVisibleSpeedMarkShows) {
  window::Form1& form = start();
  form.imgCplay->Visible = false;
  for (toolkit::ImageControl* i : {form.img1X, form.img3X, form.img4X, form.img5X, form.img1XN,
                                   form.img2XN, form.img3XN, form.img4XN, form.img5XN}) {
    i->Visible = false;
  }
  QImage shot = screenshot();
  QRect mark = pixels(8250, 8115, 225, 135);
  EXPECT_EQ(shot.copy(mark), expected(SkinPicture::Img2X, mark));
}

TEST_F(WindowsTest, TheViewIsHiddenAndBlackAtStart) {
  window::Form1& form = start();
  EXPECT_FALSE(form.picShowAVI->widget()->isVisible());
  QImage shot = screenshot();
  QRect view = pixels(2520, 1080, 8970, 5415);
  for (int y = view.top(); y <= view.bottom(); y += 37) {
    for (int x = view.left(); x <= view.right(); x += 41) {
      ASSERT_EQ(shot.pixel(x, y), qRgb(0, 0, 0)) << x << "," << y;
    }
  }
}

TEST_F(WindowsTest, TheSliderLiesOnTheTrackAtTheLeftOfTheBar) {
  start();
  QImage shot = screenshot();
  QRect block = pixels(2500, 6600, 750, 225);
  EXPECT_EQ(shot.copy(block), expected(SkinPicture::PicBlock, block, false));
  QRect trackPast = pixels(2500 + 750, 6600, 9000 - 750, 225);
  QRect track = pixels(2500, 6600, 9000, 225);
  EXPECT_EQ(shot.copy(trackPast),
            expected(SkinPicture::ImgBar, track).copy(trackPast.translated(-track.topLeft())));
}

TEST_F(WindowsTest, TheDialogsHaveTheirStoredControls) {
  m_windows.frmExportVideo.Show();
  window::frmExportVideo& save = m_windows.frmExportVideo;
  EXPECT_EQ(save.window()->windowTitle(), "Save File");
  EXPECT_EQ(save.window()->size(), QSize(549, 590));
  EXPECT_TRUE(save.fraHGV->Enabled) << "stored switched off, Form_Load switches it on";
  EXPECT_TRUE(save.fraWMV->Enabled);
  EXPECT_EQ(save.cmdChageSaveAddr->button()->text(), "&Change...");
  EXPECT_EQ(save.lblHGV->Caption(), "Harrowglen Camera Video Clip(*.HGV)");
  EXPECT_EQ(save.optSave50HGV->widget()->parentWidget(), save.fraHGV->widget());

  m_windows.frmSetting.Show();
  window::frmSetting& settings = m_windows.frmSetting;
  EXPECT_EQ(settings.window()->windowTitle(), "Settings");
  EXPECT_EQ(settings.window()->size(), QSize(492, 555));
  EXPECT_EQ(settings.cmdSearchArea->button()->text(), "&Set Motion Search Area");
  EXPECT_EQ(settings.cmdSearchArea->BackColor(), toolkit::RGB(255, 128, 0));

  m_windows.frmWait.Show();
  window::frmWait& wait = m_windows.frmWait;
  EXPECT_TRUE(wait.window()->windowFlags() & Qt::FramelessWindowHint);
  EXPECT_EQ(wait.window()->size(), QSize(261, 86));
  EXPECT_EQ(wait.lblWait->Caption(), "Converting ...Please wait!");
  EXPECT_EQ(wait.lblWait->ForeColor(), toolkit::RGB(255, 255, 255));
  EXPECT_FALSE(wait.tmrWMV->running());
  QImage shot = wait.window()->grab().toImage();
  EXPECT_EQ(shot.pixel(5, 5), qRgb(0, 128, 128));
}

// Our fonts are not the original's: a caption too wide or too long for its stored box is fitted
// to it, never cut, in every window.
TEST_F(WindowsTest, EveryLabelsCaptionFitsItsBox) {
  start();
  m_windows.frmExportVideo.Show();
  m_windows.frmSetting.Show();
  m_windows.frmWait.Show();
  int labels = 0;
  for (toolkit::Form* form :
       std::vector<toolkit::Form*>{&m_windows.Form1, &m_windows.frmExportVideo,
                                   &m_windows.frmSetting, &m_windows.frmWait}) {
    for (toolkit::Control* control : form->controls()) {
      auto* label = dynamic_cast<toolkit::Label*>(control);
      if (!label || label->Caption().empty()) continue;
      SCOPED_TRACE(form->name() + " " + label->name());
      ++labels;
      const QRect box(QPoint(0, 0), label->widget()->size());
      const QString text = QString::fromStdString(label->Caption());
      const QFontMetrics metrics(label->fittedFont());
      const QRect needed = metrics.boundingRect(box, label->textFlags(), text);
      EXPECT_LE(needed.height(), box.height());
      if (label->textFlags() & Qt::TextWordWrap) {
        EXPECT_LE(needed.width(), box.width());
      } else {
        EXPECT_LE(metrics.horizontalAdvance(text), box.width());
      }
      EXPECT_GE(label->fittedFont().stretch() == 0 ? 100 : label->fittedFont().stretch(), 50)
          << "narrowed at most to half";
    }
  }
  EXPECT_GE(labels, 10);
}

}  // namespace
