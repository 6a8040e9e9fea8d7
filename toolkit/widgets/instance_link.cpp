#include "toolkit/widgets/instance_link.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include "toolkit/core/hand_over_request.h"

namespace toolkit {
namespace {

// How long a later copy waits for the first to listen, and then for its answer.
constexpr int kTimeoutMs = 3000;
// A connection that has not sent its request by then is dropped.
constexpr int kConnectionMs = 10000;

enum class FolderMode { NotWritableByOthers, Private };

// Opens the folder itself, not what a link there points at, and judges what was opened, so that
// nothing can be swapped in between the check and the answer.
std::string folderProblem(const std::string& path, FolderMode mode, bool madeHere) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    const int error = errno;
    // Only to name what is in the way: the open above has already refused it.
    struct stat st {};
    if (::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) return path + " is a link";
    if (error == ENOTDIR) return path + " is not a folder";
    return path + " cannot be opened: " + std::strerror(error);
  }
  struct stat st {};
  // A folder this copy has just made gets its mode whatever the umask took from it.
  const bool ok = (!madeHere || ::fchmod(fd, 0700) == 0) && ::fstat(fd, &st) == 0;
  const int error = errno;
  ::close(fd);
  if (!ok) return path + " cannot be checked: " + std::strerror(error);
  if (st.st_uid != ::geteuid()) return path + " belongs to another user";
  const bool open = mode == FolderMode::Private ? (st.st_mode & 0777) != 0700
                                                : (st.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  if (open) return path + " may be entered by other users";
  return {};
}

// The folder that holds ours: where nobody else can rename ours away, being ours or root's and
// either closed to others or sticky (as /tmp is).
std::string parentProblem(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return path + " cannot be read: " + std::strerror(errno);
  const bool owner = st.st_uid == ::geteuid() || st.st_uid == 0;
  const bool closed = (st.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (st.st_mode & S_ISVTX) != 0;
  if (!S_ISDIR(st.st_mode) || !owner || !closed) return path + " is no safe place for a folder";
  return {};
}

bool plainName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

// A socket of the user's at `path` itself, not through a link; `missing` when nothing is there.
bool isUsersSocket(const std::string& path, bool& missing) {
  struct stat st {};
  missing = ::lstat(path.c_str(), &st) != 0 && errno == ENOENT;
  return !missing && S_ISSOCK(st.st_mode) && st.st_uid == ::geteuid();
}

// The user the process at the other end of a connected local socket runs as, as the kernel
// recorded it when the connection was made.
bool peerIsUser(qintptr fd) {
  struct ucred cred {};
  socklen_t length = sizeof cred;
  return ::getsockopt(static_cast<int>(fd), SOL_SOCKET, SO_PEERCRED, &cred, &length) == 0 &&
         cred.uid == ::geteuid();
}

// Connects to the user's own socket at `path`; nothing when connected. The first copy takes the
// lock a moment before it listens: a second copy started right after it tries again for a while.
std::optional<HandOverResult> connectToUsersSocket(QLocalSocket& socket, const std::string& path) {
  QElapsedTimer waited;
  waited.start();
  for (;;) {
    bool missing = false;
    if (isUsersSocket(path, missing)) {
      socket.connectToServer(QString::fromStdString(path));
      if (socket.waitForConnected(kTimeoutMs)) {
        if (peerIsUser(socket.socketDescriptor())) return std::nullopt;
        return HandOverResult::NotTheUsers;
      }
    } else if (!missing) {
      return HandOverResult::NotTheUsers;
    }
    if (waited.elapsed() > kTimeoutMs) return HandOverResult::NoAnswer;
    QThread::msleep(50);
  }
}

struct Connection {
  std::vector<std::uint8_t> bytes;
  bool answered = false;
};

}  // namespace

RuntimeFolder userRuntimeFolder(const std::string& xdgRuntimeDir, const std::string& tempFolder) {
  if (!xdgRuntimeDir.empty() && xdgRuntimeDir.front() == '/' &&
      folderProblem(xdgRuntimeDir, FolderMode::NotWritableByOthers, false).empty()) {
    return {xdgRuntimeDir, {}};
  }
  if (std::string problem = parentProblem(tempFolder); !problem.empty()) return {{}, problem};
  const std::string folder = tempFolder + "/harrowglen-" + std::to_string(::geteuid());
  const bool made = ::mkdir(folder.c_str(), 0700) == 0;
  if (std::string problem = folderProblem(folder, FolderMode::Private, made); !problem.empty()) {
    return {{}, problem};
  }
  return {folder, {}};
}

RuntimeFolder userRuntimeFolder() {
  return userRuntimeFolder(qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString(),
                           QDir::tempPath().toStdString());
}

std::string defaultInstanceName() {
  if (const QByteArray given = qgetenv("HARROWGLEN_INSTANCE"); !given.isEmpty()) {
    return given.toStdString();
  }
  std::error_code ec;
  const std::string exe = std::filesystem::read_symlink("/proc/self/exe", ec).string();
  const QByteArray key =
      QCryptographicHash::hash(QByteArray::fromStdString(exe), QCryptographicHash::Sha1).toHex();
  return "harrowglen-" + key.left(16).toStdString();
}

InstancePlace instancePlace(const std::string& name, const RuntimeFolder& folder) {
  if (folder.path.empty()) return {{}, {}, folder.problem};
  if (!plainName(name)) return {{}, {}, "\"" + name + "\" is no name for a socket"};
  const std::string socket = folder.path + "/" + name;
  if (socket.size() >= sizeof(sockaddr_un::sun_path)) return {{}, {}, socket + " is too long"};
  return {socket, socket + ".lock", {}};
}

InstancePlace instancePlace(const std::string& name) {
  return instancePlace(name, userRuntimeFolder());
}

InstanceServer::InstanceServer(const std::string& socketPath)
    : m_server(std::make_unique<QLocalServer>()) {
  m_server->setSocketOptions(QLocalServer::UserAccessOption);
  // A socket a copy that died left behind: this copy holds the lock now, so it is stale.
  QLocalServer::removeServer(QString::fromStdString(socketPath));
  m_server->listen(QString::fromStdString(socketPath));
  QObject::connect(m_server.get(), &QLocalServer::newConnection, [this] {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) accept(socket);
  });
}

InstanceServer::~InstanceServer() = default;

bool InstanceServer::listening() const { return m_server->isListening(); }

void InstanceServer::accept(QLocalSocket* socket) {
  QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
  if (!peerIsUser(socket->socketDescriptor())) {
    socket->abort();
    socket->deleteLater();
    return;
  }
  // Qt would otherwise buffer whatever a client sends, however much.
  socket->setReadBufferSize(static_cast<qint64>(kMaxHandOverRequestBytes) + 1);
  QTimer::singleShot(kConnectionMs, socket, [socket] { socket->abort(); });
  auto connection = std::make_shared<Connection>();
  QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket, connection] {
    if (connection->answered) return;
    const qint64 room =
        static_cast<qint64>(kMaxHandOverRequestBytes + 1 - connection->bytes.size());
    const QByteArray more = socket->read(room);
    connection->bytes.insert(connection->bytes.end(), more.begin(), more.end());
    const HandOverDecode decoded =
        decodeHandOverRequest(connection->bytes.data(), connection->bytes.size());
    if (decoded.status == HandOverDecode::Status::NeedMore) return;
    if (decoded.status == HandOverDecode::Status::Refused) {
      socket->abort();
      socket->deleteLater();
      return;
    }
    connection->answered = true;
    connection->bytes = {};
    socket->write("ok");
    socket->disconnectFromServer();
    if (onRequest) onRequest(decoded.parts);
  });
}

HandOverResult sendToRunningInstance(const std::string& socketPath,
                                     const std::vector<std::string>& request) {
  QLocalSocket socket;
  if (const std::optional<HandOverResult> failed = connectToUsersSocket(socket, socketPath)) {
    return *failed;
  }
  const std::vector<std::uint8_t> bytes = encodeHandOverRequest(request);
  socket.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
  if (!socket.waitForBytesWritten(kTimeoutMs)) return HandOverResult::NoAnswer;
  // The first copy says it has the request before this one ends.
  QByteArray answer;
  while (answer.size() < 2 && socket.waitForReadyRead(kTimeoutMs)) answer += socket.readAll();
  return answer == "ok" ? HandOverResult::Taken : HandOverResult::NoAnswer;
}

}  // namespace toolkit
