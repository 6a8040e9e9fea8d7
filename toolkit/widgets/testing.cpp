#include "toolkit/widgets/testing.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QThread>
#include <algorithm>
#include <cstdlib>

#include "toolkit/widgets/control.h"

namespace toolkit::testing {

void ensureApplication() {
  if (QApplication::instance()) return;
  if (!std::getenv("QT_QPA_PLATFORM")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static int argc = 1;
  static char name[] = "harrowglen-test";
  static char* argv[] = {name, nullptr};
  // Never destroyed: Qt's own globals go first at exit, and a QApplication torn down after them
  // crashes.
  new QApplication(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
}

TestHost::TestHost(std::string programFolder)
    : platform{files, messages, std::move(programFolder)}, host(platform, dialogs, instances) {}

namespace {

void send(Control& control, QEvent::Type type, QPointF pixel, Qt::MouseButton button,
          Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {
  QWidget* w = control.widget();
  if (!w) return;
  QMouseEvent event(type, pixel, w->mapToGlobal(pixel), button, buttons, modifiers);
  QApplication::sendEvent(w, &event);
}

}  // namespace

void press(Control& control, QPointF pixel, Qt::MouseButton button,
           Qt::KeyboardModifiers modifiers) {
  send(control, QEvent::MouseButtonPress, pixel, button, button, modifiers);
}

void move(Control& control, QPointF pixel, Qt::MouseButtons buttons) {
  send(control, QEvent::MouseMove, pixel, Qt::NoButton, buttons, Qt::NoModifier);
}

void release(Control& control, QPointF pixel, Qt::MouseButton button) {
  send(control, QEvent::MouseButtonRelease, pixel, button, Qt::NoButton, Qt::NoModifier);
}

void click(Control& control) { control.click(); }

void postClick(Control& control) {
  QWidget* w = control.widget();
  if (!w) return;
  const QPointF point(w->width() / 2.0, w->height() / 2.0);
  const QPointF global = w->mapToGlobal(point);
  QCoreApplication::postEvent(w, new QMouseEvent(QEvent::MouseButtonPress, point, global,
                                                 Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
  QCoreApplication::postEvent(w, new QMouseEvent(QEvent::MouseButtonRelease, point, global,
                                                 Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
}

bool pumpUntil(const std::function<bool()>& done) {
  QElapsedTimer clock;
  clock.start();
  while (!done()) {
    if (clock.elapsed() > 10000) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    QThread::msleep(2);
  }
  return true;
}

}  // namespace toolkit::testing
