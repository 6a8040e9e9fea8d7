#pragma once

// What a second start of the program asks of the copy that runs: the second copy ends at once,
// and hands its request (a clip to open, or only "come to the front") to the first over a local
// socket. The socket and its lock live in a folder only the user can enter, and each end checks
// that the other is the same user, so that another user can neither hear the clips a user opens
// nor stop the window from starting.

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QLocalServer;
class QLocalSocket;

namespace toolkit {

// A folder that only the user can enter, or why there is none.
struct RuntimeFolder {
  std::string path;     // empty when none could be had
  std::string problem;  // why not, for a line on stderr
};

// `xdgRuntimeDir` when it is the user's own (a real folder, not a link, owned by the user, that
// nobody else may write to), else `tempFolder`/harrowglen-UID, made with mode 0700 when missing
// and used only when it is a real folder of the user's with mode 0700. Never changes a folder it
// did not make.
RuntimeFolder userRuntimeFolder(const std::string& xdgRuntimeDir, const std::string& tempFolder);
// The same for $XDG_RUNTIME_DIR and the system's temp folder.
RuntimeFolder userRuntimeFolder();

// The name the copies of this program meet under: $HARROWGLEN_INSTANCE when set (tests give each
// run one of its own), else one made of the executable's path.
std::string defaultInstanceName();

// Where the copies meet: the socket and the lock file beside it. Both are empty, and `problem`
// says why, when the folder could not be had or the name is no plain file name.
struct InstancePlace {
  std::string socketPath;
  std::string lockPath;
  std::string problem;
};
InstancePlace instancePlace(const std::string& name, const RuntimeFolder& folder);
InstancePlace instancePlace(const std::string& name);

// The first copy's end: listens at `socketPath` until destroyed. Takes connections of the same
// user only, and from each one request of at most kMaxHandOverRequestBytes; a connection that
// sends more, or bytes that are no request, is dropped unanswered.
class InstanceServer {
 public:
  explicit InstanceServer(const std::string& socketPath);
  ~InstanceServer();
  InstanceServer(const InstanceServer&) = delete;
  InstanceServer& operator=(const InstanceServer&) = delete;

  bool listening() const;
  // Called on the event loop with each request a later copy sent, after it was answered "ok".
  std::function<void(const std::vector<std::string>&)> onRequest;

 private:
  void accept(QLocalSocket* socket);

  std::unique_ptr<QLocalServer> m_server;
};

enum class HandOverResult {
  Taken,        // the running copy answered that it has the request
  NoAnswer,     // nobody answered within a few seconds
  NotTheUsers,  // the socket, or the process behind it, is not the user's own: nothing was sent
};

// Sends `request` to the copy listening at `socketPath`, after checking that the socket is the
// user's own socket (not a link) and that the process that accepts it runs as the user.
// REQUIRES: handOverRequestFits(request).
HandOverResult sendToRunningInstance(const std::string& socketPath,
                                     const std::vector<std::string>& request);

}  // namespace toolkit
