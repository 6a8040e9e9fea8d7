// Opening a clip with the folder button: the first and the later opening, and every way it fails.

#include <filesystem>
#include <string>

#include "clip/clip_writer.h"
#include "review/open_clip.h"
#include "tests/support/window_fixture.h"

namespace {

using testing_support::readBytes;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;
using toolkit::MsgIcon;

class OpenTest : public testing_support::WindowFixture {};

TEST_F(OpenTest, TheDialogAsksForClipsWithTheFilterOfTheProgram) {
  start();
  open("");
  ASSERT_EQ(m_host.dialogs.requests().size(), 1u);
  const auto& request = m_host.dialogs.requests()[0];
  EXPECT_EQ(request.kind, toolkit::FileDialogRequest::Kind::Open);
  EXPECT_EQ(
      request.filter,
      "Tessmoor HGV File(*.HGV) | *.HGV | Camera videos | "
      "*.mp4;*.m4v;*.mov;*.avi;*.mkv;*.mts;*.m2ts;*.ts;*.wmv;*.asf;*.3gp;*.webm | All files | *");
  EXPECT_EQ(request.filterIndex, 1);
  EXPECT_EQ(request.fileName, "");
  const std::string filters = toolkit::qtNameFilters(request.filter);
  EXPECT_EQ(filters.substr(0, filters.find(";;")), "Tessmoor HGV File(*.HGV) (*.HGV *.hgv)")
      << "clips come first";
  EXPECT_NE(filters.find(";;Camera videos (*.mp4 *.MP4 *.m4v"), std::string::npos) << filters;
  EXPECT_EQ(filters.substr(filters.rfind(";;")), ";;All files (*)");
  EXPECT_EQ(form().dlgOpenAVI->MaxFileSize, 1000);
}

TEST_F(OpenTest, TheFirstClipLargerThanTheViewFillsItWithFrameZero) {
  start();
  const std::string path = makeClip("garden.HGV", 5);
  open(path);
  window::Form1& f = form();
  EXPECT_TRUE(boxes().empty());
  EXPECT_EQ(state().ClipOpen, kTrue);
  EXPECT_EQ(state().ClipFileName, path);
  EXPECT_EQ(clipModule().ClipPath, path);
  EXPECT_EQ(state().TotalFrames, Long(5));
  EXPECT_EQ(state().CurrentFrame, Long(0));
  EXPECT_EQ(state().CurrentFrameFile, scratch());
  EXPECT_EQ(readBytes(scratch()), jpegOf(0));
  EXPECT_EQ(f.FirstClipPending, kFalse);
  EXPECT_EQ(f.SettingsShown, kFalse);
  EXPECT_TRUE(f.picShowAVI->Visible);
  EXPECT_EQ(state().PictureWidth, Long(640 * 15));
  EXPECT_EQ(state().PictureHeight, Long(480 * 15));
  EXPECT_EQ(clipModule().DisplayWidth, Long(8970));
  EXPECT_EQ(clipModule().DisplayHeight, Long(5415));
  EXPECT_EQ(f.BarTravel, Long(8250));
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  EXPECT_TRUE(f.lblImageID->Visible);
  EXPECT_EQ(f.lblImageID->Caption(), "1");
  EXPECT_EQ(f.lblImageID->Left(), 2500.0f);
  EXPECT_EQ(visibleView(), expectedFit(0));
  // The default search area of a view of 598 by 361 pixels.
  EXPECT_EQ(form().DrawRectangle.SearchBox, (toolkit::Rect{50, 80, 548, 281}));
  EXPECT_EQ(form().DrawRectangle.SearchArea, (toolkit::Rect{54, 106, 586, 374}));
}

TEST_F(OpenTest, AFirstClipThatFitsStandsAtItsNaturalSizeAndStillHasASourceSize) {
  start();
  open(makeClip("small.HGV", 3, 320, 240));
  window::Form1& f = form();
  EXPECT_EQ(f.FirstClipPending, kTrue) << "the next opening takes the first way again";
  EXPECT_EQ(f.picShowAVI->widthTwips(), 320 * 15.0f);
  EXPECT_EQ(state().PictureWidth, Long(320 * 15));
  EXPECT_EQ(state().PictureHeight, Long(240 * 15));
  const QImage natural = f.picShowAVI->shownPart(QRect(0, 0, 320, 240));
  EXPECT_EQ(natural, testing_support::stretchReference(*toolkit::decodeJpeg(jpegOf(0)), 320, 240,
                                                       320, 240, QRect(0, 0, 320, 240)));
  // A step shows the next frame the same way, whole at its natural size.
  f.imgRightStep_Click();
  EXPECT_EQ(f.picShowAVI->widthTwips(), 320 * 15.0f);
  EXPECT_EQ(f.picShowAVI->shownPart(QRect(0, 0, 320, 240)),
            testing_support::stretchReference(*toolkit::decodeJpeg(jpegOf(1)), 320, 240, 320, 240,
                                              QRect(0, 0, 320, 240)));
  // A picture exactly the size of picBase is not painted either.
  open(makeClip("exact.HGV", 2, 598, 361));
  EXPECT_EQ(f.FirstClipPending, kTrue);
}

TEST_F(OpenTest, CancelOrAShortNameChangesNothingAndPlaybackGoesOn) {
  start();
  open(makeClip("a.HGV", 6));
  window::Form1& f = form();
  f.imgRightPlay_Click();
  f.tmrControlDisplay->tick();
  for (const char* answer : {"", "ab"}) {
    open(answer);
    EXPECT_TRUE(f.tmrControlDisplay->running()) << answer;
    EXPECT_EQ(f.PlaySpeed, "1X");
    EXPECT_EQ(state().CurrentFrame, Long(1));
    EXPECT_EQ(state().ClipOpen, kTrue);
  }
  EXPECT_TRUE(boxes().empty());
}

TEST_F(OpenTest, ARefusedFileAfterAGoodClipLeavesTheFrameDead) {
  start();
  open(makeClip("good.HGV", 4));
  window::Form1& f = form();
  f.imgRightStep_Click();
  const QImage before = visibleView();
  const std::string bad = file("bad.HGV");
  testing_support::writeBytes(bad, std::vector<std::uint8_t>(300, 'x'));
  open(bad);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0],
            toolkit::MessageBoxRequest::critical("The file type is unvalid!", "Warning"));
  EXPECT_EQ(state().ClipOpen, kFalse);
  EXPECT_EQ(state().ClipFileName, bad);
  for (auto* button : {f.imgRightStep, f.imgEnd, f.imgRightPlay, f.imgZoomIn, f.imgRightSearch}) {
    toolkit::testing::click(*button);
  }
  EXPECT_EQ(state().CurrentFrame, Long(1));
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_EQ(f.ZoomPercent, Integer(100));
  EXPECT_EQ(f.lblImageID->Caption(), "2");
  EXPECT_EQ(visibleView(), before);
}

TEST_F(OpenTest, AClipWhoseScanFindsNoFrameSaysSoOnceAndIsNoClipToTheButtons) {
  start();
  window::Form1& f = form();
  clip::ClipLayout layout;
  layout.width = 640;
  layout.height = 480;
  layout.indexSizeField = 15;  // less than one whole entry
  const std::string empty = file("empty.HGV");
  testing_support::writeBytes(
      empty,
      clip::buildClip(layout, {{testing_support::distinctJpeg(640, 480, 0), {}, {}, "00dc"}}));
  open(empty);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0], toolkit::MessageBoxRequest::critical(review::kNoFramesText, "Warning"));
  EXPECT_EQ(state().ClipOpen, kTrue);
  EXPECT_EQ(state().TotalFrames, Long(0));
  EXPECT_FALSE(f.picShowAVI->Visible) << "the view as it was";
  for (auto* button : {f.imgRightStep, f.imgLeftStep, f.imgBegin, f.imgZoomIn, f.imgSetting,
                       f.imgRightSearch, f.imgSave}) {
    toolkit::testing::click(*button);
  }
  EXPECT_EQ(boxes().size(), 1u);
  EXPECT_FALSE(f.frmSetting.loaded());
  EXPECT_FALSE(std::filesystem::exists(scratch()));

  // A scan that fails says why itself; no second box.
  layout.indexSizeField = 32768 * 16;
  testing_support::writeBytes(
      empty,
      clip::buildClip(layout, {{testing_support::distinctJpeg(640, 480, 0), {}, {}, "00dc"}}));
  open(empty);
  ASSERT_EQ(boxes().size(), 2u);
  EXPECT_EQ(boxes()[1].text, "SaveAviChunk\r\nError:6\r\nOverflow");
}

TEST_F(OpenTest, RunTimeErrorsGetTheBoxOfTheOpenHandler) {
  start();
  // A first frame that the picture loader cannot decode.
  std::vector<std::uint8_t> junk(5000, 0x5A);
  open(writeClip("junk.HGV", {junk}, 640, 480));
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0], toolkit::MessageBoxRequest::critical(
                            "ModuleName | ProcedureName\r\nError:481\r\nInvalid picture"));
  EXPECT_EQ(state().ClipOpen, kTrue);
  EXPECT_FALSE(form().lblImageID->Visible);

  // A name longer than the dialog's room.
  open(file(std::string(1000, 'n')));
  ASSERT_EQ(boxes().size(), 2u);
  EXPECT_EQ(boxes()[1].text,
            "ModuleName | ProcedureName\r\nError:20476\r\nThe FileName buffer is too small to "
            "store the selected file name(s).");
  EXPECT_EQ(boxes()[1].icon, MsgIcon::Critical);
}

TEST_F(OpenTest, ALaterOpeningEndsAZoomAPlaybackAndAResult) {
  start();
  window::Form1& f = form();
  open(makeClip("first.HGV", 5));
  f.imgZoomIn_Click();
  f.imgZoomIn_Click();
  f.HS1->Value = f.HS1->Max;
  f.imgRightPlay_Click();
  f.MarkedPicturePath = file("temp.bmp");
  ASSERT_TRUE(f.HS1->Visible);

  open(makeClip("second.HGV", 3));
  EXPECT_EQ(f.ZoomPercent, Integer(100));
  EXPECT_FALSE(f.HS1->Visible);
  EXPECT_FALSE(f.VS1->Visible);
  EXPECT_EQ(f.picBase->Width(), 8970.0f);
  EXPECT_EQ(f.picBase->Height(), 5415.0f);
  EXPECT_EQ(f.picShowAVI->Left(), 0.0f);
  EXPECT_EQ(f.picShowAVI->Top(), 0.0f);
  EXPECT_EQ(state().ZoomActive, kFalse);
  EXPECT_FALSE(f.tmrControlDisplay->running());
  EXPECT_TRUE(f.imgCplay->Visible);
  EXPECT_EQ(f.MarkedPicturePath, "");
  EXPECT_EQ(state().TotalFrames, Long(3));
  EXPECT_EQ(state().CurrentFrame, Long(0));
  EXPECT_EQ(f.picBlock->Left(), 0.0f);
  EXPECT_EQ(f.lblImageID->Caption(), "1");
  EXPECT_EQ(visibleView(), expectedFit(0));
  EXPECT_TRUE(boxes().empty());
}

TEST_F(OpenTest, ALaterOpeningAfterAZoomOutToTheFitOnlyEndsTheZoomPath) {
  start();
  window::Form1& f = form();
  open(makeClip("first.HGV", 2));
  f.imgZoomIn_Click();
  f.imgZoomOut_Click();
  ASSERT_EQ(f.ZoomPercent, Integer(110));
  open(makeClip("second.HGV", 2));
  EXPECT_EQ(f.ZoomPercent, Integer(110));
  EXPECT_EQ(state().ZoomActive, kFalse);
  EXPECT_EQ(f.picBase->Width(), 8970.0f);
  EXPECT_EQ(visibleView(), expectedFit(0));
}

TEST_F(OpenTest, NothingOpensDuringASearchOrWhileTheSearchBoxIsPlaced) {
  start();
  window::Form1& f = form();
  const std::string first = makeClip("first.HGV", 2);
  open(first);
  const std::string second = makeClip("second.HGV", 3);
  f.SearchingForward = kTrue;
  open(second);
  f.SearchingForward = kFalse;
  form().DrawRectangle.SearchAreaEditing = kTrue;
  open(second);
  EXPECT_TRUE(m_host.dialogs.requests().size() == 1u) << "the dialog never showed";
  EXPECT_EQ(state().ClipFileName, first);
}

}  // namespace
