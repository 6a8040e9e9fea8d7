// The exports: the Save dialog's states, the JPEG of the current picture, sub-clips read back by
// our own reader, WMV videos read back by libavformat, the failures that leave nothing behind,
// and hgvtool export.

#include <filesystem>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "clip/clip_writer.h"
#include "export/core/exports.h"
#include "tests/support/faulty_file_system.h"
#include "tests/support/media_facts.h"
#include "tests/support/window_fixture.h"
#include "window/frm_export_video.h"
#include "window/frm_wait.h"

namespace {

namespace fs = std::filesystem;
using testing_support::ClipFacts;
using testing_support::readBytes;
using testing_support::readClip;
using testing_support::readVideo;
using testing_support::temporariesIn;
using testing_support::VideoFacts;
using testing_support::writeBytes;
using toolkit::kTrue;
using Bytes = std::vector<std::uint8_t>;

class ExportTest : public testing_support::WindowFixture {
 protected:
  window::frmExportVideo& dialog() { return m_windows->frmExportVideo; }
  window::frmWait& wait() { return m_windows->frmWait; }
  window::Form1& openClip(int frames, int width = 160, int height = 120) {
    start();
    open(makeClip("clip.HGV", frames, width, height));
    return form();
  }
  // Save, the option, a destination from the save dialog, export.
  void exportAs(void (window::frmExportVideo::*option)(), const std::string& destination) {
    form().imgSave_Click();
    (dialog().*option)();
    m_host.dialogs.answer(destination);
    dialog().cmdChageSaveAddr_Click();
    dialog().cmdExportFile_Click();
  }
  void expectWindowsBack() {
    EXPECT_FALSE(dialog().loaded());
    EXPECT_FALSE(wait().loaded());
    EXPECT_TRUE(form().Enabled);
    EXPECT_TRUE(form().picShowAVI->Enabled);
  }
  void expectNothingAt(const std::string& path) {
    EXPECT_FALSE(fs::exists(path)) << path;
    EXPECT_TRUE(temporariesIn(fs::path(path).parent_path()).empty()) << path;
  }
};

TEST_F(ExportTest, TheDialogOpensAtItsDefaultsAndRewritesTheExtensionOnTheWholePath) {
  window::Form1& f = openClip(3);
  f.imgRightPlay_Click();
  f.imgSave_Click();
  EXPECT_FALSE(f.tmrControlDisplay->running()) << "playback stops first";
  EXPECT_FALSE(f.Enabled);
  window::frmExportVideo& d = dialog();
  EXPECT_TRUE(d.Visible);
  EXPECT_TRUE(d.optJPG->Value);
  EXPECT_EQ(d.lblExportAddress->Caption(), "");
  EXPECT_FALSE(d.cmdExportFile->Enabled);
  EXPECT_EQ(d.lblOutputWMV->Caption(),
            "Exporting to a .WMV file will compress the video to a smaller size.  This file is "
            "suitable for email or upload to the internet.");
  d.optSave50HGV_Click();
  EXPECT_EQ(d.lblExportAddress->Caption(), "") << "no destination, no text";
  EXPECT_TRUE(d.optSave50HGV->Value);
  EXPECT_FALSE(d.optJPG->Value);

  // A cancelled dialog and a name of two characters change nothing.
  const std::size_t before = m_host.dialogs.requests().size();
  d.cmdChageSaveAddr_Click();
  m_host.dialogs.answer("ab");
  d.cmdChageSaveAddr_Click();
  EXPECT_EQ(d.lblExportAddress->Caption(), "");
  EXPECT_FALSE(d.cmdExportFile->Enabled);
  ASSERT_EQ(m_host.dialogs.requests().size(), before + 2);
  EXPECT_EQ(m_host.dialogs.requests()[before].filter, "HGV File(*.hgv)|*.hgv");
  EXPECT_EQ(m_host.dialogs.requests()[before].kind, toolkit::FileDialogRequest::Kind::Save);
  EXPECT_EQ(m_host.dialogs.requests()[before].fileName, "");

  d.optJPG_Click();
  m_host.dialogs.answer("C:\\clips\\a.jpg");
  d.cmdChageSaveAddr_Click();
  EXPECT_EQ(m_host.dialogs.requests().back().filter, "Jpg File(*.jpg)|*.jpg");
  EXPECT_TRUE(d.cmdExportFile->Enabled);
  d.optSave100WMV_Click();
  EXPECT_EQ(d.lblExportAddress->Caption(), "C:\\clips\\a.wmv");
  EXPECT_TRUE(d.cmdExportFile->Enabled);
  EXPECT_FALSE(d.optJPG->Value);
  d.optSave100WMV_Click();
  EXPECT_EQ(d.lblExportAddress->Caption(), "C:\\clips\\a.wmv");
  d.lblExportAddress->Caption = std::string("C:\\my.clips\\export");
  d.optJPG_Click();
  EXPECT_EQ(d.lblExportAddress->Caption(), "C:\\my.jpg");
  d.lblExportAddress->Caption = std::string("export");
  d.optSave200HGV_Click();
  EXPECT_EQ(d.lblExportAddress->Caption(), "hgv");

  // The close box writes nothing and gives the window back.
  d.window()->close();
  expectWindowsBack();
  EXPECT_TRUE(boxes().empty());
  // The next opening starts at the defaults again.
  f.imgSave_Click();
  EXPECT_TRUE(d.optJPG->Value);
  EXPECT_FALSE(d.optSave200HGV->Value);
}

TEST_F(ExportTest, SaveDoesNothingWithoutAClipOrDuringASearch) {
  start();
  form().imgSave_Click();
  EXPECT_FALSE(dialog().loaded());
  open(makeClip("clip.HGV", 3));
  form().SearchingForward = kTrue;
  form().imgSave_Click();
  EXPECT_FALSE(dialog().loaded());
  form().SearchingForward = toolkit::kFalse;
  form().DrawRectangle.SearchAreaEditing = kTrue;
  form().imgSave_Click();
  EXPECT_FALSE(dialog().loaded());
}

TEST_F(ExportTest, TheJpegIsTheStoredFrameWhateverTheViewShowsAndReplacesALongerFile) {
  start();
  open(sceneClip("scene.HGV", 6, {{320, 160, 48, 3, 6}}));
  window::Form1& f = form();
  f.imgRightSearch_Click();
  ASSERT_EQ(f.MarkedPictureShowing, kTrue);
  f.imgZoomIn_Click();
  f.imgZoomIn_Click();
  const std::string destination = file("frame.jpg");
  writeBytes(destination, Bytes(jpegOf(3).size() * 3, 0x55));
  exportAs(&window::frmExportVideo::optJPG_Click, destination);
  EXPECT_EQ(readBytes(destination), jpegOf(3));
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "Image File Successfully Created");
  EXPECT_EQ(boxes()[0].title, std::optional<std::string>("Save"));
  EXPECT_EQ(boxes()[0].icon, toolkit::MsgIcon::None);
  expectWindowsBack();
  EXPECT_TRUE(temporariesIn(fs::path(destination).parent_path()).empty());
}

TEST_F(ExportTest, ASubClipHoldsTheRunsFramesByteForByte) {
  window::Form1& f = openClip(240);
  // From the first frame: 200 frames, 0 to 199.
  exportAs(&window::frmExportVideo::optSave200HGV_Click, file("first.hgv"));
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "Harrowglen Video File Successfully Created");
  EXPECT_EQ(boxes()[0].title, std::optional<std::string>("Save"));
  expectWindowsBack();
  ClipFacts first = readClip(file("first.hgv"), m_dir.file("reader"));
  ASSERT_TRUE(first.admitted);
  EXPECT_EQ(first.width, 160);
  EXPECT_EQ(first.height, 120);
  ASSERT_EQ(first.frames.size(), 200u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(first.frames[i], jpegOf(i)) << i;
  EXPECT_EQ(first.microSecPerFrame, exporting::clipMicroSecPerFrame(clipModule()));

  // With 37 frames left, 200 asked: 37.
  for (int i = 0; i < 203; ++i) f.imgRightStep_Click();
  ASSERT_EQ(clipModule().ExtractedFrame, toolkit::Long(203));
  exportAs(&window::frmExportVideo::optSave200HGV_Click, file("tail.hgv"));
  ClipFacts tail = readClip(file("tail.hgv"), m_dir.file("reader"));
  ASSERT_EQ(tail.frames.size(), 37u);
  for (int i = 0; i < 37; ++i) EXPECT_EQ(tail.frames[i], jpegOf(203 + i)) << i;

  // From the middle, 50.
  f.imgBegin_Click();
  for (int i = 0; i < 100; ++i) f.imgRightStep_Click();
  exportAs(&window::frmExportVideo::optSave50HGV_Click, file("middle.hgv"));
  ClipFacts middle = readClip(file("middle.hgv"), m_dir.file("reader"));
  ASSERT_EQ(middle.frames.size(), 50u);
  EXPECT_EQ(middle.frames.front(), jpegOf(100));
  EXPECT_EQ(middle.frames.back(), jpegOf(149));

  // From the last frame: that one frame, never wrapping to the start.
  f.imgEnd_Click();
  exportAs(&window::frmExportVideo::optSave100HGV_Click, file("last.hgv"));
  ClipFacts last = readClip(file("last.hgv"), m_dir.file("reader"));
  ASSERT_EQ(last.frames.size(), 1u);
  EXPECT_EQ(last.frames[0], jpegOf(239));
  EXPECT_EQ(readVideo(file("last.hgv")).codec, "mjpeg");
  EXPECT_EQ(readVideo(file("first.hgv")).pictures, 200);
}

TEST_F(ExportTest, AVideoGoesThroughTheWaitWindowAndReadsBackAsWmv) {
  window::Form1& f = openClip(60, 161, 121);
  for (int i = 0; i < 20; ++i) f.imgRightStep_Click();
  f.imgSave_Click();
  dialog().optSave50WMV_Click();
  m_host.dialogs.answer(file("run.wmv"));
  dialog().cmdChageSaveAddr_Click();
  dialog().cmdExportFile_Click();
  // Before the tick: the wait window up, the dialog hidden but loaded, the window switched off.
  EXPECT_TRUE(wait().Visible);
  EXPECT_EQ(wait().lblWait->Caption(), "Converting ...Please wait!");
  EXPECT_TRUE(dialog().loaded());
  EXPECT_FALSE(dialog().Visible);
  EXPECT_FALSE(f.Enabled);
  EXPECT_FALSE(f.picShowAVI->Enabled);
  EXPECT_TRUE(wait().tmrWMV->Enabled);
  EXPECT_EQ(wait().tmrWMV->Interval, toolkit::Long(10));
  EXPECT_EQ(state().WmvFirstFrame, toolkit::Long(20));
  EXPECT_EQ(state().WmvFrameCount, toolkit::Long(40));
  EXPECT_FALSE(fs::exists(file("run.wmv")));
  wait().tmrWMV->tick();
  expectWindowsBack();
  EXPECT_TRUE(boxes().empty()) << "a conversion ends without a word";
  EXPECT_EQ(clipModule().ExtractedFrame, toolkit::Long(20)) << "the same frame on show";
  const VideoFacts video = readVideo(file("run.wmv"));
  EXPECT_EQ(video.codec, "wmv2");
  EXPECT_EQ(video.pictures, 40);
  EXPECT_EQ(video.width, 160) << "even sizes, as the codec needs them";
  EXPECT_EQ(video.height, 120);
  EXPECT_DOUBLE_EQ(video.fps, 10.0);
}

TEST_F(ExportTest, AFolderThatCannotBeWrittenGivesOneBoxAndNoFile) {
  openClip(3);
  const std::string destination = file("no-such-folder/a.jpg");
  exportAs(&window::frmExportVideo::optJPG_Click, destination);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text,
            "Could not write \"" + destination + "\".\r\nError:76\r\nPath not found");
  EXPECT_EQ(boxes()[0].icon, toolkit::MsgIcon::Critical);
  expectWindowsBack();
  expectNothingAt(destination);

  // The same for a video, after the tick.
  const std::string video = file("no-such-folder/a.wmv");
  exportAs(&window::frmExportVideo::optSave50WMV_Click, video);
  wait().tmrWMV->tick();
  ASSERT_EQ(boxes().size(), 2u);
  EXPECT_EQ(boxes()[1].text, "Could not write \"" + video + "\".\r\nError:76\r\nPath not found");
  expectWindowsBack();
}

TEST_F(ExportTest, TheOpenClipIsNeverADestination) {
  openClip(3);
  const Bytes before = readBytes(state().ClipFileName);
  exportAs(&window::frmExportVideo::optSave50HGV_Click, state().ClipFileName);
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text, "\"" + state().ClipFileName +
                                 "\" is the clip on show and cannot be replaced by an export."
                                 "\r\nChoose another file name.");
  EXPECT_EQ(readBytes(state().ClipFileName), before);
  expectWindowsBack();
}

// The exports without a window, on a file system that fails.
class ExportCoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 12; ++i) m_jpegs.push_back(testing_support::distinctJpeg(96, 64, i));
    m_path = m_dir.file("clip.HGV");
    clip::writeClip(m_files, m_path, 96, 64, m_jpegs);
    ASSERT_NE(m_clip.InitialAviInfo(m_path), toolkit::kFalse);
    ASSERT_EQ(m_clip.SaveAviChunk(m_path), toolkit::Long(12));
    m_clip.ExtractCurrentJpg(m_path, 4);
  }
  testing_support::TempDir m_dir;
  testing_support::FaultyFileSystem m_files;
  toolkit::RecordingMessageSink m_sink;
  toolkit::Platform m_platform{m_files, m_sink, m_dir.path()};
  clip::SeparateMJPG m_clip{m_platform};
  std::string m_path;
  std::vector<Bytes> m_jpegs;
};

TEST_F(ExportCoreTest, AFullDiskLeavesTheOldFileAsItWas) {
  const std::string destination = m_dir.file("old.hgv");
  writeBytes(destination, Bytes{1, 2, 3});
  m_files.room = 2000;
  try {
    exporting::ExportHgvClip(m_clip, m_files, destination, 50);
    FAIL() << "no failure";
  } catch (const exporting::ExportFailure& e) {
    EXPECT_EQ(std::string(e.what()),
              "Could not write \"" + destination + "\".\r\nError:61\r\nDisk full");
  }
  EXPECT_EQ(readBytes(destination), (Bytes{1, 2, 3}));
  EXPECT_TRUE(temporariesIn(m_dir.path()).empty());
  m_files.room.reset();
  for (const char* name : {"a.wmv", "b.jpg"}) {
    m_files.room = 100;
    const std::string target = m_dir.file(name);
    EXPECT_THROW(name[0] == 'a'
                     ? (void)exporting::TOWMV(m_clip, m_files, m_path, target, 1, 4, 8, 96, 64)
                     : exporting::CopyCurrentJpg(m_clip, m_files, target),
                 exporting::ExportFailure);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_TRUE(temporariesIn(m_dir.path()).empty());
  }
}

TEST_F(ExportCoreTest, AFrameThatCannotBeDecodedStopsTheVideoOnly) {
  std::vector<Bytes> jpegs = m_jpegs;
  jpegs[6] = Bytes(400, 0x42);
  const std::string damaged = m_dir.file("damaged.HGV");
  clip::writeClip(m_files, damaged, 96, 64, jpegs);
  clip::SeparateMJPG reader(m_platform);
  reader.InitialAviInfo(damaged);
  reader.SaveAviChunk(damaged);
  reader.ExtractCurrentJpg(damaged, 4);
  const std::string target = m_dir.file("v.wmv");
  try {
    exporting::TOWMV(reader, m_files, damaged, target, 1, 4, 8, 96, 64);
    FAIL() << "no failure";
  } catch (const exporting::ExportFailure& e) {
    EXPECT_EQ(std::string(e.what()),
              "Could not write \"" + target + "\".\r\nFrame 7 cannot be decoded.");
  }
  EXPECT_FALSE(fs::exists(target));
  // The clip of the same run keeps the frame's bytes as they are.
  exporting::ExportHgvClip(reader, m_files, m_dir.file("v.hgv"), 8);
  EXPECT_EQ(readClip(m_dir.file("v.hgv"), m_dir.file("r")).frames.at(2), jpegs[6]);
}

TEST_F(ExportCoreTest, TheRangeNeverRunsPastTheLastFrame) {
  EXPECT_EQ(exporting::exportRange(m_clip, 50).count, 8);
  EXPECT_EQ(exporting::exportRange(m_clip, 5).count, 5);
  m_clip.ExtractCurrentJpg(m_path, 11);
  EXPECT_EQ(exporting::exportRange(m_clip, 200).first, 11);
  EXPECT_EQ(exporting::exportRange(m_clip, 200).count, 1);
}

TEST_F(ExportCoreTest, HgvtoolExportsFromTheFrameItIsGiven) {
  std::ostringstream out, err;
  const std::string target = m_dir.file("t.jpg");
  EXPECT_EQ(app::runExport({m_path, "--frame", "9", "--jpg", target}, out, err), 0) << err.str();
  EXPECT_EQ(readBytes(target), m_jpegs[9]);
  EXPECT_EQ(app::runExport({m_path, "--frame", "9", "--hgv", m_dir.file("t.hgv"), "--count", "100"},
                           out, err),
            0);
  EXPECT_EQ(readClip(m_dir.file("t.hgv"), m_dir.file("r")).frames.size(), 3u);
  EXPECT_EQ(app::runExport({m_path, "--frame", "0", "--wmv", m_dir.file("t.wmv")}, out, err), 0);
  EXPECT_EQ(readVideo(m_dir.file("t.wmv")).pictures, 12);

  std::ostringstream refusedErr;
  EXPECT_EQ(app::runExport({m_path, "--frame", "0", "--hgv", m_path}, out, refusedErr), 1);
  EXPECT_NE(refusedErr.str().find("is the clip on show"), std::string::npos);
  EXPECT_EQ(app::runExport({m_path, "--frame", "12", "--jpg", target}, out, err), 2);
  EXPECT_EQ(app::runExport({m_path, "--frame", "1", "--jpg", target, "--hgv", target}, out, err),
            2);
  EXPECT_EQ(app::runExport({m_path, "--jpg", target}, out, err), 2);
}

}  // namespace
