// Zoom and pan: the settings on the way up and down, the scroll bars, and what the view shows.

#include <QCoreApplication>

#include "tests/support/window_fixture.h"

namespace {

using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;

class ZoomTest : public testing_support::WindowFixture {
 protected:
  window::Form1& openClip(int frames = 4) {
    start();
    open(makeClip("zoom.HGV", frames));
    return form();
  }
};

TEST_F(ZoomTest, ZoomingInGoesStraightToTwiceAndStopsAtSixTimes) {
  window::Form1& f = openClip();
  const int expected[] = {120, 130, 140, 150, 160, 160};
  for (int i = 0; i < 6; ++i) {
    f.imgRightPlay_Click();
    toolkit::testing::click(*f.imgZoomIn);
    EXPECT_EQ(f.ZoomPercent, Integer(expected[i])) << i;
    EXPECT_FALSE(f.tmrControlDisplay->running()) << "every click stops playback";
    const int level = (expected[i] - 100) / 10;
    EXPECT_EQ(f.ZoomLevel, Integer(level));
    EXPECT_EQ(clipModule().DisplayWidth, Long(level * 8970));
    EXPECT_EQ(clipModule().DisplayHeight, Long(level * 5415));
    EXPECT_EQ(f.picShowAVI->widthTwips(), level * 8970.0f);
    EXPECT_EQ(f.HS1->Max(), Integer(level * 200));
    EXPECT_EQ(f.VS1->Max(), Integer(level * 60));
    EXPECT_EQ(visibleView(), expectedZoom(0)) << level;
  }
  EXPECT_EQ(state().ZoomActive, kTrue);
  EXPECT_TRUE(f.HS1->Visible);
  EXPECT_EQ(f.picBase->Width(), 8670.0f);
  EXPECT_EQ(f.picBase->Height(), 5115.0f);
  EXPECT_EQ(f.HS1->Top(), 5115.0f);
  EXPECT_EQ(f.HS1->Width(), 8670.0f);
  EXPECT_EQ(f.VS1->Left(), 8670.0f);
  EXPECT_EQ(f.VS1->Height(), 5115.0f);
  EXPECT_EQ(f.MousePointer(), toolkit::Pointer::Default) << "the hourglass goes with the repaint";
}

TEST_F(ZoomTest, ZoomingOutPassesEverySettingAndReturnsToTheFitAt110) {
  window::Form1& f = openClip();
  for (int i = 0; i < 5; ++i) f.imgZoomIn_Click();
  const int expected[] = {150, 140, 130, 120, 110, 100, 100};
  for (int percent : expected) {
    f.imgZoomOut_Click();
    EXPECT_EQ(f.ZoomPercent, Integer(percent));
    if (percent >= 120) {
      EXPECT_EQ(visibleView(), expectedZoom(0)) << percent;
    }
  }
  // 110 brought the fit back; 100 only leaves the zoom path on, which paints the same.
  EXPECT_EQ(state().ZoomActive, kTrue);
  EXPECT_FALSE(f.HS1->Visible);
  EXPECT_FALSE(f.VS1->Visible);
  EXPECT_EQ(f.picBase->Width(), 8970.0f);
  EXPECT_EQ(f.picShowAVI->Left(), 0.0f);
  EXPECT_EQ(visibleView(), expectedFit(0));
  f.imgRightStep_Click();
  EXPECT_EQ(clipModule().DisplayWidth, Long(8970));
  EXPECT_EQ(visibleView(), expectedFit(1));
  // From 110 a click in adds 10 plainly.
  f.imgZoomIn_Click();
  f.imgZoomOut_Click();
  f.imgZoomIn_Click();
  EXPECT_EQ(f.ZoomPercent, Integer(120));
}

TEST_F(ZoomTest, TheBarsCentreAtTwiceAndKeepTheirPlaceFurtherUp) {
  window::Form1& f = openClip();
  f.imgZoomIn_Click();
  EXPECT_EQ(f.HS1->Value(), Integer(200));
  EXPECT_EQ(f.VS1->Value(), Integer(60));
  // Half of the overhang on each axis: (17940 - 8670) / 2 and (10830 - 5115) / 2.
  EXPECT_EQ(f.picShowAVI->leftTwips(), -4635.0f);
  EXPECT_EQ(f.picShowAVI->topTwips(), -2857.5f);

  f.imgZoomIn_Click();
  f.HS1->Value = f.HS1->Max;  // the right end at three times
  EXPECT_EQ(f.picShowAVI->leftTwips(), -(26910.0f - 8670.0f));
  f.imgZoomIn_Click();
  EXPECT_EQ(f.HS1->Value(), Integer(800)) << "four times, still at the right end";
  EXPECT_EQ(f.picShowAVI->leftTwips(), -(35880.0f - 8670.0f));
  EXPECT_EQ(visibleView(), expectedZoom(0));

  // Back at three times with Value 200; down to twice, Value 200 is assigned again and no Change
  // fires: the picture keeps its Left until the bar next moves.
  f.imgZoomOut_Click();
  f.HS1->Value = 200;
  const float left = f.picShowAVI->leftTwips();
  f.imgZoomOut_Click();
  EXPECT_EQ(f.HS1->Value(), Integer(200));
  EXPECT_EQ(f.picShowAVI->leftTwips(), left);
}

TEST_F(ZoomTest, ANewFrameKeepsThePanAndTheBars) {
  window::Form1& f = openClip();
  for (int i = 0; i < 5; ++i) f.imgZoomIn_Click();
  f.HS1->Value = 300;
  f.VS1->Value = 333;
  // The first frame by the zoom path keeps the pan to a whole twip; from then on it stands.
  f.imgRightStep_Click();
  const float left = f.picShowAVI->leftTwips(), top = f.picShowAVI->topTwips();
  EXPECT_EQ(left, -11288.0f);  // -11287.5 rounded half to even
  for (int frame = 2; frame <= 3; ++frame) {
    f.imgRightStep_Click();
    EXPECT_EQ(f.picShowAVI->leftTwips(), left);
    EXPECT_EQ(f.picShowAVI->topTwips(), top);
    EXPECT_EQ(f.HS1->Value(), Integer(300));
    EXPECT_EQ(visibleView(), expectedZoom(frame));
  }
  // Six times the opening is a box of 3588 x 2166 pixels; only the part that is seen is ever
  // worked out, and Image still gives the whole stretch.
  f.window()->repaint();
  const std::size_t viewBytes = 578 * 341 * 4;
  EXPECT_LE(f.picShowAVI->drawnBytes(), viewBytes);
  const toolkit::Picture image = f.picShowAVI->Image;
  ASSERT_EQ(image.widthPixels(), 3588);
  const QRect corner(3000, 1800, 300, 300);
  EXPECT_EQ(image.image().copy(corner),
            testing_support::stretchReference(*toolkit::decodeJpeg(jpegOf(3)), 640, 480, 3588, 2166,
                                              corner));
}

TEST_F(ZoomTest, TheScrollBarsPanAndNeverKeepTheFocus) {
  window::Form1& f = openClip();
  f.imgZoomIn_Click();
  f.imgZoomIn_Click();
  f.HS1->Value = 150;  // a quarter of 600
  EXPECT_EQ(f.picShowAVI->leftTwips(), -0.25f * (26910 - 8670));
  f.VS1->Value = 0;
  EXPECT_EQ(f.picShowAVI->topTwips(), 0.0f);
  EXPECT_EQ(visibleView(), expectedZoom(0));
  f.window()->activateWindow();
  QCoreApplication::processEvents();
  f.HS1->widget()->setFocus();
  EXPECT_TRUE(f.picShowAVI->widget()->hasFocus());
}

TEST_F(ZoomTest, TheButtonsDoNothingWithoutAClipWhileTheAreaIsChosenOrDuringASearch) {
  start();
  window::Form1& f = form();
  f.imgZoomIn_Click();
  EXPECT_EQ(f.ZoomPercent, Integer(100));
  open(makeClip("zoom.HGV", 3));
  f.imgRightPlay_Click();
  form().DrawRectangle.SearchAreaEditing = kTrue;
  f.imgZoomIn_Click();
  form().DrawRectangle.SearchAreaEditing = kFalse;
  f.SearchingBack = kTrue;
  f.imgZoomIn_Click();
  f.imgZoomOut_Click();
  f.SearchingBack = kFalse;
  EXPECT_EQ(f.ZoomPercent, Integer(100));
  EXPECT_TRUE(f.tmrControlDisplay->running()) << "playback goes on";
}

}  // namespace

namespace {

// A clip smaller than the opening: every frame as frame 0 came, whole at its natural size.
class SmallClipTest : public testing_support::WindowFixture {
 protected:
  window::Form1& openSmall(int frames = 6) {
    start();
    open(makeClip("small.HGV", frames, 160, 120));
    return form();
  }
  QImage natural(int index) {
    return testing_support::stretchReference(*toolkit::decodeJpeg(jpegOf(index)), 160, 120, 160,
                                             120, QRect(0, 0, 160, 120));
  }
  void expectWhole(int index) {
    EXPECT_EQ(form().picShowAVI->widthTwips(), 160 * 15.0f);
    EXPECT_EQ(form().picShowAVI->heightTwips(), 120 * 15.0f);
    EXPECT_EQ(form().picShowAVI->shownPart(QRect(0, 0, 160, 120)), natural(index));
  }
};

TEST_F(SmallClipTest, StepsPlaybackAndTheEndShowTheWholePicture) {
  window::Form1& f = openSmall();
  expectWhole(0);
  f.imgRightStep_Click();
  expectWhole(1);
  f.imgRightPlay_Click();
  f.tmrControlDisplay->tick();
  expectWhole(2);
  f.imgEnd_Click();
  expectWhole(5);
  f.imgLeftStep_Click();
  expectWhole(4);
}

// Zooming in starts from the opening, as for any clip, and zooming back shows the natural size.
TEST_F(SmallClipTest, ZoomStartsFromTheOpeningAndReturnsToTheNaturalSize) {
  window::Form1& f = openSmall();
  f.imgZoomIn_Click();
  EXPECT_EQ(f.picShowAVI->widthTwips(), 2 * 8970.0f);
  EXPECT_EQ(visibleView(), expectedZoom(0));
  f.imgZoomOut_Click();  // 110: back to the fit
  expectWhole(0);
  f.imgRightStep_Click();
  expectWhole(1);
  f.imgZoomOut_Click();  // 100, on the zoom path
  f.imgRightStep_Click();
  expectWhole(2);
}

TEST_F(SmallClipTest, TheSearchBoxLiesOnThePictureAndItsAreaIsWhatItCovers) {
  window::Form1& f = openSmall();
  const toolkit::Rect area = f.DrawRectangle.SearchArea;
  const toolkit::Rect box = f.DrawRectangle.SearchBox;
  EXPECT_GT(box.Right, box.Left);
  EXPECT_LE(box.Right, toolkit::Long(160)) << "on the picture, not on the empty opening";
  EXPECT_LE(box.Bottom, toolkit::Long(120));
  // The picture is shown at its own size: the box in pixels of the view is the area in pixels of
  // the picture, give or take the rounding of the shares.
  EXPECT_LE(std::abs(area.Left.value() - box.Left.value()), 1);
  EXPECT_LE(std::abs(area.Bottom.value() - box.Bottom.value()), 1);
}

}  // namespace
