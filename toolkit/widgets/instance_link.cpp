#include "toolkit/widgets/instance_link.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <filesystem>

namespace toolkit {
namespace {

// How long a later copy waits for the first to listen, and then for its answer.
constexpr int kTimeoutMs = 3000;

QString runtimeFolder() {
  QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
  return folder.isEmpty() ? QDir::tempPath() : folder;
}

}  // namespace

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

std::string instanceLockPath(const std::string& name) {
  return (runtimeFolder() + QStringLiteral("/") + QString::fromStdString(name) +
          QStringLiteral(".lock"))
      .toStdString();
}

InstanceServer::InstanceServer(const std::string& name)
    : m_server(std::make_unique<QLocalServer>()) {
  m_server->setSocketOptions(QLocalServer::UserAccessOption);
  // A socket a copy that died left behind: this copy holds the lock now, so it is stale.
  QLocalServer::removeServer(QString::fromStdString(name));
  m_server->listen(QString::fromStdString(name));
  QObject::connect(m_server.get(), &QLocalServer::newConnection, [this] {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
      QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
      QObject::connect(socket, &QLocalSocket::readyRead, [this, socket] {
        QDataStream in(socket);
        in.startTransaction();
        QStringList parts;
        in >> parts;
        if (!in.commitTransaction()) return;  // more is on its way
        socket->write("ok");
        socket->flush();
        std::vector<std::string> request;
        for (const QString& part : parts) request.push_back(part.toStdString());
        if (onRequest) onRequest(request);
      });
    }
  });
}

InstanceServer::~InstanceServer() = default;

bool InstanceServer::listening() const { return m_server->isListening(); }

bool sendToRunningInstance(const std::string& name, const std::vector<std::string>& request) {
  QLocalSocket socket;
  // The first copy takes the lock a moment before it listens: a second copy started right after
  // it tries again for a while.
  QElapsedTimer waited;
  waited.start();
  for (;;) {
    socket.connectToServer(QString::fromStdString(name));
    if (socket.waitForConnected(kTimeoutMs)) break;
    if (waited.elapsed() > kTimeoutMs) return false;
    QThread::msleep(50);
  }
  QStringList parts;
  for (const std::string& part : request) parts << QString::fromStdString(part);
  QByteArray bytes;
  QDataStream out(&bytes, QIODevice::WriteOnly);
  out << parts;
  socket.write(bytes);
  if (!socket.waitForBytesWritten(kTimeoutMs)) return false;
  // The first copy says it has the request before this one ends.
  return socket.waitForReadyRead(kTimeoutMs) && socket.readAll() == "ok";
}

}  // namespace toolkit
