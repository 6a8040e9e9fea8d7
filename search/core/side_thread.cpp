#include "search/core/side_thread.h"

namespace search {

SideThread::~SideThread() {
  if (!m_thread.joinable()) return;
  {
    std::lock_guard lock(m_mutex);
    m_quit = true;
  }
  m_changed.notify_all();
  m_thread.join();
}

void SideThread::start(std::function<void()> task) {
  if (std::thread::hardware_concurrency() < 2) {
    task();
    return;
  }
  if (!m_thread.joinable()) m_thread = std::thread([this] { loop(); });
  {
    std::lock_guard lock(m_mutex);
    m_task = std::move(task);
    m_pending = true;
  }
  m_changed.notify_all();
}

void SideThread::wait() {
  std::unique_lock lock(m_mutex);
  if (m_pending) {
    std::function<void()> task = std::move(m_task);
    m_pending = false;
    lock.unlock();
    task();
    return;
  }
  m_changed.wait(lock, [this] { return !m_running; });
}

void SideThread::loop() {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_changed.wait(lock, [this] { return m_quit || m_pending; });
    if (m_quit) return;
    std::function<void()> task = std::move(m_task);
    m_pending = false;
    m_running = true;
    lock.unlock();
    task();
    lock.lock();
    m_running = false;
    m_changed.notify_all();
  }
}

}  // namespace search
