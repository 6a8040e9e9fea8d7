// The window program: one Form1, shown centred; it ends when all its windows are gone.
// harrowglen [--frame N] [CLIP]: a later start hands its clip to the window already running.

#include <QApplication>
#include <cstdio>
#include <optional>

#include "app/window_start.h"
#include "review/session.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/widgets/host.h"
#include "toolkit/widgets/instance_link.h"
#include "video/video_file.h"
#include "window/windows.h"

namespace {

// The exit status when the arguments alone end the program: a usage error, --help, --version.
std::optional<int> endsAtArguments(const app::ParsedWindowStart& parsed) {
  if (!parsed.error.empty()) {
    std::fprintf(stderr, "harrowglen: %s\n%s", parsed.error.c_str(), app::windowUsage().c_str());
    return 2;
  }
  if (parsed.start.help) {
    std::fputs(app::windowUsage().c_str(), stdout);
    return 0;
  }
  if (parsed.start.version) {
    std::printf("harrowglen %s\n", HARROWGLEN_VERSION);
    return 0;
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  video::silenceLibraryLog();
  // The program ends by its own rule, when the last form is unloaded, not when a window closes.
  QApplication::setQuitOnLastWindowClosed(false);
  // The desktop matches the window to its launcher and icon by this name.
  QGuiApplication::setDesktopFileName("org.harrowglen.Harrowglen");

  std::vector<std::string> args;
  for (const QString& arg : QApplication::arguments().mid(1)) args.push_back(arg.toStdString());
  const app::ParsedWindowStart parsed = app::parseWindowArguments(args);
  if (const std::optional<int> status = endsAtArguments(parsed)) return *status;

  // The lock and the socket are checked before any window shows: a later start that hands its
  // clip over ends without one.
  const toolkit::InstancePlace place = toolkit::instancePlace(toolkit::defaultInstanceName());
  toolkit::LockFileInstanceCheck lock(place.lockPath);
  const bool another = lock.anotherInstanceRunning();
  if (another) {
    if (const std::optional<int> status = app::handOver(place.socketPath, parsed.start)) {
      return *status;
    }
  }
  if (const std::string& problem = place.problem.empty() ? lock.problem() : place.problem;
      !problem.empty()) {
    std::fprintf(stderr, "harrowglen: %s; later starts will open windows of their own.\n",
                 problem.c_str());
  }

  toolkit::PosixFileSystem files;
  toolkit::QtMessageSink messages;
  toolkit::Platform platform{files, messages, toolkit::defaultProgramFolder()};
  toolkit::QtFileDialogProvider dialogs;
  // A start that found someone else's socket runs as if it were the only one.
  toolkit::FixedInstanceCheck alone;
  toolkit::Host host(platform, dialogs,
                     another ? static_cast<toolkit::InstanceCheck&>(alone) : lock);
  host.onAllFormsUnloaded = [] { QCoreApplication::quit(); };

  review::Session session(platform);
  window::Windows windows(host, session);
  windows.Form1.Show();
  if (host.Forms().empty()) return 0;

  std::optional<toolkit::InstanceServer> server;
  if (lock.holdsLock()) {
    server.emplace(place.socketPath);
    if (!server->listening()) {
      std::fprintf(stderr,
                   "harrowglen: cannot listen at %s; later starts will not reach this window.\n",
                   place.socketPath.c_str());
    }
    server->onRequest = [&windows](const std::vector<std::string>& request) {
      app::answerRequest(windows.Form1, request);
    };
  }
  app::openAtStart(windows.Form1, parsed.start);
  return QApplication::exec();
}
