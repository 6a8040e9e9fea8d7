// Where the copies of the window program meet, and what each end trusts: the user's own runtime
// folder, the lock, the socket, and the requests the first copy takes.

#include "toolkit/widgets/instance_link.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>
#include <cstring>
#include <filesystem>

#include "tests/support/temp_dir.h"
#include "toolkit/core/hand_over_request.h"
#include "toolkit/widgets/host.h"
#include "toolkit/widgets/testing.h"

namespace {

using testing_support::readBytes;
using testing_support::TempDir;
using testing_support::writeBytes;
using Parts = std::vector<std::string>;

constexpr uid_t kOtherUser = 65534;

using toolkit::testing::pumpUntil;

std::string makeFolder(const std::string& path, mode_t mode) {
  std::filesystem::create_directory(path);
  ::chmod(path.c_str(), mode);
  return path;
}

mode_t modeOf(const std::string& path) {
  struct stat st {};
  ::lstat(path.c_str(), &st);
  return st.st_mode & 07777;
}

std::string fallbackName() { return "harrowglen-" + std::to_string(::geteuid()); }

TEST(RuntimeFolderTest, TheUsersOwnXdgFolderIsUsed) {
  TempDir dir;
  const std::string xdg = makeFolder(dir.file("run"), 0700);
  EXPECT_EQ(toolkit::userRuntimeFolder(xdg, dir.path()).path, xdg);
  ::chmod(xdg.c_str(), 0755);
  EXPECT_EQ(toolkit::userRuntimeFolder(xdg, dir.path()).path, xdg) << "others may only read it";
}

TEST(RuntimeFolderTest, AnXdgFolderThatIsALinkOrOpenToOthersIsNotUsed) {
  TempDir dir;
  const std::string real = makeFolder(dir.file("real"), 0700);
  std::filesystem::create_directory_symlink(real, dir.file("link"));
  const std::string open = makeFolder(dir.file("open"), 0770);
  writeBytes(dir.file("file"), {1});
  for (const std::string& xdg : {dir.file("link"), open, dir.file("file"), std::string("run"),
                                 dir.file("gone"), std::string()}) {
    const toolkit::RuntimeFolder folder = toolkit::userRuntimeFolder(xdg, dir.path());
    EXPECT_EQ(folder.path, dir.file(fallbackName())) << xdg;
    EXPECT_EQ(folder.problem, "") << xdg;
    EXPECT_EQ(modeOf(folder.path), 0700u);
  }
  EXPECT_EQ(modeOf(open), 0770u) << "left as it was";
}

// Someone got to the fallback's name first: the folder is not used and not changed, and the
// problem names it.
TEST(RuntimeFolderTest, APlantedFallbackIsNotUsedOrChanged) {
  TempDir dir;
  const std::string planted = dir.file(fallbackName());
  const auto expectRefused = [&](const std::string& problem) {
    const toolkit::RuntimeFolder folder = toolkit::userRuntimeFolder("", dir.path());
    EXPECT_EQ(folder.path, "");
    EXPECT_EQ(folder.problem, planted + problem);
  };
  const std::string target = makeFolder(dir.file("target"), 0700);
  std::filesystem::create_directory_symlink(target, planted);
  expectRefused(" is a link");
  std::filesystem::remove(planted);
  EXPECT_TRUE(std::filesystem::is_empty(target));

  makeFolder(planted, 0755);
  expectRefused(" may be entered by other users");
  EXPECT_EQ(modeOf(planted), 0755u);
  std::filesystem::remove(planted);

  writeBytes(planted, {1});
  expectRefused(" is not a folder");
  std::filesystem::remove(planted);

  if (::geteuid() == 0) {
    makeFolder(planted, 0700);
    ASSERT_EQ(::chown(planted.c_str(), kOtherUser, kOtherUser), 0);
    expectRefused(" belongs to another user");
  }
}

TEST(RuntimeFolderTest, AParentOpenToAllWithoutTheStickyBitIsRefused) {
  TempDir dir;
  const std::string parent = makeFolder(dir.file("shared"), 0777);
  EXPECT_EQ(toolkit::userRuntimeFolder("", parent).problem,
            parent + " is no safe place for a folder");
  EXPECT_FALSE(std::filesystem::exists(parent + "/" + fallbackName()));
  ::chmod(parent.c_str(), 01777);
  EXPECT_EQ(toolkit::userRuntimeFolder("", parent).path, parent + "/" + fallbackName());
}

TEST(InstancePlaceTest, TheSocketAndItsLockLieInTheFolderUnderAPlainName) {
  const toolkit::InstancePlace place = toolkit::instancePlace("harrowglen-ab", {"/run/u", ""});
  EXPECT_EQ(place.socketPath, "/run/u/harrowglen-ab");
  EXPECT_EQ(place.lockPath, "/run/u/harrowglen-ab.lock");
  for (const std::string name : {"../x", "a/b", "..", ""}) {
    const toolkit::InstancePlace bad = toolkit::instancePlace(name, {"/run/u", ""});
    EXPECT_EQ(bad.socketPath + bad.lockPath, "") << name;
    EXPECT_EQ(bad.problem, "\"" + name + "\" is no name for a socket");
  }
  const toolkit::InstancePlace none = toolkit::instancePlace("x", {"", "/tmp/h is a link"});
  EXPECT_EQ(none.socketPath + none.lockPath, "");
  EXPECT_EQ(none.problem, "/tmp/h is a link");
  const std::string deep = "/" + std::string(120, 'd');
  EXPECT_EQ(toolkit::instancePlace("x", {deep, ""}).problem, deep + "/x is too long");
}

TEST(LockFileInstanceCheckTest, APlantedLockIsLeftAloneAndTheCopyRunsOnItsOwn) {
  TempDir dir;
  const std::string lock = dir.file("h.lock");
  writeBytes(dir.file("precious"), {'k', 'e', 'e', 'p'});
  std::filesystem::create_symlink(dir.file("precious"), lock);
  toolkit::LockFileInstanceCheck linked(lock);
  EXPECT_FALSE(linked.anotherInstanceRunning());
  EXPECT_FALSE(linked.holdsLock());
  EXPECT_EQ(linked.problem(), lock + " is a link");
  EXPECT_TRUE(std::filesystem::is_symlink(lock));
  EXPECT_EQ(readBytes(dir.file("precious")), (std::vector<std::uint8_t>{'k', 'e', 'e', 'p'}));

  const std::string folder = makeFolder(dir.file("f.lock"), 0700);
  EXPECT_EQ(toolkit::LockFileInstanceCheck(folder).problem(), folder + " is not a file");
  EXPECT_FALSE(toolkit::LockFileInstanceCheck("").anotherInstanceRunning());
  EXPECT_FALSE(toolkit::LockFileInstanceCheck("").holdsLock());

  if (::geteuid() == 0) {
    const std::string theirs = dir.file("theirs.lock");
    writeBytes(theirs, {});
    ASSERT_EQ(::chown(theirs.c_str(), kOtherUser, kOtherUser), 0);
    toolkit::LockFileInstanceCheck check(theirs);
    EXPECT_FALSE(check.anotherInstanceRunning());
    EXPECT_EQ(check.problem(), theirs + " belongs to another user");
  }
}

TEST(LockFileInstanceCheckTest, AStaleLockOfTheUsersOwnIsTakenOver) {
  toolkit::testing::ensureApplication();
  TempDir dir;
  const std::string lock = dir.file("h.lock");
  // A copy that died holding the lock.
  const pid_t child = ::fork();
  if (child == 0) {
    QLockFile held(QString::fromStdString(lock));
    ::_exit(held.tryLock(0) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(WEXITSTATUS(status), 0);
  ASSERT_TRUE(std::filesystem::exists(lock));
  toolkit::LockFileInstanceCheck check(lock);
  EXPECT_FALSE(check.anotherInstanceRunning());
  EXPECT_TRUE(check.holdsLock());
  EXPECT_EQ(check.problem(), "");
}

class InstanceServerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { toolkit::testing::ensureApplication(); }
  InstanceServerTest() : m_server(m_dir.file("sock")) {
    m_server.onRequest = [this](const Parts& parts) { m_requests.push_back(parts); };
  }

  // A client that sends `bytes` in pieces of `piece`, and what it was answered by the time the
  // server hung up on it.
  std::string send(const std::vector<std::uint8_t>& bytes, std::size_t piece) {
    QLocalSocket client;
    client.connectToServer(QString::fromStdString(m_dir.file("sock")));
    EXPECT_TRUE(client.waitForConnected(1000));
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      const std::size_t n = std::min(piece, bytes.size() - at);
      client.write(reinterpret_cast<const char*>(bytes.data() + at), static_cast<qint64>(n));
      client.flush();
      for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
    }
    EXPECT_TRUE(pumpUntil([&] { return client.state() == QLocalSocket::UnconnectedState; }));
    return client.readAll().toStdString();
  }

  TempDir m_dir;
  toolkit::InstanceServer m_server;
  std::vector<Parts> m_requests;
};

TEST_F(InstanceServerTest, ARequestArrivingAByteAtATimeIsTakenOnce) {
  ASSERT_TRUE(m_server.listening());
  const Parts request{"open", "/clips/garden.HGV", "3"};
  EXPECT_EQ(send(toolkit::encodeHandOverRequest(request), 1), "ok");
  EXPECT_EQ(m_requests, std::vector<Parts>{request});
}

TEST_F(InstanceServerTest, TooMuchOrGarbageIsDroppedUnansweredAndTheServerGoesOn) {
  // A size that fits, and more bytes than it said.
  std::vector<std::uint8_t> tooMuch(toolkit::kMaxHandOverRequestBytes + 5000, 'x');
  tooMuch[0] = 0xfc;
  tooMuch[1] = 0xff;
  tooMuch[2] = tooMuch[3] = 0;
  EXPECT_EQ(send(tooMuch, 8192), "");
  EXPECT_EQ(send({0xff, 0xff, 0xff, 0x7f, 'x'}, 5), "") << "a size over the limit";
  EXPECT_EQ(send({5, 0, 0, 0, 9, 0, 0, 0, 'x'}, 9), "") << "a part past the body";
  EXPECT_TRUE(m_requests.empty());
  EXPECT_EQ(send(toolkit::encodeHandOverRequest({"raise"}), 64), "ok");
  EXPECT_EQ(m_requests, std::vector<Parts>{{"raise"}});
}

// Runs as another user in a child process: connects, sends a good request, and says whether it
// was answered "ok" (exit 0) or hung up on (exit 1).
int connectAsAnotherUser(const std::string& path) {
  if (::setgid(kOtherUser) != 0 || ::setuid(kOtherUser) != 0) return 2;
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return 3;
  const auto bytes = toolkit::encodeHandOverRequest({"raise"});
  if (::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
    return 1;
  }
  pollfd wait{fd, POLLIN, 0};
  if (::poll(&wait, 1, 5000) != 1) return 4;
  char answer[2] = {};
  return ::read(fd, answer, 2) == 2 && answer[0] == 'o' && answer[1] == 'k' ? 0 : 1;
}

TEST_F(InstanceServerTest, AnotherUsersConnectionIsDroppedUnheard) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to run a client as another user";
  ::chmod(m_dir.path().c_str(), 0755);
  ::chmod(m_dir.file("sock").c_str(), 0777);
  const pid_t child = ::fork();
  if (child == 0) ::_exit(connectAsAnotherUser(m_dir.file("sock")));
  int status = -1;
  ASSERT_TRUE(pumpUntil([&] { return ::waitpid(child, &status, WNOHANG) == child; }));
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_TRUE(m_requests.empty());
}

// A listening socket at the meeting place that is not the user's own socket gets nothing.
TEST(SendToRunningInstanceTest, ASquattedSocketIsNotTalkedTo) {
  toolkit::testing::ensureApplication();
  TempDir dir;
  QLocalServer squatter;
  ASSERT_TRUE(squatter.listen(QString::fromStdString(dir.file("squat"))));
  std::filesystem::create_symlink(dir.file("squat"), dir.file("link"));
  EXPECT_EQ(toolkit::sendToRunningInstance(dir.file("link"), {"raise"}),
            toolkit::HandOverResult::NotTheUsers);
  writeBytes(dir.file("file"), {});
  EXPECT_EQ(toolkit::sendToRunningInstance(dir.file("file"), {"raise"}),
            toolkit::HandOverResult::NotTheUsers);
  if (::geteuid() == 0) {
    ASSERT_EQ(::lchown(dir.file("squat").c_str(), kOtherUser, kOtherUser), 0);
    EXPECT_EQ(toolkit::sendToRunningInstance(dir.file("squat"), {"raise"}),
              toolkit::HandOverResult::NotTheUsers);
  }
  QCoreApplication::processEvents();
  EXPECT_FALSE(squatter.hasPendingConnections());
}

}  // namespace
