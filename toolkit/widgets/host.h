#pragma once

// The services the windows need of the machine, bundled in one object that the program builds
// once and a test builds fresh: file access, message boxes, file dialogs, the program's folder,
// the previous-instance test, the list of loaded forms, mouse capture and the yield to the event
// loop. Nothing of it is process-wide.

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/core/platform.h"

class QLockFile;

namespace toolkit {

class Control;
class Form;

// What a common dialog asks for. Filter is the toolkit's "Description|pattern|..." string.
struct FileDialogRequest {
  enum class Kind { Open, Save };
  Kind kind = Kind::Open;
  std::string filter;
  int filterIndex = 1;
  std::string fileName;
  std::string title;
};

class FileDialogProvider {
 public:
  virtual ~FileDialogProvider() = default;
  // Shows the dialog and returns the chosen full path, or "" when the user cancelled.
  virtual std::string choose(const FileDialogRequest& request) = 0;
};

// QFileDialog, without an overwrite question, with the toolkit's filters.
class QtFileDialogProvider : public FileDialogProvider {
 public:
  std::string choose(const FileDialogRequest& request) override;
};

// Turns "Desc|pattern|Desc|pattern" into Qt's ";;"-separated name filters. Blanks around the bars
// are dropped, and each pattern also matches its other letter case, since names on this system are
// case-sensitive and clips come named both ways.
std::string qtNameFilters(const std::string& filter);

// For tests: answers from a queue ("" = Cancel; an empty queue cancels) and records each request.
class ScriptedFileDialogProvider : public FileDialogProvider {
 public:
  void answer(std::string path) { m_answers.push_back(std::move(path)); }
  std::string choose(const FileDialogRequest& request) override;
  const std::vector<FileDialogRequest>& requests() const { return m_requests; }

 private:
  std::deque<std::string> m_answers;
  std::vector<FileDialogRequest> m_requests;
};

class InstanceCheck {
 public:
  virtual ~InstanceCheck() = default;
  // True if another running copy of this same program exists for this user.
  virtual bool anotherInstanceRunning() = 0;
};

// A lock file (see toolkit::instancePlace); the first copy holds it until it exits. A copy that
// died leaves a stale lock, which QLockFile takes over. Anything else at the lock's path (a link,
// another user's file, a folder) is left as it is and this copy runs on its own: a planted file
// must neither stop the window nor have its target read or removed.
class LockFileInstanceCheck : public InstanceCheck {
 public:
  // An empty path means there is no lock: this copy runs on its own.
  explicit LockFileInstanceCheck(const std::string& lockPath);
  ~LockFileInstanceCheck() override;
  bool anotherInstanceRunning() override;
  // After the check: true when this copy took the lock, and so should listen for later copies.
  bool holdsLock();
  // After the check: why the lock could not be used; empty when it could.
  const std::string& problem();

 private:
  void check();

  std::string m_path;
  std::unique_ptr<QLockFile> m_lock;
  bool m_checked = false;
  bool m_another = false;
  std::string m_problem;
};

class FixedInstanceCheck : public InstanceCheck {
 public:
  explicit FixedInstanceCheck(bool anotherRunning = false) : m_another(anotherRunning) {}
  void setAnotherRunning(bool another) { m_another = another; }
  bool anotherInstanceRunning() override { return m_another; }

 private:
  bool m_another;
};

// Shows a real, modal QMessageBox.
class QtMessageSink : public MessageSink {
 public:
  void show(const MessageBoxRequest& box) override;
};

class Host {
 public:
  Host(Platform& platform, FileDialogProvider& dialogs, InstanceCheck& instances);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  Platform& platform() { return m_platform; }
  FileSystem& files() { return m_platform.files; }
  MessageSink& messages() { return m_platform.messages; }
  const std::string& programFolder() const { return m_platform.programFolder; }
  FileDialogProvider& fileDialogs() { return m_dialogs; }

  bool PrevInstance() { return m_instances.anotherInstanceRunning(); }
  bool FileExists(const std::string& path) { return files().exists(path); }
  void Kill(const std::string& path) { files().remove(path); }
  // Lets all pending events run, including clicks and timer ticks, then returns.
  void DoEvents();
  // Runs at each DoEvents before the pending events: tests queue input there, to have it arrive
  // at a chosen yield of a long handler.
  std::function<void()> onYield;

  // Loaded forms, in the order they were loaded.
  const std::vector<Form*>& Forms() const { return m_forms; }
  // Called once the last loaded form has been unloaded; the program ends there.
  std::function<void()> onAllFormsUnloaded;

  // Until ReleaseCapture, every mouse event of the program's controls goes to `control`, with X
  // and Y in its own coordinates.
  void SetCapture(Control* control);
  void ReleaseCapture();
  Control* capture() const { return m_capture; }

  // Runs an event handler. A run-time error that the handler let escape must not cross Qt's
  // event dispatch: it ends the event with an error box, as the old toolkit did.
  void dispatch(const std::function<void()>& handler) noexcept;

 private:
  friend class Form;
  friend class Control;
  void formLoaded(Form* form);
  void formUnloaded(Form* form);
  void formDestroyed(Form* form);
  void controlGone(Control* control);

  Platform& m_platform;
  FileDialogProvider& m_dialogs;
  InstanceCheck& m_instances;
  std::vector<Form*> m_forms;
  Control* m_capture = nullptr;
};

}  // namespace toolkit
