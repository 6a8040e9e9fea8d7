#pragma once

// Decodes the next frames of a search on other threads while the search compares the current
// one; while the search waits for a frame a thread is finishing, it decodes one further ahead
// itself, so that N threads in all keep N cores busy. A thread reads a frame's bytes with the same
// procedure as the extraction and decodes them with the same decoder, so the Frame it hands over
// is the very value the search would have made itself.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "clip/frame.h"
#include "clip/separate_mjpg.h"
#include "search/core/frame_decoder.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/resource_budget.h"

namespace search {

// The machine's cores: the default number of decoding threads. On one core the search decodes
// in line.
int defaultDecodeThreads();

// Each frame decoded ahead holds its picture's bytes in a budget (Frame::reservation) from before
// its decoding until the last holder lets go of it; a frame the budget has no room for is left to
// the search, which decodes it in line.
class DecodeAhead : public clip::FrameSource {
 public:
  // `threads` threads decoding: the search's own, which decodes frames further ahead while it
  // waits for one, and up to `threads` - 1 more taken from the budget's threads, started at the
  // first want(). Without a budget (nullptr) it makes one of its own, of the default picture bytes
  // and `threads` threads.
  DecodeAhead(toolkit::FileSystem& files, int threads, toolkit::ResourceBudget* budget = nullptr);
  ~DecodeAhead() override;
  DecodeAhead(const DecodeAhead&) = delete;
  DecodeAhead& operator=(const DecodeAhead&) = delete;

  // The frames of `path` that the search will read next, in order, with their cell sums for
  // cells of `cellSize` pixels. Waiting work for other frames is dropped.
  void want(const std::string& path, const std::vector<clip::FramePlace>& frames, int cellSize);
  // Frame `index` of `path` if a thread has it or is making it: waits for it. nullptr when the
  // search must read it itself (no thread started it, which then is no thread's work any more,
  // or its read failed, so that the search meets the error itself).
  clip::FramePtr take(const std::string& path, std::int32_t index) override;
  // Waits until every frame wanted is decoded (or failed).
  void wait();

  // The search's own thread and those the budget gave.
  int threads() const { return m_threadCount; }
  toolkit::ResourceBudget& budget() { return m_budget; }
  // How many frames the search took from the threads.
  std::size_t taken() {
    std::lock_guard lock(m_mutex);
    return m_taken;
  }

 private:
  struct Job {
    std::string path;
    clip::FramePlace place;
    int cellSize = 0;
    bool running = false;
    bool done = false;
    clip::FramePtr frame;  // null when its bytes could not be read
  };

  void work();
  // Reads and decodes `job`, which is not started; `lock` holds the mutex, let go meanwhile.
  void run(Job& job, FrameDecoder& decoder, std::unique_lock<std::mutex>& lock);
  std::shared_ptr<Job> firstWaiting() const;

  toolkit::FileSystem& m_files;
  toolkit::ResourceBudget m_budget;  // the caller's, or one of its own
  int m_threadCount;
  clip::FramePool m_pool;
  std::mutex m_mutex;
  std::condition_variable m_workWaiting;  // the threads wait for work
  std::condition_variable m_jobDone;      // the search waits for a frame
  std::deque<std::shared_ptr<Job>> m_jobs;
  std::vector<std::thread> m_threads;
  FrameDecoder m_searchDecoder;  // the search's own thread, while it waits
  bool m_stopping = false;
  std::size_t m_taken = 0;
};

}  // namespace search
