#pragma once

// What tests need to drive the windows: a Qt application on the offscreen platform, a host whose
// message boxes are recorded and whose file dialogs are scripted, and input sent to a control's
// widget as the user would send it.

#include <QPointF>
#include <functional>
#include <string>

#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"
#include "toolkit/widgets/host.h"

namespace toolkit {

class Control;

namespace testing {

// Creates the QApplication once per test program.
void ensureApplication();

// Lets the event loop run until `done` holds or ten seconds pass; false when they passed.
bool pumpUntil(const std::function<bool()>& done);

// A fresh bundle of services over a folder the test owns.
struct TestHost {
  explicit TestHost(std::string programFolder);

  PosixFileSystem files;
  RecordingMessageSink messages;
  Platform platform;
  ScriptedFileDialogProvider dialogs;
  FixedInstanceCheck instances;
  Host host;
};

// Mouse input delivered through Qt to the control's widget, at a point in widget pixels. A
// disabled control or window ignores it, as it would a real click.
void press(Control& control, QPointF pixel, Qt::MouseButton button = Qt::LeftButton,
           Qt::KeyboardModifiers modifiers = Qt::NoModifier);
void move(Control& control, QPointF pixel, Qt::MouseButtons buttons = Qt::LeftButton);
void release(Control& control, QPointF pixel, Qt::MouseButton button = Qt::LeftButton);
// Press and release in the middle of the control.
void click(Control& control);
// A click in the middle of the control, queued: it arrives when the event loop next runs, as a
// click does that the user makes while a handler is busy.
void postClick(Control& control);

}  // namespace testing
}  // namespace toolkit
