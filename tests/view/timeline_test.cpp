// The timeline bar: the block's place for a frame, a click on the track, a drag of the block.

#include "tests/support/window_fixture.h"

namespace {

using testing_support::pixelsOf;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;
using toolkit::testing::move;
using toolkit::testing::press;
using toolkit::testing::release;

class TimelineTest : public testing_support::WindowFixture {
 protected:
  window::Form1& openClip(int frames) {
    start();
    open(makeClip("clip.HGV", frames));
    return form();
  }
  void clickTrack(float xTwips, Qt::MouseButton button = Qt::LeftButton) {
    press(*form().imgBar, pixelsOf(xTwips, 100), button);
    release(*form().imgBar, pixelsOf(xTwips, 100), button);
  }
};

TEST_F(TimelineTest, TheBlockStandsAtTheShareOfTheFrameAfterIt) {
  window::Form1& f = openClip(11);
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  f.imgRightStep_Click();
  EXPECT_FLOAT_EQ(f.picBlock->Left(), 8250.0f * 2 / 11) << "frame 1 already at 2/TotalFrames";
  EXPECT_FLOAT_EQ(f.lblImageID->Left(), 2500.0f + 8250.0f * 2 / 11);
  f.imgEnd_Click();
  EXPECT_EQ(f.picBlock->Left(), 8250.0f);
  EXPECT_EQ(f.lblImageID->Caption(), "11");
}

TEST_F(TimelineTest, AClickOnTheTrackMovesTheBlockAndTheReleaseGoesThere) {
  window::Form1& f = openClip(11);
  press(*f.imgBar, pixelsOf(4500, 100));
  EXPECT_EQ(f.picBlock->Left(), 3750.0f) << "the block's right edge comes to the press";
  EXPECT_EQ(f.lblImageID->Left(), 6250.0f);
  EXPECT_EQ(f.lblImageID->Caption(), "1") << "the number stays until the release";
  EXPECT_EQ(visibleView(), expectedFit(0));
  release(*f.imgBar, pixelsOf(4500, 100));
  EXPECT_EQ(state().CurrentFrame, Long(5));  // round(10 x 3750 / 8250)
  EXPECT_EQ(f.lblImageID->Caption(), "6");
  EXPECT_EQ(visibleView(), expectedFit(5));

  clickTrack(1500);  // left of the block: its left edge comes to the press
  EXPECT_EQ(f.picBlock->Left(), 1500.0f);
  EXPECT_EQ(state().CurrentFrame, Long(2));
  clickTrack(9300);  // past the end of the bar
  EXPECT_EQ(f.picBlock->Left(), 8250.0f);
  EXPECT_EQ(state().CurrentFrame, Long(10));
  EXPECT_EQ(visibleView(), expectedFit(10));
}

TEST_F(TimelineTest, ARightClickOnTheTrackOnlyStopsPlayback) {
  window::Form1& f = openClip(11);
  f.imgRightPlay_Click();
  clickTrack(6000, Qt::RightButton);
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  EXPECT_EQ(state().CurrentFrame, Long(0));
}

TEST_F(TimelineTest, ADragRunsTheNumberAlongAndGoesToTheFrameOnRelease) {
  window::Form1& f = openClip(11);
  f.imgRightPlay_Click();
  press(*f.picBlock, pixelsOf(150, 75));
  EXPECT_EQ(f.BlockDragging, kTrue);
  EXPECT_TRUE(f.tmrControlDisplay->running()) << "a press on the block does not stop playback";
  f.imgPausePlay_Click();
  EXPECT_EQ(m_host.host.capture(), f.picBar);

  move(*f.picBar, pixelsOf(3150, 75));
  EXPECT_EQ(f.picBlock->Left(), 3000.0f);
  EXPECT_EQ(state().CurrentFrame, Long(4));  // round(10 x 3000 / 8250)
  EXPECT_EQ(f.lblImageID->Caption(), "5");
  EXPECT_EQ(f.lblImageID->Left(), 5500.0f);
  EXPECT_EQ(visibleView(), expectedFit(0)) << "the picture waits for the release";

  move(*f.picBar, pixelsOf(12000, 75));  // far right, outside the bar
  EXPECT_EQ(f.picBlock->Left(), 8250.0f);
  EXPECT_EQ(state().CurrentFrame, Long(10));
  release(*f.picBar, pixelsOf(12000, 75));
  EXPECT_EQ(f.BlockDragging, kFalse);
  EXPECT_EQ(m_host.host.capture(), nullptr);
  EXPECT_EQ(visibleView(), expectedFit(10));

  press(*f.picBlock, pixelsOf(300, 75));
  move(*f.picBar, pixelsOf(-3000, 75));  // far left, outside the bar
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  release(*f.picBar, pixelsOf(-3000, 75));
  EXPECT_EQ(state().CurrentFrame, Long(0));
  EXPECT_EQ(visibleView(), expectedFit(0));
}

TEST_F(TimelineTest, ADragOverAClipOfOneFrameAlwaysGivesFrameZero) {
  window::Form1& f = openClip(1);
  press(*f.picBlock, pixelsOf(150, 75));
  for (float x : {0.0f, 3000.0f, 9000.0f}) {
    move(*f.picBar, pixelsOf(x, 75));
    EXPECT_EQ(state().CurrentFrame, Long(0)) << x;
  }
  release(*f.picBar, pixelsOf(9000, 75));
  EXPECT_EQ(visibleView(), expectedFit(0));
}

TEST_F(TimelineTest, ARightPressOnTheBlockStartsNoDragAndASearchIgnoresEveryPress) {
  window::Form1& f = openClip(11);
  press(*f.picBlock, pixelsOf(150, 75), Qt::RightButton);
  EXPECT_EQ(f.BlockDragging, kFalse);
  f.MarkedPicturePath = file("temp.bmp");
  f.SearchingForward = kTrue;
  clickTrack(6000);
  press(*f.picBlock, pixelsOf(150, 75));
  EXPECT_EQ(f.BlockDragging, kFalse);
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  EXPECT_EQ(f.MarkedPicturePath, file("temp.bmp"));
  f.SearchingForward = kFalse;
  // While the search area is chosen the bar still works.
  form().DrawRectangle.SearchAreaEditing = kTrue;
  clickTrack(6000);
  EXPECT_EQ(state().CurrentFrame, Long(6));
  EXPECT_EQ(f.MarkedPicturePath, "");
}

TEST_F(TimelineTest, AReleaseOnAnEndMarkDuringPlaybackEndsTheDragQuietly) {
  window::Form1& f = openClip(3);
  press(*f.picBlock, pixelsOf(150, 75));
  f.imgRightPlay_Click();
  f.tmrControlDisplay->tick();
  f.tmrControlDisplay->tick();  // the last frame: CurrentFrame -1, playback over
  ASSERT_EQ(state().CurrentFrame, Long(-1));
  release(*f.picBar, pixelsOf(150, 75));
  EXPECT_EQ(f.BlockDragging, kFalse);
  EXPECT_TRUE(boxes().empty());
  EXPECT_EQ(visibleView(), expectedFit(2));
}

}  // namespace
