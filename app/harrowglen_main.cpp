// The window program: one Form1, shown centred; it ends when all its windows are gone.

#include <QApplication>

#include "review/session.h"
#include "skin/windows.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/program_folder.h"
#include "toolkit/widgets/host.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  // The program ends by its own rule, when the last form is unloaded, not when a window closes.
  QApplication::setQuitOnLastWindowClosed(false);

  toolkit::PosixFileSystem files;
  toolkit::QtMessageSink messages;
  toolkit::Platform platform{files, messages, toolkit::defaultProgramFolder()};
  toolkit::QtFileDialogProvider dialogs;
  toolkit::LockFileInstanceCheck instances;
  toolkit::Host host(platform, dialogs, instances);
  host.onAllFormsUnloaded = [] { QCoreApplication::quit(); };

  review::Session session(platform);
  skin::Windows windows(host, session);
  windows.Form1.Show();
  if (host.Forms().empty()) return 0;
  return QApplication::exec();
}
