// Clips from outside the window: the command line, a later start of the program that hands its
// clip to the running window (the real programs' side is in hand_over_test.cpp), and a file
// dropped on the window.

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <climits>
#include <filesystem>

#include "app/window_start.h"
#include "tests/review/running_program.h"
#include "tests/support/window_fixture.h"
#include "toolkit/widgets/instance_link.h"

namespace {

using testing_support::Meeting;
using testing_support::Program;
using testing_support::pumpFor;
using testing_support::pumpUntil;
using testing_support::readBytes;
using testing_support::startsWith;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::Long;
using toolkit::MsgIcon;

class OutsideTest : public testing_support::WindowFixture {
 protected:
  app::WindowStart parse(const std::vector<std::string>& args) {
    const app::ParsedWindowStart parsed = app::parseWindowArguments(args);
    EXPECT_EQ(parsed.error, "");
    return parsed.start;
  }
  void expectOnFrame(int index) {
    EXPECT_EQ(state().CurrentFrame, Long(index));
    EXPECT_EQ(form().lblImageID->Caption(), std::to_string(index + 1));
    EXPECT_TRUE(startsWith(readBytes(scratch()), jpegOf(index)));
    EXPECT_EQ(visibleView(), expectedFit(index));
  }
};

TEST(WindowArgumentsTest, AClipAndAFrameFromZeroOrAUsageError) {
  const auto parsed = app::parseWindowArguments({"--frame", "7", "garden.HGV"});
  EXPECT_EQ(parsed.error, "");
  EXPECT_EQ(parsed.start.clip, (std::filesystem::current_path() / "garden.HGV").string());
  EXPECT_EQ(parsed.start.frame, 7);
  EXPECT_EQ(app::handOverRequest(parsed.start),
            (std::vector<std::string>{"open", *parsed.start.clip, "7"}));
  const auto plain = app::parseWindowArguments({"/clips/a b.HGV"});
  EXPECT_EQ(plain.start.clip, "/clips/a b.HGV");
  EXPECT_EQ(plain.start.frame, std::nullopt);
  EXPECT_EQ(app::handOverRequest(plain.start),
            (std::vector<std::string>{"open", "/clips/a b.HGV", ""}));
  EXPECT_EQ(app::handOverRequest(app::parseWindowArguments({}).start),
            (std::vector<std::string>{"raise"}));
  EXPECT_EQ(app::parseWindowArguments({"--", "-odd.HGV"}).start.clip,
            (std::filesystem::current_path() / "-odd.HGV").string());

  EXPECT_EQ(app::parseWindowArguments({"--frame", "3"}).error, "--frame needs a clip");
  EXPECT_EQ(app::parseWindowArguments({"a.HGV", "--frame"}).error, "--frame needs a frame number");
  EXPECT_EQ(app::parseWindowArguments({"--frame", "-1", "a.HGV"}).error,
            "--frame takes a frame number from 0: -1");
  EXPECT_EQ(app::parseWindowArguments({"--frame", "2x", "a.HGV"}).error,
            "--frame takes a frame number from 0: 2x");
  EXPECT_EQ(app::parseWindowArguments({"--frame", "99999999999", "a.HGV"}).error,
            "--frame takes a frame number from 0: 99999999999");
  EXPECT_EQ(app::parseWindowArguments({"a.HGV", "b.HGV"}).error, "one clip at a time: b.HGV");
  EXPECT_EQ(app::parseWindowArguments({"--zoom"}).error, "unknown option --zoom");
}

// The running window takes a request only in the form a later start sends it.
TEST(WindowArgumentsTest, ARequestIsReadOnlyInTheFormALaterStartSends) {
  const auto raise = app::readHandOverRequest({"raise"});
  ASSERT_TRUE(raise);
  EXPECT_EQ(raise->clip, std::nullopt);
  const auto open = app::readHandOverRequest({"open", "/clips/a b.HGV", "3"});
  ASSERT_TRUE(open);
  EXPECT_EQ(open->clip, "/clips/a b.HGV");
  EXPECT_EQ(open->frame, 3);
  EXPECT_EQ(app::readHandOverRequest({"open", "/clips/a.HGV", ""})->frame, std::nullopt);
  const std::vector<std::vector<std::string>> refused = {
      {},
      {"raise", "/clips/a.HGV"},
      {"close"},
      {"open", "/clips/a.HGV"},
      {"open", "clips/a.HGV", ""},
      {"open", "", ""},
      {"open", std::string("/clips/a.HGV\0.txt", 17), ""},
      {"open", "/" + std::string(PATH_MAX, 'd'), ""},
      {"open", "/clips/a.HGV", "-1"},
      {"open", "/clips/a.HGV", "3 "},
      {"open", "/clips/a.HGV", "", ""},
  };
  for (const auto& request : refused) {
    EXPECT_FALSE(app::readHandOverRequest(request)) << ::testing::PrintToString(request);
  }
}

// The command line opens a clip as a clip chosen in the open dialog opens, box for box.
TEST_F(OutsideTest, AClipAtStartUpOpensAsTheOpenDialogsChoice) {
  start();
  const std::string path = makeClip("garden.HGV", 5);
  app::openAtStart(form(), parse({path}));
  EXPECT_TRUE(boxes().empty());
  EXPECT_EQ(state().ClipOpen, kTrue);
  EXPECT_EQ(state().ClipFileName, path);
  EXPECT_EQ(state().TotalFrames, Long(5));
  EXPECT_EQ(form().FirstClipPending, kFalse);
  EXPECT_TRUE(m_host.dialogs.requests().empty()) << "no dialog";
  expectOnFrame(0);

  // A file that is no clip gives the box the folder button gives for it.
  testing_support::writeBytes(file("notes.HGV"), std::vector<std::uint8_t>(400, 'x'));
  app::openAtStart(form(), parse({file("notes.HGV")}));
  open(file("notes.HGV"));
  ASSERT_EQ(boxes().size(), 2u);
  EXPECT_EQ(boxes()[0].text, boxes()[1].text);
  EXPECT_EQ(boxes()[0].icon, boxes()[1].icon);
  EXPECT_EQ(boxes()[0].title, boxes()[1].title);
}

TEST_F(OutsideTest, AFrameGivenAtStartUpIsShownCountedFromZero) {
  start();
  makeClip("garden.HGV", 6);
  app::openAtStart(form(), parse({"--frame", "4", file("garden.HGV")}));
  EXPECT_TRUE(boxes().empty());
  expectOnFrame(4);
  EXPECT_EQ(form().PlayingForward, kFalse);
}

TEST_F(OutsideTest, AMissingClipOrAFramePastTheEndIsToldInABox) {
  start();
  app::openAtStart(form(), parse({file("gone.HGV")}));
  ASSERT_EQ(boxes().size(), 1u);
  EXPECT_EQ(boxes()[0].text,
            file("gone.HGV") + "\nFile not found.\nCheck the file name and try again.");
  EXPECT_EQ(boxes()[0].icon, MsgIcon::Critical);
  EXPECT_EQ(boxes()[0].title, "Warning");
  EXPECT_EQ(state().ClipOpen, kFalse);
  EXPECT_FALSE(form().picShowAVI->Visible);

  const std::string path = makeClip("garden.HGV", 5);
  app::openAtStart(form(), parse({"--frame", "5", path}));
  ASSERT_EQ(boxes().size(), 2u);
  EXPECT_EQ(boxes()[1].text, "\"" + path + "\" has frames 0 to 4: there is no frame 5.");
  EXPECT_EQ(boxes()[1].icon, MsgIcon::Critical);
  EXPECT_EQ(state().ClipOpen, kTrue) << "the clip opens, on its first frame";
  expectOnFrame(0);
}

// A clip from outside waits while the folder button would not act: under a dialog, and opens when
// the dialog goes.
TEST_F(OutsideTest, AClipFromOutsideWaitsForTheDialogToClose) {
  start();
  const std::string first = makeClip("first.HGV", 3);
  open(first);
  const std::string second = makeClip("second.HGV", 4);
  form().imgSave_Click();
  ASSERT_FALSE(form().Enabled);
  form().OpenFromOutside(second, 2);
  pumpFor(300);
  EXPECT_EQ(state().ClipFileName, first);
  m_windows->frmExportVideo.requestClose();
  ASSERT_TRUE(pumpUntil([this] { return state().ClipFileName == file("second.HGV"); }));
  expectOnFrame(2);
  EXPECT_TRUE(boxes().empty());
}

TEST_F(OutsideTest, AClipDroppedOnTheWindowOpensAndOtherDropsAreRefused) {
  start();
  const std::string path = makeClip("dropped.HGV", 3);
  QWidget* window = form().window();
  const auto drop = [window](QMimeData& data) {
    QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    const bool taken = enter.isAccepted();
    QDropEvent dropped(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &dropped);
    QCoreApplication::processEvents();
    return taken;
  };

  QMimeData text;
  text.setText(QString::fromStdString(path));
  EXPECT_FALSE(drop(text));
  QMimeData web;
  web.setUrls({QUrl("https://example.org/dropped.HGV")});
  EXPECT_FALSE(drop(web));
  EXPECT_EQ(state().ClipOpen, kFalse);
  EXPECT_TRUE(boxes().empty());

  QMimeData clip;
  clip.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
  EXPECT_TRUE(drop(clip));
  EXPECT_EQ(state().ClipFileName, path);
  expectOnFrame(0);
  EXPECT_TRUE(boxes().empty());
}

// A later start of the real program while this window runs: the later one hands over its clip
// and ends; this window opens it once its search is over.
TEST_F(OutsideTest, AHandOverDuringASearchOpensTheClipWhenTheSearchEnds) {
  start();
  const std::string running = sceneClip("running.HGV", 40, {});
  const std::string other = makeClip("other.HGV", 6);
  open(running);
  const Meeting meeting;
  toolkit::LockFileInstanceCheck lock(meeting.place.lockPath);
  ASSERT_FALSE(lock.anotherInstanceRunning()) << "this process is the first copy";
  toolkit::InstanceServer server(meeting.place.socketPath);
  ASSERT_TRUE(server.listening());
  server.onRequest = [this](const std::vector<std::string>& request) {
    app::answerRequest(form(), request);
  };

  Program later(HARROWGLEN_BINARY, meeting);
  bool handedOver = false;
  m_host.host.onYield = [&] {
    if (handedOver) return;
    handedOver = true;
    later.start({"--frame", "3", QString::fromStdString(other)});
    ASSERT_TRUE(later.finished());
    EXPECT_EQ(later.exitCode(), 0) << later.errors();
    EXPECT_EQ(form().SearchingForward, kTrue);
    EXPECT_EQ(state().ClipFileName, running) << "not in the middle of a search";
  };
  form().imgRightSearch_Click();
  m_host.host.onYield = {};
  ASSERT_TRUE(handedOver);
  ASSERT_TRUE(pumpUntil([&] { return state().ClipFileName == other; }));
  EXPECT_EQ(state().TotalFrames, Long(6));
  expectOnFrame(3);
  EXPECT_TRUE(boxes().empty());
}

}  // namespace
