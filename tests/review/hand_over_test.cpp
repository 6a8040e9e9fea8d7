// Real copies of the window program: a later start hands its clip to the running window, and
// neither a socket nor a lock that is not the user's own hears a clip or stops a window.

#include <sys/stat.h>
#include <unistd.h>

#include <QLocalServer>
#include <filesystem>

#include "app/window_start.h"
#include "tests/review/running_program.h"
#include "toolkit/widgets/host.h"
#include "toolkit/widgets/testing.h"

namespace {

using testing_support::Meeting;
using testing_support::Program;
using testing_support::pumpUntil;
using testing_support::readBytes;
using testing_support::startsWith;

// Real copies of the program. Each test runs a copy of its own from its temp folder, since the
// program keeps its scratch files beside itself.
class HandOverTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { toolkit::testing::ensureApplication(); }
  HandOverTest() : m_binary(m_dir.file("harrowglen")) {
    std::filesystem::copy_file(HARROWGLEN_BINARY, m_binary);
  }

  std::string sample(const std::string& name, int frames) {
    QProcess tool;
    tool.start(HGVTOOL_BINARY, {"sample", QString::fromStdString(m_dir.file(name)), "--frames",
                                QString::number(frames), "--size", "320x240"});
    EXPECT_TRUE(tool.waitForFinished());
    return m_dir.file(name);
  }
  std::vector<std::uint8_t> frameOf(const std::string& clip, int index) {
    QProcess tool;
    tool.start(HGVTOOL_BINARY, {"extract", QString::fromStdString(clip), QString::number(index),
                                QString::fromStdString(m_dir.file("frame.jpg"))});
    EXPECT_TRUE(tool.waitForFinished());
    return readBytes(m_dir.file("frame.jpg"));
  }
  // Waits until a copy of the program shows `jpeg`: its "Temp.jpg" holds that frame.
  bool shows(const std::vector<std::uint8_t>& jpeg) {
    const std::string scratchJpeg = m_dir.file("Temp.jpg");
    return pumpUntil([&] {
      return std::filesystem::exists(scratchJpeg) && startsWith(readBytes(scratchJpeg), jpeg);
    });
  }

  testing_support::TempDir m_dir;
  std::string m_binary;
  Meeting m_meeting;
};

std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// Two real copies of the program: the second hands its clip to the first and ends at once; a
// third without a clip only brings the first to the front; with nobody to answer, a clip is not
// lost in silence.
TEST_F(HandOverTest, ASecondStartHandsItsClipToTheRunningWindow) {
  const std::string a = sample("a.HGV", 4);
  const std::string b = sample("b.HGV", 9);
  const auto a0 = frameOf(a, 0);
  const auto b7 = frameOf(b, 7);

  Program first(m_binary, m_meeting);
  first.start({QString::fromStdString(a)});
  ASSERT_TRUE(shows(a0));

  Program second(m_binary, m_meeting);
  second.start({"--frame", "7", QString::fromStdString(b)});
  ASSERT_TRUE(second.finished());
  EXPECT_EQ(second.exitCode(), 0) << second.errors();
  EXPECT_TRUE(shows(b7));

  Program third(m_binary, m_meeting);
  third.start({});
  ASSERT_TRUE(third.finished());
  EXPECT_EQ(third.exitCode(), 0) << third.errors();

  // A first copy that holds the lock but never answers.
  const Meeting silent;
  toolkit::LockFileInstanceCheck lock(silent.place.lockPath);
  ASSERT_FALSE(lock.anotherInstanceRunning());
  Program unheard(m_binary, silent);
  unheard.start({QString::fromStdString(b)});
  ASSERT_TRUE(unheard.finished());
  EXPECT_EQ(unheard.exitCode(), 1);
  EXPECT_NE(unheard.errors().find("did not answer; \"" + b + "\" was not opened."),
            std::string::npos);
  Program unraised(m_binary, silent);
  unraised.start({});
  ASSERT_TRUE(unraised.finished());
  EXPECT_EQ(unraised.exitCode(), 1);
  EXPECT_NE(unraised.errors().find("harrowglen: the running window did not answer.\n"),
            std::string::npos);

  Program wrong(m_binary, m_meeting);
  wrong.start({"--frame"});
  ASSERT_TRUE(wrong.finished());
  EXPECT_EQ(wrong.exitCode(), 2);
  EXPECT_NE(wrong.errors().find("harrowglen: --frame needs a frame number\n" +
                                app::windowUsage()),
            std::string::npos);
}

// The lock is held, as by a running window, but what listens at the socket's place is not the
// user's own socket: a link to a stranger's, or (as root) a socket of another user's. The later
// start tells it nothing and opens its clip itself.
TEST_F(HandOverTest, ASquattedSocketHearsNothingAndTheClipOpensInAWindowOfItsOwn) {
  const std::string a = sample("a.HGV", 4);
  const auto a0 = frameOf(a, 0);
  toolkit::LockFileInstanceCheck lock(m_meeting.place.lockPath);
  ASSERT_FALSE(lock.anotherInstanceRunning());
  const std::string& socketPath = m_meeting.place.socketPath;
  testing_support::TempDir theirs;
  const std::vector<std::string> squats = {"link", "another user's"};
  for (const std::string& squat : squats) {
    if (squat != "link" && ::geteuid() != 0) break;
    QLocalServer squatter;
    if (squat == "link") {
      ASSERT_TRUE(squatter.listen(QString::fromStdString(theirs.file("sock"))));
      std::filesystem::create_symlink(theirs.file("sock"), socketPath);
    } else {
      ASSERT_TRUE(squatter.listen(QString::fromStdString(socketPath)));
      ASSERT_EQ(::lchown(socketPath.c_str(), 65534, 65534), 0);
    }
    std::filesystem::remove(m_dir.file("Temp.jpg"));

    Program later(m_binary, m_meeting);
    later.start({QString::fromStdString(a)});
    ASSERT_TRUE(shows(a0)) << squat << later.errors();
    EXPECT_TRUE(later.running()) << squat;
    EXPECT_FALSE(squatter.hasPendingConnections()) << squat;
    EXPECT_EQ(occurrences(later.errors(), "harrowglen: " + socketPath +
                                              " is not this user's own; this start opens a "
                                              "window of its own and hands nothing over.\n"),
              1u)
        << squat << later.errors();
    squatter.close();
    std::filesystem::remove(socketPath);
  }
}

// Something at the lock's place that is no lock file of the user's: the window starts and works,
// says once that it will not take clips from later starts, and leaves the thing as it was.
TEST_F(HandOverTest, APlantedLockLeavesTheWindowWorkingAndItsTargetUntouched) {
  const std::string a = sample("a.HGV", 4);
  const auto a0 = frameOf(a, 0);
  const std::vector<std::uint8_t> precious = {'k', 'e', 'e', 'p'};
  testing_support::writeBytes(m_dir.file("precious"), precious);
  const std::string& lockPath = m_meeting.place.lockPath;
  std::filesystem::create_symlink(m_dir.file("precious"), lockPath);

  Program window(m_binary, m_meeting);
  window.start({QString::fromStdString(a)});
  ASSERT_TRUE(shows(a0)) << window.errors();
  EXPECT_TRUE(window.running());
  EXPECT_EQ(occurrences(window.errors(), "harrowglen: " + lockPath +
                                             " is a link; later starts will open windows of "
                                             "their own.\n"),
            1u)
      << window.errors();
  EXPECT_TRUE(std::filesystem::is_symlink(lockPath));
  EXPECT_EQ(readBytes(m_dir.file("precious")), precious);
  EXPECT_FALSE(std::filesystem::exists(m_meeting.place.socketPath)) << "nobody listens";
}

// Without $XDG_RUNTIME_DIR, and with the temp folder's place for the user's own taken by a link:
// the window starts and works, and nothing is made where the link points.
TEST_F(HandOverTest, WithoutAFolderOfTheUsersOwnTheWindowStartsWithoutTheHandOver) {
  const std::string a = sample("a.HGV", 4);
  const auto a0 = frameOf(a, 0);
  const std::string temp = m_dir.file("tmp");
  const std::string elsewhere = m_dir.file("elsewhere");
  std::filesystem::create_directory(temp);
  std::filesystem::create_directory(elsewhere);
  const std::string planted = temp + "/harrowglen-" + std::to_string(::geteuid());
  std::filesystem::create_directory_symlink(elsewhere, planted);

  Program window(m_binary, m_meeting);
  window.setEnv("XDG_RUNTIME_DIR", "");
  window.setEnv("TMPDIR", QString::fromStdString(temp));
  window.start({QString::fromStdString(a)});
  ASSERT_TRUE(shows(a0)) << window.errors();
  EXPECT_TRUE(window.running());
  EXPECT_EQ(occurrences(window.errors(), "harrowglen: " + planted +
                                             " is a link; later starts will open windows of "
                                             "their own.\n"),
            1u)
      << window.errors();
  EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
}

}  // namespace
