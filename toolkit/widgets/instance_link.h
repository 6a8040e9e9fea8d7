#pragma once

// What a second start of the program asks of the copy that runs: the second copy ends at once,
// and hands its request (a clip to open, or only "come to the front") to the first over a local
// socket named after the user and the program.

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QLocalServer;

namespace toolkit {

// The name the copies of this program meet under: $HARROWGLEN_INSTANCE when set (tests give each
// run one of its own), else one made of the executable's path, in the user's runtime folder.
std::string defaultInstanceName();

// The lock file that tells whether a copy runs, beside the socket of `name`.
std::string instanceLockPath(const std::string& name);

// The first copy's end: listens at `name` until destroyed.
class InstanceServer {
 public:
  explicit InstanceServer(const std::string& name);
  ~InstanceServer();
  InstanceServer(const InstanceServer&) = delete;
  InstanceServer& operator=(const InstanceServer&) = delete;

  bool listening() const;
  // Called on the event loop with each request a later copy sent.
  std::function<void(const std::vector<std::string>&)> onRequest;

 private:
  std::unique_ptr<QLocalServer> m_server;
};

// Sends `request` to the copy listening at `name`; false when none took it within a few seconds.
bool sendToRunningInstance(const std::string& name, const std::vector<std::string>& request);

}  // namespace toolkit
