// The window program: one Form1, shown centred; it ends when all its windows are gone.
// harrowglen [--frame N] [CLIP]: a later start hands its clip to the window already running.

#include <QApplication>
#include <cstdio>

#include "app/window_start.h"
#include "review/session.h"
#include "skin/windows.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/widgets/host.h"
#include "toolkit/widgets/instance_link.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  // The program ends by its own rule, when the last form is unloaded, not when a window closes.
  QApplication::setQuitOnLastWindowClosed(false);
  // The desktop matches the window to its launcher and icon by this name.
  QGuiApplication::setDesktopFileName("org.harrowglen.Harrowglen");

  std::vector<std::string> args;
  for (const QString& arg : QApplication::arguments().mid(1)) args.push_back(arg.toStdString());
  const app::ParsedWindowStart parsed = app::parseWindowArguments(args);
  if (!parsed.error.empty()) {
    std::fprintf(stderr, "harrowglen: %s\n%s", parsed.error.c_str(), app::kWindowUsage);
    return 2;
  }
  if (parsed.start.help) {
    std::fputs(app::kWindowUsage, stdout);
    return 0;
  }
  if (parsed.start.version) {
    std::printf("harrowglen %s\n", HARROWGLEN_VERSION);
    return 0;
  }

  const std::string instanceName = toolkit::defaultInstanceName();
  toolkit::PosixFileSystem files;
  toolkit::QtMessageSink messages;
  toolkit::Platform platform{files, messages, toolkit::defaultProgramFolder()};
  toolkit::QtFileDialogProvider dialogs;
  toolkit::LockFileInstanceCheck instances(toolkit::instanceLockPath(instanceName));
  toolkit::Host host(platform, dialogs, instances);
  host.onAllFormsUnloaded = [] { QCoreApplication::quit(); };

  review::Session session(platform);
  skin::Windows windows(host, session);
  windows.Form1.Show();
  if (instances.anotherInstanceRunning()) return app::handOver(instanceName, parsed.start);
  if (host.Forms().empty()) return 0;

  toolkit::InstanceServer server(instanceName);
  server.onRequest = [&windows](const std::vector<std::string>& request) {
    app::answerRequest(windows.Form1, request);
  };
  app::openAtStart(windows.Form1, parsed.start);
  return QApplication::exec();
}
