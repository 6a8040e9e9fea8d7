// Step, play and pause: the end marks of CurrentFrame, the speeds, the guards, and frames that
// cannot be shown or read.

#include <filesystem>

#include "clip/clip_writer.h"
#include "tests/support/window_fixture.h"

namespace {

using testing_support::readBytes;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;

class TransportTest : public testing_support::WindowFixture {
 protected:
  window::Form1& openClip(int frames) {
    start();
    open(makeClip("clip.HGV", frames));
    return form();
  }
  // The frame on show is frame `index`, and the scratch file begins with its bytes (it keeps the
  // length of the longest frame written into it).
  void expectShowing(int index) {
    EXPECT_EQ(visibleView(), expectedFit(index)) << "frame " << index;
    const auto bytes = readBytes(scratch());
    EXPECT_TRUE(bytes.size() >= jpegOf(index).size() &&
                std::equal(jpegOf(index).begin(), jpegOf(index).end(), bytes.begin()))
        << "frame " << index;
    EXPECT_EQ(clipModule().ExtractedFrame, toolkit::Long(index));
  }
  std::vector<bool> speedMarks() {
    std::vector<bool> shown;
    for (auto* mark : {form().img1X, form().img2X, form().img3X, form().img4X, form().img5X,
                       form().img1XN, form().img2XN, form().img3XN, form().img4XN, form().img5XN}) {
      shown.push_back(mark->Visible);
    }
    return shown;
  }
};

TEST_F(TransportTest, StepsLeaveTheEndMarksOfTheTable) {
  window::Form1& f = openClip(2);
  f.imgRightStep_Click();
  expectShowing(1);
  EXPECT_EQ(state().CurrentFrame, Long(-1)) << "the last frame, reached by stepping";
  EXPECT_EQ(f.lblImageID->Caption(), "2");
  f.imgRightStep_Click();
  expectShowing(0);
  EXPECT_EQ(state().CurrentFrame, Long(0));
  f.imgRightStep_Click();
  f.imgLeftStep_Click();
  expectShowing(0);
  EXPECT_EQ(state().CurrentFrame, Long(0)) << "from -1 of two frames, without the mark";

  f.imgRightStep_Click();
  f.imgRightStep_Click();  // frame 0 again, CurrentFrame 0
  f.imgRightStep_Click();  // frame 1, -1
  f.imgLeftStep_Click();   // frame 0
  EXPECT_EQ(state().CurrentFrame, Long(0));
}

TEST_F(TransportTest, StepBackOntoFrameZeroLeavesTotalFramesAndGoesOnFromThere) {
  window::Form1& f = openClip(5);
  f.imgRightStep_Click();
  f.imgLeftStep_Click();
  expectShowing(0);
  EXPECT_EQ(state().CurrentFrame, Long(5));
  EXPECT_EQ(f.lblImageID->Caption(), "1");
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  f.imgRightStep_Click();
  expectShowing(1);
  f.imgLeftStep_Click();
  f.imgLeftStep_Click();
  expectShowing(4);
  EXPECT_EQ(state().CurrentFrame, Long(4));
  EXPECT_EQ(f.picBlock->Left(), 8250.0f);

  f.imgBegin_Click();
  expectShowing(0);
  EXPECT_EQ(state().CurrentFrame, Long(0));
  f.imgEnd_Click();
  expectShowing(4);
  EXPECT_EQ(state().CurrentFrame, Long(4)) << "the plain number, not the mark";
  f.imgRightStep_Click();
  expectShowing(0);
  EXPECT_EQ(state().CurrentFrame, Long(0));
  // From the last frame but one a step shows the last frame and leaves -1.
  f.imgEnd_Click();
  f.imgLeftStep_Click();
  f.imgRightStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(-1));
  EXPECT_EQ(f.lblImageID->Caption(), "5");
}

TEST_F(TransportTest, ForwardPlaybackStopsOnTheLastFrameAfterOneTickLessThanFrames) {
  window::Form1& f = openClip(4);
  f.imgRightPlay_Click();
  EXPECT_TRUE(f.tmrControlDisplay->running());
  EXPECT_FALSE(f.imgCplay->Visible);
  EXPECT_EQ(speedMarks(), (std::vector<bool>{true, false, false, false, false, false, false, false,
                                             false, false}));
  for (int tick = 1; tick <= 3; ++tick) {
    EXPECT_TRUE(f.tmrControlDisplay->running()) << tick;
    f.tmrControlDisplay->tick();
    expectShowing(tick);
  }
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_TRUE(f.imgCplay->Visible);
  EXPECT_EQ(f.PlaySpeed, "");
  EXPECT_EQ(state().CurrentFrame, Long(-1));
  // Started anew at the end, playback runs from the other end.
  f.imgRightPlay_Click();
  f.tmrControlDisplay->tick();
  expectShowing(0);

  // Backward playback stops on frame 0 with the mark TotalFrames.
  f.imgEnd_Click();
  f.imgLeftPlay_Click();
  for (int tick = 0; tick < 3; ++tick) f.tmrControlDisplay->tick();
  expectShowing(0);
  EXPECT_EQ(state().CurrentFrame, Long(4));
  EXPECT_FALSE(f.tmrControlDisplay->running());
}

TEST_F(TransportTest, EachClickOfAPlayButtonGoesOneSpeedUpAndTheOtherButtonTurns) {
  window::Form1& f = openClip(3);
  const int intervals[] = {450, 350, 250, 150, 30, 450};
  const char* speeds[] = {"1X", "2X", "3X", "4X", "5X", "1X"};
  for (int i = 0; i < 6; ++i) {
    toolkit::testing::click(*f.imgRightPlay);
    EXPECT_EQ(f.tmrControlDisplay->Interval(), toolkit::Long(intervals[i])) << i;
    EXPECT_EQ(f.PlaySpeed, speeds[i]);
    std::vector<bool> marks(10, false);
    marks[static_cast<std::size_t>(i % 5)] = true;
    EXPECT_EQ(speedMarks(), marks) << i;
  }
  for (int i = 0; i < 3; ++i) f.imgRightPlay_Click();
  ASSERT_EQ(f.PlaySpeed, "4X");
  f.imgLeftPlay_Click();
  EXPECT_EQ(f.PlaySpeed, "-1X") << "a turn falls back to 1X";
  EXPECT_EQ(f.PlayingBack, kTrue);
  EXPECT_EQ(f.PlayingForward, kFalse);
  EXPECT_EQ(f.tmrControlDisplay->Interval(), toolkit::Long(450));
  EXPECT_EQ(speedMarks(), (std::vector<bool>{false, false, false, false, false, true, false, false,
                                             false, false}));
  f.imgLeftPlay_Click();
  EXPECT_EQ(f.PlaySpeed, "-2X");
  toolkit::testing::click(*f.imgPausePlay);
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_TRUE(f.imgCplay->Visible);
  EXPECT_EQ(speedMarks(), std::vector<bool>(10, false));
  f.imgRightPlay_Click();
  EXPECT_EQ(f.PlaySpeed, "1X") << "after a stop the next click starts at 1X";
}

TEST_F(TransportTest, AClipOfOneFrameOnlySteps) {
  window::Form1& f = openClip(1);
  EXPECT_EQ(f.picBlock->Left(), 8250.0f) << "the block of one frame stands at the right end";
  for (auto* button : {f.imgRightPlay, f.imgLeftPlay, f.imgBegin, f.imgEnd}) {
    toolkit::testing::click(*button);
  }
  EXPECT_FALSE(f.tmrControlDisplay->running());
  f.SearchStopRequested = kFalse;
  f.imgPausePlay_Click();
  EXPECT_EQ(f.SearchStopRequested, kFalse) << "pause does nothing either";
  f.imgRightStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(0));
  expectShowing(0);
  f.imgLeftStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(0));
  expectShowing(0);
}

TEST_F(TransportTest, PauseWithoutAClipIsHarmlessAndEndsAResultOtherwise) {
  start();
  window::Form1& f = form();
  f.imgPausePlay_Click();
  EXPECT_EQ(f.SearchStopRequested, kTrue);
  EXPECT_TRUE(boxes().empty());
  open(makeClip("clip.HGV", 3));
  f.MarkedPicturePath = file("temp.bmp");
  f.SearchStopRequested = kFalse;
  f.imgPausePlay_Click();
  EXPECT_EQ(f.MarkedPicturePath, "");
  EXPECT_EQ(f.SearchStopRequested, kTrue);
}

TEST_F(TransportTest, TheButtonsAreQuietDuringASearchAndWhileTheAreaIsChosen) {
  window::Form1& f = openClip(4);
  f.MarkedPicturePath = file("temp.bmp");
  f.SearchingForward = kTrue;
  for (auto* button : {f.imgRightStep, f.imgLeftStep, f.imgBegin, f.imgEnd, f.imgRightPlay}) {
    toolkit::testing::click(*button);
  }
  f.SearchingForward = kFalse;
  form().DrawRectangle.SearchAreaEditing = kTrue;
  f.imgRightStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(0));
  EXPECT_EQ(f.MarkedPicturePath, file("temp.bmp"));
  EXPECT_FALSE(f.tmrControlDisplay->running());
}

TEST_F(TransportTest, AClipOf32767FramesStepsAndPlaysAtBothEnds) {
  start();
  const auto tiny = testing_support::distinctJpeg(16, 16, 1);
  std::vector<std::vector<std::uint8_t>> jpegs(32767, tiny);
  jpegs.back() = testing_support::distinctJpeg(16, 16, 2);
  open(writeClip("long.HGV", jpegs, 16, 16));
  window::Form1& f = form();
  ASSERT_EQ(state().TotalFrames, Long(32767));
  f.imgRightStep_Click();
  f.imgLeftStep_Click();
  ASSERT_EQ(state().CurrentFrame, Long(32767)) << "frame 0, the mark TotalFrames";
  f.imgRightStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(1));
  f.imgLeftStep_Click();
  f.imgLeftPlay_Click();
  f.tmrControlDisplay->tick();
  EXPECT_EQ(state().CurrentFrame, Long(32766)) << "from frame 0 back to the last";
  const auto bytes = readBytes(scratch());
  EXPECT_TRUE(std::equal(jpegs.back().begin(), jpegs.back().end(), bytes.begin()))
      << "all frames but the last are alike";
  f.imgEnd_Click();
  f.imgLeftStep_Click();
  f.imgRightPlay_Click();
  f.tmrControlDisplay->tick();
  EXPECT_EQ(state().CurrentFrame, Long(-1));
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_EQ(f.lblImageID->Caption(), "32767");
  EXPECT_TRUE(boxes().empty());
}

TEST_F(TransportTest, AFrameThatCannotBeDecodedDarkensTheViewAndPlaybackGoesOn) {
  start();
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int i = 0; i < 4; ++i) jpegs.push_back(testing_support::distinctJpeg(640, 480, i));
  jpegs[2] = std::vector<std::uint8_t>(3000, 0x33);
  open(writeClip("damaged.HGV", jpegs, 640, 480));
  window::Form1& f = form();
  f.imgRightPlay_Click();
  f.tmrControlDisplay->tick();
  f.tmrControlDisplay->tick();
  EXPECT_TRUE(boxes().empty());
  EXPECT_TRUE(f.tmrControlDisplay->running());
  EXPECT_EQ(f.lblImageID->Caption(), "3");
  const QImage dark = visibleView();
  int darkPixels = 0;
  for (int y = 0; y < dark.height(); ++y) {
    for (int x = 0; x < dark.width(); ++x) darkPixels += qGray(dark.pixel(x, y)) < 40;
  }
  EXPECT_GT(darkPixels, dark.width() * dark.height() * 9 / 10);
  EXPECT_LT(darkPixels, dark.width() * dark.height()) << "with a note on it";
  f.tmrControlDisplay->tick();
  expectShowing(3);
  // Zoomed, the note covers the part that is seen.
  f.imgZoomIn_Click();
  f.imgLeftStep_Click();
  f.imgLeftStep_Click();
  ASSERT_EQ(clipModule().ExtractedFrame, toolkit::Long(1));
  f.imgRightStep_Click();
  EXPECT_EQ(qGray(visibleView().pixel(5, 5)), qGray(qRgb(24, 24, 24)));
  EXPECT_LE(f.picShowAVI->drawnBytes(), 578u * 341 * 4);
}

TEST_F(TransportTest, AClipThatGoesAwayStopsPlaybackWithOneBox) {
  window::Form1& f = openClip(4);
  f.imgRightStep_Click();
  const QImage before = visibleView();
  f.imgRightPlay_Click();
  std::filesystem::remove(state().ClipFileName);
  f.tmrControlDisplay->tick();
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "Frame 3 of \"" + state().ClipFileName +
                                 "\" cannot be read.\r\nError:53\r\nFile not found");
  EXPECT_EQ(boxes()[0].icon, toolkit::MsgIcon::Critical);
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_TRUE(f.imgCplay->Visible);
  EXPECT_EQ(visibleView(), before);
  // The window stays usable: another clip opens.
  open(makeClip("other.HGV", 2));
  EXPECT_EQ(state().TotalFrames, Long(2));
  f.imgRightStep_Click();
  expectShowing(1);
  EXPECT_EQ(boxes().size(), 1u);
}

}  // namespace
