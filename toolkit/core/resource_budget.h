#pragma once

// What one process may spend at once on pictures in flight and on threads. Whoever decodes
// ahead, searches or runs clips side by side draws on the same budget, so that more threads or
// more jobs never multiply the memory a clip can make the program take. The program's main makes
// one and hands it down; a test makes its own. Thread-safe.

#include <cstdint>
#include <memory>

namespace toolkit {

class ResourceBudget;

// Bytes held in a budget until this is reset or destroyed. Move-only; empty by default. It may
// outlive the budget object it came from.
class Reservation {
 public:
  Reservation() = default;
  ~Reservation() { reset(); }
  Reservation(Reservation&& other) noexcept;
  Reservation& operator=(Reservation&& other) noexcept;
  Reservation(const Reservation&) = delete;
  Reservation& operator=(const Reservation&) = delete;

  std::int64_t bytes() const { return m_bytes; }
  explicit operator bool() const { return m_ledger != nullptr; }
  // Gives back all but `bytes`, as when decoding has freed its work memory.
  void shrinkTo(std::int64_t bytes);
  void reset();

 private:
  friend class ResourceBudget;
  struct Ledger;
  Reservation(std::shared_ptr<Ledger> ledger, std::int64_t bytes, const void* holder)
      : m_ledger(std::move(ledger)), m_bytes(bytes), m_holder(holder) {}

  std::shared_ptr<Ledger> m_ledger;
  std::int64_t m_bytes = 0;
  const void* m_holder = nullptr;
};

class ResourceBudget {
 public:
  // Pictures in flight that one process may hold beside what it must: two of the largest
  // pictures, or dozens of a camera's usual ones.
  static constexpr std::int64_t kDefaultPictureBytes = std::int64_t{256} << 20;

  // `pictureBytes` of pictures in flight and `threads` threads (at least 1 each).
  ResourceBudget(std::int64_t pictureBytes, int threads);
  // The cores of this machine, at least 1.
  static int machineThreads();

  // A copy is another handle on the same budget, not a budget of its own.
  ResourceBudget(const ResourceBudget&) = default;
  ResourceBudget& operator=(const ResourceBudget&) = default;

  // `bytes` for work that may be skipped (decoding ahead): an empty reservation when they do not
  // fit beside what is held.
  Reservation tryReserve(std::int64_t bytes);
  // `bytes` for the work `holder` cannot go on without (the frame a search compares next). They
  // are granted when they fit, or else when no other holder is over the budget, and this one then
  // is until its bytes are all given back or the budget has room again; meanwhile it waits. So
  // one holder at a time may go over, and that one never waits: nothing can deadlock.
  Reservation reserve(std::int64_t bytes, const void* holder);

  // Up to `wanted` of the threads not yet taken (0 when none are left); give them back with
  // returnThreads.
  int takeThreads(int wanted);
  void returnThreads(int count);

  std::int64_t pictureBytes() const;
  int threads() const;
  std::int64_t reservedBytes() const;
  // The most bytes ever held at once.
  std::int64_t peakBytes() const;
  int threadsTaken() const;

 private:
  std::shared_ptr<Reservation::Ledger> m_ledger;
};

// Threads taken from a budget while this lives: as many of those wanted as were left.
class ThreadLease {
 public:
  ThreadLease(ResourceBudget& budget, int wanted)
      : m_budget(budget), m_count(budget.takeThreads(wanted)) {}
  ~ThreadLease() { m_budget.returnThreads(m_count); }
  ThreadLease(const ThreadLease&) = delete;
  ThreadLease& operator=(const ThreadLease&) = delete;

  int count() const { return m_count; }

 private:
  ResourceBudget& m_budget;
  int m_count;
};

}  // namespace toolkit
