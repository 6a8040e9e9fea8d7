#include "search/driver/decode_ahead.h"

#include <algorithm>

#include "toolkit/converters/jpg_to_bmp.h"
#include "toolkit/core/runtime_error.h"

namespace search {

int defaultDecodeThreads() {
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

DecodeAhead::DecodeAhead(toolkit::FileSystem& files, int threads)
    : m_files(files), m_threadCount(std::max(threads, 1)) {}

DecodeAhead::~DecodeAhead() {
  {
    std::lock_guard lock(m_mutex);
    m_stopping = true;
    m_jobs.clear();
  }
  m_workWaiting.notify_all();
  m_jobDone.notify_all();
  for (std::thread& t : m_threads) t.join();
}

void DecodeAhead::recycle(Job& job) {
  // Enough for every job in flight; more would only hold memory.
  const auto keep = static_cast<std::size_t>(4 * m_threadCount + 2);
  if (!job.bitmap.empty() && m_spare.size() < keep) m_spare.push_back(std::move(job.bitmap));
  job.bitmap.clear();
}

void DecodeAhead::want(const std::string& path, const std::vector<FramePlace>& frames) {
  int added = 0;
  {
    std::lock_guard lock(m_mutex);
    if (m_threads.empty()) {
      for (int i = 1; i < m_threadCount; ++i) m_threads.emplace_back([this] { work(); });
    }
    // The search's own thread keeps no other clip open.
    if (m_searchDecoder.openPath != path) {
      m_searchDecoder.file.reset();
      m_searchDecoder.openPath.clear();
    }
    const auto wanted = [&](const Job& job) {
      return job.path == path &&
             std::any_of(frames.begin(), frames.end(),
                         [&](const FramePlace& p) { return p.frame == job.place.frame; });
    };
    // Work not started and finished work nobody took stay only while they may still be wanted;
    // running work finishes on its own and is dropped when it is done.
    std::erase_if(m_jobs, [&](const std::shared_ptr<Job>& job) {
      if (job->running || wanted(*job)) return false;
      recycle(*job);
      return true;
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
      ++added;
    }
  }
  for (int i = 0; i < added; ++i) m_workWaiting.notify_one();
}

bool DecodeAhead::take(const std::string& path, std::int32_t frame,
                       std::span<const std::uint8_t> jpeg, std::vector<std::uint8_t>& bitmap) {
  std::unique_lock lock(m_mutex);
  const auto it = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const auto& job) {
    return job->path == path && job->place.frame == frame;
  });
  if (it == m_jobs.end()) return false;
  const std::shared_ptr<Job> job = *it;
  if (!job->running && !job->done) {
    // No thread has started it: the search decodes it itself, and no thread does it twice.
    std::erase(m_jobs, job);
    return false;
  }
  while (!job->done && !m_stopping) {
    // While a thread finishes this frame, the search decodes one further ahead.
    if (const std::shared_ptr<Job> ahead = firstWaiting()) {
      run(*ahead, m_searchDecoder, lock);
    } else {
      m_jobDone.wait(lock, [&] { return job->done || m_stopping || firstWaiting() != nullptr; });
    }
  }
  if (m_stopping) return false;
  std::erase(m_jobs, job);
  const std::span<const std::uint8_t> own = job->jpeg;
  const bool counts = job->decoded && own.size() <= jpeg.size() &&
                      std::equal(own.begin(), own.end(), jpeg.begin()) &&
                      (own.size() == jpeg.size() || job->clean);
  if (counts) {
    bitmap.swap(job->bitmap);
    ++m_taken;
  }
  recycle(*job);
  return counts;
}

void DecodeAhead::wait() {
  std::unique_lock lock(m_mutex);
  m_jobDone.wait(lock, [&] {
    return m_stopping ||
           std::all_of(m_jobs.begin(), m_jobs.end(), [](const auto& job) { return job->done; });
  });
}

std::shared_ptr<DecodeAhead::Job> DecodeAhead::firstWaiting() const {
  for (const auto& job : m_jobs) {
    if (!job->running && !job->done) return job;
  }
  return nullptr;
}

void DecodeAhead::run(Job& job, Decoder& d, std::unique_lock<std::mutex>& lock) {
  job.running = true;
  if (d.bitmap.empty() && !m_spare.empty()) {
    d.bitmap = std::move(m_spare.back());
    m_spare.pop_back();
  }
  lock.unlock();

  bool decoded = false;
  bool clean = false;
  try {
    if (!d.file || d.openPath != job.path) {
      d.file.reset();
      d.openPath.clear();
      d.file = m_files.openRead(job.path);
      d.openPath = job.path;
    }
    // A damaged index may give any size: only bytes the clip holds are read.
    const std::int64_t length = d.file->length();
    const bool inside = job.place.offset >= 0 && job.place.offset <= length &&
                        job.place.size <= length - job.place.offset;
    d.jpeg.resize(inside ? static_cast<std::size_t>(job.place.size) : 0);
    decoded = inside && d.file->readAt(job.place.offset, d.jpeg) == d.jpeg.size() &&
              d.jpegDecoder.decode(d.jpeg, d.bitmap);
    clean = decoded && d.jpegDecoder.clean();
  } catch (const toolkit::RuntimeError&) {
  } catch (const std::bad_alloc&) {
  }

  lock.lock();
  job.jpeg.swap(d.jpeg);
  if (decoded) job.bitmap.swap(d.bitmap);
  job.decoded = decoded;
  job.clean = clean;
  job.running = false;
  job.done = true;
  // A job dropped while it ran is in no list any more: its buffer goes back at once.
  if (std::none_of(m_jobs.begin(), m_jobs.end(), [&](const auto& j) { return j.get() == &job; })) {
    recycle(job);
  }
  m_jobDone.notify_all();
}

void DecodeAhead::work() {
  Decoder decoder;
  std::unique_lock lock(m_mutex);
  for (;;) {
    std::shared_ptr<Job> job = firstWaiting();
    if (!m_stopping && !job) {
      decoder.file.reset();
      decoder.openPath.clear();
      m_workWaiting.wait(lock, [&] { return m_stopping || (job = firstWaiting()) != nullptr; });
    }
    if (m_stopping) return;
    run(*job, decoder, lock);
  }
}

}  // namespace search
