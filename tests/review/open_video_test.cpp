// Opening a camera's video with the folder button: it shows, steps and plays as a clip does, and
// a file that is not a video leaves the window as it was.

#include <filesystem>
#include <string>

#include "tests/review/running_program.h"
#include "tests/support/video_maker.h"
#include "tests/support/window_fixture.h"
#include "toolkit/core/image.h"
#include "toolkit/widgets/testing.h"

namespace {

using toolkit::Integer;
using toolkit::kTrue;
using toolkit::Long;

class OpenVideoTest : public testing_support::WindowFixture {
 protected:
  void SetUp() override { testing_support::quietLibav(); }

  std::string h264(const std::string& name, int frames) {
    testing_support::VideoRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.frames = frames;
    recipe.gop = 6;
    const std::string path = file(name);
    testing_support::makeVideo(path, recipe);
    return path;
  }
};

TEST_F(OpenVideoTest, AnH264VideoOpensStepsBothWaysAndKeepsItsPictureJpegInTempJpg) {
  start();
  const std::string path = h264("yard.mp4", 20);
  open(path);
  ASSERT_TRUE(boxes().empty()) << boxes()[0].text;
  window::Form1& f = form();
  EXPECT_EQ(state().ClipOpen, kTrue);
  EXPECT_EQ(state().TotalFrames, Long(20));
  EXPECT_EQ(state().CurrentFrame, Long(0));
  EXPECT_EQ(f.lblImageID->Caption(), "1");

  // The JPEG "Temp.jpg" holds is what a clip exported from the video would hold for the frame.
  for (int step = 0; step < 8; ++step) f.imgRightStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(8));
  const std::vector<std::uint8_t> eighth = clipModule().frameJpeg(8);
  // The file is never shortened: a longer frame before it leaves its tail behind.
  EXPECT_TRUE(testing_support::startsWith(testing_support::readBytes(scratch()), eighth));
  const QImage atEight = visibleView();
  for (int step = 0; step < 3; ++step) f.imgLeftStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(5));
  EXPECT_EQ(f.lblImageID->Caption(), "6");
  for (int step = 0; step < 3; ++step) f.imgRightStep_Click();
  EXPECT_EQ(visibleView(), atEight) << "the same frame shows the same picture either way";

  // 1X plays the video at its own 25 frames a second; the other speeds, the first click's
  // among them, keep their proportions to it.
  f.imgRightPlay_Click();
  EXPECT_EQ(f.tmrControlDisplay->Interval(), Long(51)) << "450 ms for a clip";
  f.imgRightPlay_Click();
  EXPECT_EQ(f.tmrControlDisplay->Interval(), Long(40)) << "1X";
  f.imgRightPlay_Click();
  EXPECT_EQ(f.tmrControlDisplay->Interval(), Long(29)) << "2X";
  f.imgPausePlay_Click();
}

TEST_F(OpenVideoTest, AVideoLongerThanAClipGoesToItsEndAndStepsBackFromIt) {
  start();
  testing_support::VideoRecipe recipe;
  recipe.width = 48;
  recipe.height = 32;
  recipe.frames = 33000;
  recipe.gop = 3000;
  const std::string path = file("long.mp4");
  testing_support::makeVideo(path, recipe);
  open(path);
  ASSERT_TRUE(boxes().empty()) << boxes()[0].text;
  window::Form1& f = form();
  EXPECT_EQ(state().TotalFrames, Long(33000));
  toolkit::testing::click(*f.imgEnd);
  EXPECT_EQ(state().CurrentFrame, Long(32999));
  EXPECT_EQ(f.lblImageID->Caption(), "33000");
  f.imgLeftStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(32998));
  EXPECT_EQ(f.lblImageID->Caption(), "32999");
  EXPECT_GT(f.picBlock->Left, f.BarTravel.value() * 0.99) << "the block stands at the bar's end";
}

// The same JPEGs as a clip and as MJPEG in QuickTime: the same search leaves the same scratch
// files, and playing back shows the same frames.
TEST_F(OpenVideoTest, AnMjpegVideoSearchesAndPlaysBackAsAClipOfItsJpegs) {
  start();
  const std::vector<testing_support::Square> squares{{200, 150, 96, 5, 9}};
  const std::string clip = sceneClip("scene.HGV", 12, squares);
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int k = 0; k < 12; ++k) jpegs.push_back(jpegOf(k));
  const std::string mov = file("scene.mov");
  testing_support::writeJpegVideo(mov, "mov", jpegs, 640, 480);

  struct Seen {
    std::vector<std::uint8_t> tempJpg, bitmap, marked;
    std::vector<int> playedBack;
  };
  const auto run = [&](const std::string& path) {
    open(path);
    window::Form1& f = form();
    f.imgRightSearch_Click();
    Seen seen{testing_support::readBytes(scratch()),
              testing_support::readBytes(file("1.bmp")),
              testing_support::readBytes(file("temp.bmp")),
              {}};
    f.imgLeftPlay_Click();
    for (int tick = 0; tick < 4; ++tick) {
      f.tmrControlDisplay->tick();
      seen.playedBack.push_back(state().CurrentFrame.value());
    }
    f.imgPausePlay_Click();
    return seen;
  };
  const Seen fromClip = run(clip);
  const Seen fromVideo = run(mov);
  ASSERT_TRUE(boxes().empty()) << boxes()[0].text;
  EXPECT_EQ(state().ClipFileName, mov);
  EXPECT_FALSE(fromClip.marked.empty()) << "the search found the square";
  EXPECT_EQ(fromVideo.tempJpg, fromClip.tempJpg);
  EXPECT_EQ(fromVideo.bitmap, fromClip.bitmap);
  EXPECT_EQ(fromVideo.marked, fromClip.marked);
  EXPECT_EQ(fromVideo.playedBack, fromClip.playedBack);
  EXPECT_EQ(fromClip.playedBack, (std::vector<int>{4, 3, 2, 1}));
}

TEST_F(OpenVideoTest, AFileThatIsNoVideoGetsOneBoxAndTheClipStaysOpen) {
  start();
  const std::string good = makeClip("good.HGV", 4);
  open(good);
  form().imgRightStep_Click();
  const QImage before = visibleView();
  const std::string notes = file("notes.mp4");
  testing_support::writeBytes(notes, {'n', 'o', 't', ' ', 'a', ' ', 'v', 'i', 'd', 'e', 'o'});
  const std::string cut = file("cut.mp4");
  {
    const std::string whole = h264("whole.mp4", 12);
    std::vector<std::uint8_t> bytes = testing_support::readBytes(whole);
    bytes.resize(bytes.size() / 3);
    testing_support::writeBytes(cut, bytes);
  }
  const std::string sound = file("voice.mov");
  testing_support::writeSoundOnly(sound);
  for (const std::string& bad : {notes, cut, sound}) {
    m_host.messages.clear();
    open(bad);
    ASSERT_EQ(boxes().size(), 1u) << bad;
    EXPECT_EQ(boxes()[0].text.rfind(
                  std::filesystem::path(bad).filename().string() + " cannot be opened: ", 0),
              0u)
        << boxes()[0].text;
    EXPECT_EQ(state().ClipOpen, kTrue);
    EXPECT_EQ(state().ClipFileName, good);
    EXPECT_EQ(state().CurrentFrame, Long(1));
    EXPECT_EQ(visibleView(), before);
  }
  EXPECT_EQ(boxes()[0], toolkit::MessageBoxRequest::critical(
                            "voice.mov cannot be opened: no video stream.", "Warning"));
  form().imgRightStep_Click();
  EXPECT_EQ(state().CurrentFrame, Long(2)) << "the clip still steps";
}

}  // namespace
