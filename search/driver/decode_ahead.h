#pragma once

// Decodes the next frames of a search on other threads while the search compares the current
// one. The search itself does not change: it still extracts each frame to "Temp.jpg" and has it
// converted to "1.bmp"; only when the JPEG bytes the converter reads are exactly those of a frame
// decoded ahead does it take that bitmap instead of decoding again. libjpeg-turbo decodes the
// same bytes to the same pixels, so what the search finds and leaves is the same in every bit.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/core/file_system.h"

namespace search {

// Where a frame's bytes lie in a clip.
struct FramePlace {
  std::int32_t frame = 0;
  std::int64_t offset = 0;  // from 0
  std::int32_t size = 0;
};

class DecodeAhead {
 public:
  // `threads` decoding threads, started at the first want().
  DecodeAhead(toolkit::FileSystem& files, int threads);
  ~DecodeAhead();
  DecodeAhead(const DecodeAhead&) = delete;
  DecodeAhead& operator=(const DecodeAhead&) = delete;

  // The frames of `path` that the search will read next, in order. Waiting work for other frames
  // is dropped.
  void want(const std::string& path, const std::vector<FramePlace>& frames);
  // The bitmap of exactly these JPEG bytes, if a thread has it or is making it: waits for it,
  // moves it into `bitmap` and returns true.
  bool take(std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap);
  // Drops all work: the search has ended.
  void clear();

  int threads() const { return m_threadCount; }
  // How many bitmaps the search took from the threads.
  std::size_t taken() {
    std::lock_guard lock(m_mutex);
    return m_taken;
  }

 private:
  struct Job {
    std::string path;
    FramePlace place;
    bool running = false;
    bool done = false;
    bool decoded = false;
    std::vector<std::uint8_t> jpeg;
    std::vector<std::uint8_t> bitmap;
  };

  void work();

  toolkit::FileSystem& m_files;
  int m_threadCount;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<std::shared_ptr<Job>> m_jobs;
  std::vector<std::thread> m_threads;
  bool m_stopping = false;
  std::size_t m_taken = 0;
};

}  // namespace search
