#pragma once

// A second thread, kept for the life of its owner, that runs one task at a time beside the
// calling thread. It is started by the first task. When the machine is busy and the thread has
// not begun the task by the time the caller waits for it, the caller runs the task itself, so
// that handing work over never costs more than doing it in line.

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace search {

class SideThread {
 public:
  SideThread() = default;
  ~SideThread();
  SideThread(const SideThread&) = delete;
  SideThread& operator=(const SideThread&) = delete;

  // Hands `task` to the thread and returns. The task must not throw, and wait() must come before
  // the next start().
  void start(std::function<void()> task);
  // Returns when the task given last has finished, on whichever thread it ran.
  void wait();

 private:
  void loop();

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::function<void()> m_task;
  bool m_pending = false;  // given and not yet begun
  bool m_running = false;  // begun on the side thread
  bool m_quit = false;
  std::thread m_thread;
};

}  // namespace search
