// Clips from outside the window: the command line, a later start of the program that hands its
// clip to the running window, and a file dropped on the window.

#include <unistd.h>

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QMimeData>
#include <QProcess>
#include <QThread>
#include <QUrl>
#include <atomic>
#include <filesystem>

#include "app/window_start.h"
#include "tests/support/window_fixture.h"
#include "toolkit/widgets/instance_link.h"

namespace {

using testing_support::readBytes;
using toolkit::Integer;
using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::MsgIcon;

// Lets the event loop run until `done` holds or ten seconds pass.
bool pumpUntil(const std::function<bool()>& done) {
  QElapsedTimer clock;
  clock.start();
  while (!done()) {
    if (clock.elapsed() > 10000) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    QThread::msleep(5);
  }
  return true;
}

void pumpFor(int milliseconds) {
  QElapsedTimer clock;
  clock.start();
  pumpUntil([&] { return clock.elapsed() >= milliseconds; });
}

bool startsWith(const std::vector<std::uint8_t>& bytes, const std::vector<std::uint8_t>& head) {
  return bytes.size() >= head.size() && std::equal(head.begin(), head.end(), bytes.begin());
}

// A meeting name of its own for each test, so that tests run side by side never meet.
std::string freshInstanceName() {
  static std::atomic<int> counter = 0;
  return "harrowglen-test-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
}

// The window program as a user starts it, on the offscreen platform.
class Program {
 public:
  Program(const std::string& binary, const std::string& instance) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("HARROWGLEN_INSTANCE", QString::fromStdString(instance));
    m_process.setProcessEnvironment(env);
    m_process.setProgram(QString::fromStdString(binary));
  }
  ~Program() {
    if (m_process.state() != QProcess::NotRunning) {
      m_process.kill();
      m_process.waitForFinished();
    }
  }
  void start(const QStringList& args) {
    m_process.setArguments(args);
    m_process.start();
    ASSERT_TRUE(m_process.waitForStarted());
  }
  // Runs the event loop of this process meanwhile, so that a window here can answer.
  bool finished() {
    return pumpUntil([this] { return m_process.state() == QProcess::NotRunning; });
  }
  int exitCode() const { return m_process.exitCode(); }
  std::string errors() { return m_process.readAllStandardError().toStdString(); }

 private:
  QProcess m_process;
};

class OutsideTest : public testing_support::WindowFixture {
 protected:
  app::WindowStart parse(const std::vector<std::string>& args) {
    const app::ParsedWindowStart parsed = app::parseWindowArguments(args);
    EXPECT_EQ(parsed.error, "");
    return parsed.start;
  }
  void expectOnFrame(int index) {
    EXPECT_EQ(state().CurrentFrame, Integer(index));
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

// The command line opens a clip as a clip chosen in the open dialog opens, box for box.
TEST_F(OutsideTest, AClipAtStartUpOpensAsTheOpenDialogsChoice) {
  start();
  const std::string path = makeClip("garden.HGV", 5);
  app::openAtStart(form(), parse({path}));
  EXPECT_TRUE(boxes().empty());
  EXPECT_EQ(state().ClipOpen, kTrue);
  EXPECT_EQ(state().ClipFileName, path);
  EXPECT_EQ(state().TotalFrames, Integer(5));
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
  const std::string instance = freshInstanceName();
  toolkit::LockFileInstanceCheck lock(toolkit::instanceLockPath(instance));
  ASSERT_FALSE(lock.anotherInstanceRunning()) << "this process is the first copy";
  toolkit::InstanceServer server(instance);
  ASSERT_TRUE(server.listening());
  server.onRequest = [this](const std::vector<std::string>& request) {
    app::answerRequest(form(), request);
  };

  Program later(HARROWGLEN_BINARY, instance);
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
  EXPECT_EQ(state().TotalFrames, Integer(6));
  expectOnFrame(3);
  EXPECT_TRUE(boxes().empty());
}

// Two real copies of the program: the second hands its clip to the first and ends at once; a
// third without a clip only brings the first to the front; with nobody to answer, a clip is not
// lost in silence.
TEST(HandOverTest, ASecondStartHandsItsClipToTheRunningWindow) {
  toolkit::testing::ensureApplication();
  testing_support::TempDir dir;
  // The program keeps its scratch files beside itself: a copy of its own in this folder.
  const std::string binary = dir.file("harrowglen");
  std::filesystem::copy_file(HARROWGLEN_BINARY, binary);
  const auto frameOf = [&](const std::string& clip, int index) {
    QProcess tool;
    tool.start(HGVTOOL_BINARY, {"extract", QString::fromStdString(clip), QString::number(index),
                                QString::fromStdString(dir.file("frame.jpg"))});
    EXPECT_TRUE(tool.waitForFinished());
    return readBytes(dir.file("frame.jpg"));
  };
  const auto sample = [&](const std::string& name, int frames) {
    QProcess tool;
    tool.start(HGVTOOL_BINARY, {"sample", QString::fromStdString(dir.file(name)), "--frames",
                                QString::number(frames), "--size", "320x240"});
    EXPECT_TRUE(tool.waitForFinished());
    return dir.file(name);
  };
  const std::string a = sample("a.HGV", 4);
  const std::string b = sample("b.HGV", 9);
  const auto a0 = frameOf(a, 0);
  const auto b7 = frameOf(b, 7);
  const std::string scratchJpeg = dir.file("Temp.jpg");
  const std::string instance = freshInstanceName();

  Program first(binary, instance);
  first.start({QString::fromStdString(a)});
  ASSERT_TRUE(pumpUntil([&] {
    return std::filesystem::exists(scratchJpeg) && startsWith(readBytes(scratchJpeg), a0);
  }));

  Program second(binary, instance);
  second.start({"--frame", "7", QString::fromStdString(b)});
  ASSERT_TRUE(second.finished());
  EXPECT_EQ(second.exitCode(), 0) << second.errors();
  EXPECT_TRUE(pumpUntil([&] { return startsWith(readBytes(scratchJpeg), b7); }));

  Program third(binary, instance);
  third.start({});
  ASSERT_TRUE(third.finished());
  EXPECT_EQ(third.exitCode(), 0) << third.errors();

  // A first copy that holds the lock but never answers.
  const std::string silent = freshInstanceName();
  toolkit::LockFileInstanceCheck lock(toolkit::instanceLockPath(silent));
  ASSERT_FALSE(lock.anotherInstanceRunning());
  Program unheard(binary, silent);
  unheard.start({QString::fromStdString(b)});
  ASSERT_TRUE(unheard.finished());
  EXPECT_EQ(unheard.exitCode(), 1);
  EXPECT_NE(unheard.errors().find("did not answer; \"" + b + "\" was not opened."),
            std::string::npos);

  Program wrong(binary, silent);
  wrong.start({"--frame"});
  ASSERT_TRUE(wrong.finished());
  EXPECT_EQ(wrong.exitCode(), 2);
  EXPECT_NE(wrong.errors().find("harrowglen: --frame needs a frame number\n" +
                                std::string(app::kWindowUsage)),
            std::string::npos);
}

}  // namespace
