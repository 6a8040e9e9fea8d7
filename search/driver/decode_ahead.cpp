#include "search/driver/decode_ahead.h"

#include <algorithm>

#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/runtime_error.h"

namespace search {

DecodeAhead::DecodeAhead(toolkit::FileSystem& files, int threads)
    : m_files(files), m_threadCount(std::max(threads, 1)) {}

DecodeAhead::~DecodeAhead() {
  {
    std::lock_guard lock(m_mutex);
    m_stopping = true;
    m_jobs.clear();
  }
  m_changed.notify_all();
  for (std::thread& t : m_threads) t.join();
}

void DecodeAhead::want(const std::string& path, const std::vector<FramePlace>& frames) {
  {
    std::lock_guard lock(m_mutex);
    if (m_threads.empty()) {
      for (int i = 0; i < m_threadCount; ++i) m_threads.emplace_back([this] { work(); });
    }
    const auto wanted = [&](const Job& job) {
      return job.path == path &&
             std::any_of(frames.begin(), frames.end(),
                         [&](const FramePlace& p) { return p.frame == job.place.frame; });
    };
    std::erase_if(m_jobs, [&](const std::shared_ptr<Job>& job) {
      return !job->running && !job->done && !wanted(*job);
    });
    for (const FramePlace& place : frames) {
      const bool known = std::any_of(m_jobs.begin(), m_jobs.end(), [&](const auto& job) {
        return job->path == path && job->place.frame == place.frame;
      });
      if (known || place.size <= 0) continue;
      auto job = std::make_shared<Job>();
      job->path = path;
      job->place = place;
      m_jobs.push_back(std::move(job));
    }
    // Finished work nobody took stays only while it may still be wanted.
    std::erase_if(m_jobs,
                  [&](const std::shared_ptr<Job>& job) { return job->done && !wanted(*job); });
  }
  m_changed.notify_all();
}

bool DecodeAhead::take(std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap) {
  std::unique_lock lock(m_mutex);
  for (;;) {
    std::shared_ptr<Job> match;
    for (const auto& job : m_jobs) {
      if (job->place.size == static_cast<std::int64_t>(jpeg.size())) {
        match = job;
        break;
      }
    }
    if (!match) return false;
    if (!match->running && !match->done) {
      // No thread has started it: the search decodes it itself, and no thread does it twice.
      std::erase(m_jobs, match);
      return false;
    }
    m_changed.wait(lock, [&] { return match->done || m_stopping; });
    if (m_stopping) return false;
    std::erase(m_jobs, match);
    if (match->decoded &&
        std::equal(jpeg.begin(), jpeg.end(), match->jpeg.begin(), match->jpeg.end())) {
      bitmap = std::move(match->bitmap);
      ++m_taken;
      return true;
    }
    // Same size, other bytes: look on.
  }
}

void DecodeAhead::clear() {
  std::lock_guard lock(m_mutex);
  // Running work finishes on its own and is dropped with its job.
  m_jobs.clear();
}

void DecodeAhead::work() {
  toolkit::JpgToBmpConverter converter(m_files);
  std::unique_lock lock(m_mutex);
  for (;;) {
    std::shared_ptr<Job> job;
    m_changed.wait(lock, [&] {
      if (m_stopping) return true;
      for (const auto& j : m_jobs) {
        if (!j->running && !j->done) {
          job = j;
          return true;
        }
      }
      return false;
    });
    if (m_stopping) return;
    job->running = true;
    lock.unlock();

    std::vector<std::uint8_t> jpeg(static_cast<std::size_t>(job->place.size));
    bool decoded = false;
    std::vector<std::uint8_t> bitmap;
    try {
      auto file = m_files.openRead(job->path);
      if (file->readAt(job->place.offset, jpeg) == jpeg.size() && converter.decodeBytes(jpeg)) {
        bitmap = converter.takeBitmap();
        decoded = true;
      }
    } catch (const toolkit::RuntimeError&) {
    } catch (const std::bad_alloc&) {
    }

    lock.lock();
    job->jpeg = std::move(jpeg);
    job->bitmap = std::move(bitmap);
    job->decoded = decoded;
    job->running = false;
    job->done = true;
    m_changed.notify_all();
  }
}

}  // namespace search
