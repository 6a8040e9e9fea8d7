#include "toolkit/widgets/invisible_controls.h"

#include "toolkit/core/runtime_error.h"
#include "toolkit/widgets/host.h"

namespace toolkit {

Timer::Timer(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container), m_timer(std::make_unique<QTimer>()) {
  m_timer->setTimerType(Qt::PreciseTimer);
  QObject::connect(m_timer.get(), &QTimer::timeout, [this] { tick(); });
}

void Timer::tick() { fire(onTimer); }

void Timer::setIntervalValue(Long ms) {
  m_interval = ms;
  update();
}

void Timer::setEnabledValue(bool on) {
  if (on == m_enabled) return;
  m_enabled = on;
  update();
}

void Timer::formUnloaded() {
  m_formLoaded = false;
  update();
}

void Timer::update() {
  if (m_enabled && m_interval > Long(0) && m_formLoaded) {
    m_timer->start(m_interval.value());
  } else {
    m_timer->stop();
  }
}

CommonDialog::CommonDialog(Form& form, std::string name, Control* container)
    : Control(form, std::move(name), container) {}

void CommonDialog::ShowOpen() { show(false); }
void CommonDialog::ShowSave() { show(true); }

void CommonDialog::show(bool save) {
  FileDialogRequest request;
  request.kind = save ? FileDialogRequest::Kind::Save : FileDialogRequest::Kind::Open;
  request.filter = Filter;
  request.filterIndex = FilterIndex;
  request.fileName = FileName;
  request.title = DialogTitle;
  std::string chosen = host().fileDialogs().choose(request);
  if (chosen.empty()) return;
  if (static_cast<int>(chosen.size()) >= MaxFileSize) {
    throw RuntimeError(20476,
                       "The FileName buffer is too small to store the selected file name(s).");
  }
  FileName = std::move(chosen);
}

}  // namespace toolkit
