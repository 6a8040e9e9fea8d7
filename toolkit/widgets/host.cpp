#include "toolkit/widgets/host.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFileDialog>
#include <QLockFile>
#include <QMessageBox>
#include <QStringList>
#include <algorithm>

#include "toolkit/core/runtime_error.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/form.h"

namespace toolkit {
namespace {

QString trimmed(const std::string& s) { return QString::fromStdString(s).trimmed(); }

QStringList splitFilter(const std::string& filter) {
  return QString::fromStdString(filter).split(QLatin1Char('|'));
}

// Why what lies at `path` is not a lock file of this user's; empty when it is, or when nothing is.
std::string foreignLockProblem(const std::string& path) {
  struct stat st {};
  if (::lstat(path.c_str(), &st) != 0) return {};
  if (S_ISLNK(st.st_mode)) return path + " is a link";
  if (!S_ISREG(st.st_mode)) return path + " is not a file";
  if (st.st_uid != ::geteuid()) return path + " belongs to another user";
  return {};
}

}  // namespace

std::string qtNameFilters(const std::string& filter) {
  QStringList parts = splitFilter(filter);
  QStringList filters;
  for (int i = 0; i + 1 < parts.size(); i += 2) {
    QStringList patterns;
    for (const QString& p : parts[i + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
      QString pattern = p.trimmed();
      if (pattern.isEmpty()) continue;
      patterns << pattern;
      for (const QString& other : {pattern.toLower(), pattern.toUpper()}) {
        if (!patterns.contains(other)) patterns << other;
      }
    }
    filters << parts[i].trimmed() + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) +
                   QLatin1Char(')');
  }
  return filters.join(QStringLiteral(";;")).toStdString();
}

std::string QtFileDialogProvider::choose(const FileDialogRequest& request) {
  QFileDialog dialog(nullptr, QString::fromStdString(request.title));
  // The open dialog, like the old one, also takes a typed name of a file that does not exist;
  // the save dialog asks nothing about replacing a file.
  dialog.setFileMode(QFileDialog::AnyFile);
  bool save = request.kind == FileDialogRequest::Kind::Save;
  dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog.setOption(QFileDialog::DontConfirmOverwrite, true);
  dialog.setOption(QFileDialog::DontUseNativeDialog, true);
  QStringList filters =
      QString::fromStdString(qtNameFilters(request.filter)).split(QStringLiteral(";;"));
  dialog.setNameFilters(filters);
  dialog.selectNameFilter(filters.value(std::max(0, request.filterIndex - 1)));
  if (QString start = trimmed(request.fileName); !start.isEmpty()) dialog.selectFile(start);
  if (dialog.exec() != QDialog::Accepted) return {};
  return dialog.selectedFiles().value(0).toStdString();
}

std::string ScriptedFileDialogProvider::choose(const FileDialogRequest& request) {
  m_requests.push_back(request);
  if (m_answers.empty()) return {};
  std::string answer = std::move(m_answers.front());
  m_answers.pop_front();
  return answer;
}

LockFileInstanceCheck::LockFileInstanceCheck(const std::string& lockPath)
    : m_path(lockPath), m_lock(std::make_unique<QLockFile>(QString::fromStdString(lockPath))) {}

LockFileInstanceCheck::~LockFileInstanceCheck() = default;

bool LockFileInstanceCheck::anotherInstanceRunning() {
  check();
  return m_another;
}

bool LockFileInstanceCheck::holdsLock() {
  check();
  return m_lock->isLocked();
}

const std::string& LockFileInstanceCheck::problem() {
  check();
  return m_problem;
}

void LockFileInstanceCheck::check() {
  if (m_checked || m_path.empty()) return;
  m_checked = true;
  // QLockFile would read through a link to judge whether the lock is stale, and remove it.
  m_problem = foreignLockProblem(m_path);
  if (!m_problem.empty()) return;
  if (m_lock->tryLock(0)) return;
  m_another = m_lock->error() == QLockFile::LockFailedError;
  if (!m_another) m_problem = "the lock file " + m_path + " cannot be made";
}

void QtMessageSink::show(const MessageBoxRequest& box) {
  QString text = QString::fromStdString(box.text).replace(QStringLiteral("\r\n"), "\n");
  QMessageBox dialog(box.icon == MsgIcon::Critical ? QMessageBox::Critical : QMessageBox::NoIcon,
                     QString::fromStdString(box.shownTitle()), text, QMessageBox::Ok);
  dialog.exec();
}

Host::Host(Platform& platform, FileDialogProvider& dialogs, InstanceCheck& instances)
    : m_platform(platform), m_dialogs(dialogs), m_instances(instances) {}

Host::~Host() = default;

void Host::DoEvents() {
  if (onYield) onYield();
  QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void Host::SetCapture(Control* control) {
  if (m_capture && m_capture != control && m_capture->widget()) m_capture->widget()->releaseMouse();
  m_capture = control;
  // Real mouse events then reach the control even outside it; events sent straight to another
  // control's widget are passed on by Control's own routing.
  if (control && control->widget() && control->widget()->isVisible())
    control->widget()->grabMouse();
}

void Host::ReleaseCapture() {
  if (m_capture && m_capture->widget()) m_capture->widget()->releaseMouse();
  m_capture = nullptr;
}

void Host::dispatch(const std::function<void()>& handler) noexcept {
  try {
    handler();
  } catch (const RuntimeError& e) {
    try {
      m_platform.messages.show(
          {"Run-time error '" + std::to_string(e.number()) + "':\r\n\r\n" + e.description(),
           MsgIcon::Critical, std::nullopt});
    } catch (...) {
    }
  } catch (const std::exception& e) {
    try {
      m_platform.messages.show(
          {std::string("Run-time error:\r\n\r\n") + e.what(), MsgIcon::Critical, std::nullopt});
    } catch (...) {
    }
  }
}

void Host::formLoaded(Form* form) {
  if (std::find(m_forms.begin(), m_forms.end(), form) == m_forms.end()) m_forms.push_back(form);
}

void Host::formUnloaded(Form* form) {
  std::erase(m_forms, form);
  if (m_capture && &m_capture->form() == form) ReleaseCapture();
  if (m_forms.empty() && onAllFormsUnloaded) onAllFormsUnloaded();
}

void Host::formDestroyed(Form* form) {
  std::erase(m_forms, form);
  if (m_capture && &m_capture->form() == form) m_capture = nullptr;
}

void Host::controlGone(Control* control) {
  if (m_capture == control) m_capture = nullptr;
}

}  // namespace toolkit
