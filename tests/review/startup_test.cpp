#include <gtest/gtest.h>

#include <filesystem>

#include "review/session.h"
#include "tests/support/temp_dir.h"
#include "toolkit/core/image.h"
#include "toolkit/widgets/testing.h"
#include "window/windows.h"

namespace {

using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;

class StartupTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { toolkit::testing::ensureApplication(); }

  void SetUp() override {
    m_host.host.onAllFormsUnloaded = [this] { ++m_ends; };
  }

  window::Form1& start() {
    m_windows = std::make_unique<window::Windows>(m_host.host, m_session);
    m_windows->Form1.Show();
    return m_windows->Form1;
  }

  std::string file(const std::string& name) const { return m_dir.file(name); }
  void touch(const std::string& name) { testing_support::writeBytes(file(name), {1, 2, 3}); }
  bool exists(const std::string& name) const { return std::filesystem::exists(file(name)); }
  // The scratch files a session leaves, and a clip that must survive any clean-up.
  void leaveScratchFiles() {
    for (const char* name : {"Temp.jpg", "1.bmp", "temp.bmp", "garden.HGV"}) touch(name);
  }

  testing_support::TempDir m_dir;
  toolkit::testing::TestHost m_host{m_dir.path()};
  review::Session m_session{m_host.platform};
  std::unique_ptr<window::Windows> m_windows;
  int m_ends = 0;
};

TEST_F(StartupTest, FormLoadLeavesTheStartingState) {
  window::Form1& form = start();
  EXPECT_TRUE(form.loaded());
  EXPECT_TRUE(form.Visible);
  EXPECT_EQ(form.Caption(), "Harrowglen 1.0");
  EXPECT_EQ(form.picBase->Width(), 8970.0f);
  EXPECT_EQ(form.picBase->Height(), 5415.0f);
  EXPECT_EQ(m_session.SeparateMJPG.DisplayWidth, Long(8970));
  EXPECT_EQ(m_session.SeparateMJPG.DisplayHeight, Long(5415));
  EXPECT_EQ(form.HS1->Max(), Integer(100));
  EXPECT_EQ(form.VS1->Max(), Integer(100));
  EXPECT_EQ(form.HS1->Value(), Integer(1)) << "the stored value stays below the new Max";
  EXPECT_FALSE(form.picShowAVI->Visible);
  EXPECT_FALSE(form.picShowAVI->widget()->isVisible());
  EXPECT_FALSE(form.lblImageID->Visible);
  EXPECT_FALSE(form.tmrControlDisplay->Enabled);
  EXPECT_FALSE(form.tmrControlDisplay->running());
  EXPECT_EQ(form.searchState.SearchPhaseA, kTrue);
  EXPECT_EQ(form.searchState.SearchPhaseB, kTrue);
  EXPECT_EQ(m_session.OpenSaveFile.ZoomActive, kFalse);
  EXPECT_EQ(form.SearchCellSize, Integer(16));
  EXPECT_EQ(form.ZoomPercent, Integer(100));
  EXPECT_EQ(form.FirstClipPending, kTrue);
  EXPECT_EQ(form.SettingsShown, kFalse);
  EXPECT_EQ(form.PlayingForward, kFalse);
  EXPECT_EQ(form.PlayingBack, kFalse);
  EXPECT_EQ(form.DrawRectangle.SearchBox, toolkit::Rect{});
  EXPECT_TRUE(form.imgCplay->Visible);
  EXPECT_TRUE(m_host.messages.boxes().empty());
}

TEST_F(StartupTest, TheInterfaceBitmapGoesIntoAHiddenBoxNamedPic) {
  toolkit::RgbImage rgb{4, 3, std::vector<std::uint8_t>(36, 90)};
  testing_support::writeBytes(file("Harrowglen Interface.BMP"), toolkit::encodeBmp24(rgb));
  window::Form1& form = start();
  ASSERT_EQ(form.control("pic"), form.pic);
  ASSERT_NE(form.pic, nullptr);
  EXPECT_FALSE(form.pic->Visible);
  EXPECT_EQ(form.pic->Picture().widthPixels(), 4);
  EXPECT_EQ(form.pic->Picture().heightPixels(), 3);
}

TEST_F(StartupTest, AMissingOrBrokenInterfaceBitmapStartsAsUsual) {
  for (bool broken : {false, true}) {
    if (broken) touch("Harrowglen Interface.BMP");
    window::Form1& form = start();
    EXPECT_TRUE(form.Visible) << broken;
    EXPECT_TRUE(form.pic->Picture().empty()) << broken;
    EXPECT_FALSE(form.lblImageID->Visible) << broken;
    EXPECT_EQ(form.FirstClipPending, kTrue) << broken;
    EXPECT_TRUE(m_host.messages.boxes().empty()) << broken;
    form.Unload();
  }
}

TEST_F(StartupTest, ASecondCopyEndsSilentlyAndLeavesTheRunningCopysFilesAlone) {
  leaveScratchFiles();
  m_host.instances.setAnotherRunning(true);
  window::Form1& form = start();
  EXPECT_FALSE(form.loaded());
  EXPECT_FALSE(form.Visible);
  EXPECT_TRUE(m_host.host.Forms().empty());
  EXPECT_EQ(m_ends, 1);
  EXPECT_TRUE(m_host.messages.boxes().empty());
  for (const char* name : {"Temp.jpg", "1.bmp", "temp.bmp", "garden.HGV"}) {
    EXPECT_TRUE(exists(name)) << name;
  }
}

TEST_F(StartupTest, ClosingTheWindowRemovesTheScratchFilesAndEndsTheProgram) {
  leaveScratchFiles();
  window::Form1& form = start();
  m_session.OpenSaveFile.CurrentFrameFile = file("Temp.jpg");
  form.window()->close();
  EXPECT_FALSE(form.loaded());
  EXPECT_FALSE(exists("Temp.jpg"));
  EXPECT_FALSE(exists("1.bmp"));
  EXPECT_FALSE(exists("temp.bmp"));
  EXPECT_TRUE(exists("garden.HGV"));
  EXPECT_EQ(m_ends, 1);
}

TEST_F(StartupTest, ClosingWithNoFrameEverShownDeletesOnlyTheBitmaps) {
  leaveScratchFiles();
  window::Form1& form = start();
  form.window()->close();
  EXPECT_TRUE(exists("Temp.jpg")) << "CurrentFrameFile is empty";
  EXPECT_FALSE(exists("1.bmp"));
  EXPECT_FALSE(exists("temp.bmp"));
}

TEST_F(StartupTest, ClosingTakesDownTheOpenDialogs) {
  window::Form1& form = start();
  m_windows->frmExportVideo.Show();
  m_windows->frmSetting.Show();
  ASSERT_EQ(m_host.host.Forms().size(), 3u);
  form.window()->close();
  EXPECT_TRUE(m_host.host.Forms().empty());
  EXPECT_FALSE(m_windows->frmExportVideo.Visible);
  EXPECT_FALSE(m_windows->frmSetting.Visible);
  EXPECT_EQ(m_ends, 1);
}

TEST_F(StartupTest, ClosingDuringASearchOnlyAsksTheSearchToShutDown) {
  leaveScratchFiles();
  window::Form1& form = start();
  m_session.OpenSaveFile.CurrentFrameFile = file("Temp.jpg");
  form.SearchingBack = kTrue;
  form.window()->close();
  EXPECT_EQ(form.CloseRequested, kTrue);
  EXPECT_TRUE(exists("Temp.jpg"));
  EXPECT_TRUE(exists("1.bmp"));
  EXPECT_TRUE(exists("temp.bmp"));
  // The search, at its end, finds the flag and shuts the session down.
  form.SearchingBack = kFalse;
  form.ShutDownSession();
  EXPECT_FALSE(exists("Temp.jpg"));
  EXPECT_FALSE(exists("1.bmp"));
  EXPECT_FALSE(exists("temp.bmp"));
}

}  // namespace
