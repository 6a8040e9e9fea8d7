#pragma once

// Controls that have a stored place but are never seen: the timer and the common dialog.

#include <QTimer>
#include <memory>
#include <string>

#include "toolkit/widgets/control.h"

namespace toolkit {

// Ticks from the event loop every Interval milliseconds while Enabled and its form is loaded.
// Interval 0 never fires. Changing Interval while it runs starts the period anew.
class Timer : public Control {
  Long intervalValue() const { return m_interval; }
  void setIntervalValue(Long ms);
  bool enabledValue() const { return m_enabled; }
  void setEnabledValue(bool on);

 public:
  Timer(Form& form, std::string name, Control* container);

  Property<Timer, Long, &Timer::intervalValue, &Timer::setIntervalValue> Interval{this};
  // Hides Control::Enabled: a timer's Enabled starts and stops it.
  Property<Timer, bool, &Timer::enabledValue, &Timer::setEnabledValue> Enabled{this};

  std::function<void()> onTimer;
  // One tick, as the event loop would deliver it; tests fire ticks this way.
  void tick();
  bool running() const { return m_timer->isActive(); }

  void formUnloaded() override;

 private:
  void update();

  std::unique_ptr<QTimer> m_timer;
  Long m_interval = 0;
  bool m_enabled = true;
  bool m_formLoaded = true;
};

// The common file dialog. Filter is "Description|pattern" pairs, separated by "|".
class CommonDialog : public Control {
 public:
  CommonDialog(Form& form, std::string name, Control* container);

  std::string Filter;
  int FilterIndex = 0;
  // Room for the chosen path, in characters; a longer choice is the dialog's error 20476.
  int MaxFileSize = 260;
  std::string FileName;
  std::string DialogTitle;

  // Show the dialog and return after the choice. FileName is then the full path; Cancel leaves it
  // as it was.
  void ShowOpen();
  void ShowSave();

 private:
  void show(bool save);
};

}  // namespace toolkit
