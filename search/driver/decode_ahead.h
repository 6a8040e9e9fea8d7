#pragma once

// Decodes the next frames of a search on other threads while the search compares the current
// one; while the search waits for a frame a thread is finishing, it decodes one further ahead
// itself, so that N threads in all keep N cores busy. The search itself does not change: it still extracts each frame to "Temp.jpg" and has it
// converted to "1.bmp"; it takes a bitmap decoded ahead only when that bitmap is the one its own
// decoding of the bytes it read would give. libjpeg-turbo decodes the same bytes to the same
// pixels, so what the search finds and leaves is the same in every bit.
//
// "Temp.jpg" is never shortened: after a longer frame its tail stays behind the new frame's
// bytes. A frame's bitmap therefore counts for the bytes read when they are the frame's bytes
// exactly, or the frame's bytes and a tail behind a stream that decoded cleanly to its end
// marker, since the decoder never reads past that marker.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/file_system.h"

namespace search {

// Where a frame's bytes lie in a clip.
struct FramePlace {
  std::int32_t frame = 0;
  std::int64_t offset = 0;  // from 0
  std::int32_t size = 0;
};

// The machine's cores: the default number of decoding threads. On one core the search decodes
// in line.
int defaultDecodeThreads();

class DecodeAhead {
 public:
  // `threads` threads decoding: the search's own, which decodes frames further ahead while it
  // waits for one, and `threads` - 1 more, started at the first want().
  DecodeAhead(toolkit::FileSystem& files, int threads);
  ~DecodeAhead();
  DecodeAhead(const DecodeAhead&) = delete;
  DecodeAhead& operator=(const DecodeAhead&) = delete;

  // The frames of `path` that the search will read next, in order. Waiting work for other frames
  // is dropped.
  void want(const std::string& path, const std::vector<FramePlace>& frames);
  // The bitmap of frame `frame` of `path`, if a thread has it or is making it and it counts for
  // the bytes `jpeg` the search read: waits for it, swaps it with `bitmap` and returns true. The
  // buffer `bitmap` held is kept for reuse. Returns false when the search must decode `jpeg`
  // itself; a frame no thread has started is then no thread's work any more.
  bool take(const std::string& path, std::int32_t frame, std::span<const std::uint8_t> jpeg,
            std::vector<std::uint8_t>& bitmap);
  // Waits until every frame wanted is decoded (or failed to decode).
  void wait();

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
    bool clean = false;  // decoded to the end marker with no warning
    std::vector<std::uint8_t> jpeg;
    std::vector<std::uint8_t> bitmap;
  };

  // What one thread needs to decode: the decoder, the clip open while there is work on it, and
  // buffers.
  struct Decoder {
    toolkit::JpegBitmapDecoder jpegDecoder;
    std::string openPath;
    std::unique_ptr<toolkit::ReadableFile> file;
    std::vector<std::uint8_t> jpeg;
    std::vector<std::uint8_t> bitmap;
  };

  void work();
  // Decodes `job`, which is not started; `lock` holds the mutex, which is let go meanwhile.
  void run(Job& job, Decoder& decoder, std::unique_lock<std::mutex>& lock);
  std::shared_ptr<Job> firstWaiting() const;
  // Keeps a dropped job's bitmap buffer for the next job; the caller holds the lock.
  void recycle(Job& job);

  toolkit::FileSystem& m_files;
  int m_threadCount;
  std::mutex m_mutex;
  std::condition_variable m_workWaiting;  // the threads wait for work
  std::condition_variable m_jobDone;      // the search waits for a bitmap
  std::deque<std::shared_ptr<Job>> m_jobs;
  // Bitmap buffers of the frame size, so that a frame decoded ahead costs no allocation and no
  // fresh pages.
  std::vector<std::vector<std::uint8_t>> m_spare;
  std::vector<std::thread> m_threads;
  Decoder m_searchDecoder;  // the search's own thread, while it waits
  bool m_stopping = false;
  std::size_t m_taken = 0;
};

}  // namespace search
