#pragma once

// The window program run as a user runs it, for the tests of the hand-over between its copies.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "toolkit/widgets/instance_link.h"
#include "toolkit/widgets/testing.h"

namespace testing_support {

using toolkit::testing::pumpUntil;

inline void pumpFor(int milliseconds) {
  QElapsedTimer clock;
  clock.start();
  pumpUntil([&] { return clock.elapsed() >= milliseconds; });
}

inline bool startsWith(const std::vector<std::uint8_t>& bytes,
                       const std::vector<std::uint8_t>& head) {
  return bytes.size() >= head.size() && std::equal(head.begin(), head.end(), bytes.begin());
}

// A meeting place of its own for each test, so that tests run side by side never meet: a fresh
// name in a runtime folder of the test's.
inline std::string freshInstanceName() {
  static std::atomic<int> counter = 0;
  return "harrowglen-test-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
}

struct Meeting {
  Meeting() : name(freshInstanceName()), place(toolkit::instancePlace(name, {run.path(), ""})) {}
  testing_support::TempDir run;
  std::string name;
  toolkit::InstancePlace place;
};

// The window program as a user starts it, on the offscreen platform, meeting its other copies
// at `meeting`.
class Program {
 public:
  Program(const std::string& binary, const Meeting& meeting) {
    m_env.insert("QT_QPA_PLATFORM", "offscreen");
    m_env.insert("HARROWGLEN_INSTANCE", QString::fromStdString(meeting.name));
    m_env.insert("XDG_RUNTIME_DIR", QString::fromStdString(meeting.run.path()));
    m_process.setProgram(QString::fromStdString(binary));
  }
  ~Program() {
    if (m_process.state() != QProcess::NotRunning) {
      m_process.kill();
      m_process.waitForFinished();
    }
  }
  // Before start: sets a variable of the program's environment, or with "" removes it.
  void setEnv(const QString& name, const QString& value) {
    if (value.isEmpty()) {
      m_env.remove(name);
    } else {
      m_env.insert(name, value);
    }
  }
  void start(const QStringList& args) {
    m_process.setProcessEnvironment(m_env);
    m_process.setArguments(args);
    m_process.start();
    ASSERT_TRUE(m_process.waitForStarted());
  }
  // Runs the event loop of this process meanwhile, so that a window here can answer.
  bool finished() {
    return pumpUntil([this] { return m_process.state() == QProcess::NotRunning; });
  }
  bool running() const { return m_process.state() == QProcess::Running; }
  int exitCode() const { return m_process.exitCode(); }
  std::string errors() {
    m_errors += m_process.readAllStandardError().toStdString();
    return m_errors;
  }

 private:
  QProcessEnvironment m_env = QProcessEnvironment::systemEnvironment();
  QProcess m_process;
  std::string m_errors;
};

}  // namespace testing_support
