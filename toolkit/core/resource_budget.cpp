#include "toolkit/core/resource_budget.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace toolkit {

// The counts, kept apart from the budget object so that a reservation may outlive it.
struct Reservation::Ledger {
  Ledger(std::int64_t bytes, int threadCount) : pictureBytes(bytes), threads(threadCount) {}

  void grant(std::int64_t bytes, const void* holder) {
    reserved += bytes;
    peak = std::max(peak, reserved);
    if (holder) heldBy[holder] += bytes;
  }

  void release(std::int64_t bytes, const void* holder) {
    {
      std::lock_guard lock(mutex);
      reserved -= bytes;
      const auto it = holder ? heldBy.find(holder) : heldBy.end();
      if (it != heldBy.end() && (it->second -= bytes) <= 0) {
        heldBy.erase(it);
        if (over == holder) over = nullptr;
      }
      if (reserved <= pictureBytes) over = nullptr;
    }
    released.notify_all();
  }

  const std::int64_t pictureBytes;
  const int threads;
  std::mutex mutex;
  std::condition_variable released;
  std::int64_t reserved = 0;
  std::int64_t peak = 0;
  std::map<const void*, std::int64_t> heldBy;  // bytes of each holder of reserve()
  const void* over = nullptr;                  // the holder allowed over the budget, if any
  int threadsTaken = 0;
};

Reservation::Reservation(Reservation&& other) noexcept
    : m_ledger(std::move(other.m_ledger)),
      m_bytes(std::exchange(other.m_bytes, 0)),
      m_holder(other.m_holder) {}

Reservation& Reservation::operator=(Reservation&& other) noexcept {
  if (this != &other) {
    reset();
    m_ledger = std::move(other.m_ledger);
    m_bytes = std::exchange(other.m_bytes, 0);
    m_holder = other.m_holder;
  }
  return *this;
}

void Reservation::shrinkTo(std::int64_t bytes) {
  bytes = std::max<std::int64_t>(bytes, 0);
  if (!m_ledger || bytes >= m_bytes) return;
  m_ledger->release(m_bytes - bytes, m_holder);
  m_bytes = bytes;
}

void Reservation::reset() {
  if (!m_ledger) return;
  m_ledger->release(m_bytes, m_holder);
  m_ledger.reset();
  m_bytes = 0;
}

ResourceBudget::ResourceBudget(std::int64_t pictureBytes, int threads)
    : m_ledger(std::make_shared<Reservation::Ledger>(std::max<std::int64_t>(pictureBytes, 1),
                                                     std::max(threads, 1))) {}

int ResourceBudget::machineThreads() {
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

Reservation ResourceBudget::tryReserve(std::int64_t bytes) {
  bytes = std::max<std::int64_t>(bytes, 0);
  Reservation::Ledger& l = *m_ledger;
  std::lock_guard lock(l.mutex);
  if (l.reserved + bytes > l.pictureBytes) return {};
  l.grant(bytes, nullptr);
  return Reservation(m_ledger, bytes, nullptr);
}

Reservation ResourceBudget::reserve(std::int64_t bytes, const void* holder) {
  bytes = std::max<std::int64_t>(bytes, 0);
  Reservation::Ledger& l = *m_ledger;
  std::unique_lock lock(l.mutex);
  l.released.wait(lock, [&] {
    return l.reserved + bytes <= l.pictureBytes || l.over == nullptr || l.over == holder;
  });
  if (l.reserved + bytes > l.pictureBytes) l.over = holder;
  l.grant(bytes, holder);
  return Reservation(m_ledger, bytes, holder);
}

int ResourceBudget::takeThreads(int wanted) {
  std::lock_guard lock(m_ledger->mutex);
  const int granted =
      std::clamp(m_ledger->threads - m_ledger->threadsTaken, 0, std::max(wanted, 0));
  m_ledger->threadsTaken += granted;
  return granted;
}

void ResourceBudget::returnThreads(int count) {
  std::lock_guard lock(m_ledger->mutex);
  m_ledger->threadsTaken = std::max(0, m_ledger->threadsTaken - count);
}

std::int64_t ResourceBudget::pictureBytes() const { return m_ledger->pictureBytes; }

int ResourceBudget::threads() const { return m_ledger->threads; }

std::int64_t ResourceBudget::reservedBytes() const {
  std::lock_guard lock(m_ledger->mutex);
  return m_ledger->reserved;
}

std::int64_t ResourceBudget::peakBytes() const {
  std::lock_guard lock(m_ledger->mutex);
  return m_ledger->peak;
}

int ResourceBudget::threadsTaken() const {
  std::lock_guard lock(m_ledger->mutex);
  return m_ledger->threadsTaken;
}

}  // namespace toolkit
