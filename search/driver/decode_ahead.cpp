#include "search/driver/decode_ahead.h"

#include <algorithm>

#include "toolkit/core/runtime_error.h"

namespace search {

int defaultDecodeThreads() {
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

// Enough frames for every job in flight and those the search still holds; more would only keep
// memory.
DecodeAhead::DecodeAhead(toolkit::FileSystem& files, int threads, toolkit::ResourceBudget* budget)
    : m_files(files),
      m_budget(budget ? *budget
                      : toolkit::ResourceBudget(toolkit::ResourceBudget::kDefaultPictureBytes,
                                                std::max(threads, 1))),
      m_threadCount(1 + m_budget.takeThreads(std::max(threads, 1) - 1)),
      m_pool(static_cast<std::size_t>(4 * m_threadCount + 4),
             static_cast<std::size_t>(m_budget.pictureBytes()), &m_budget) {}

DecodeAhead::~DecodeAhead() {
  {
    std::lock_guard lock(m_mutex);
    m_stopping = true;
    m_jobs.clear();
  }
  m_workWaiting.notify_all();
  m_jobDone.notify_all();
  for (std::thread& t : m_threads) t.join();
  m_budget.returnThreads(m_threadCount - 1);
}

void DecodeAhead::want(const std::string& path, const std::vector<clip::FramePlace>& frames,
                       int cellSize) {
  int added = 0;
  {
    std::lock_guard lock(m_mutex);
    if (m_threads.empty()) {
      for (int i = 1; i < m_threadCount; ++i) m_threads.emplace_back([this] { work(); });
    }
    const auto wanted = [&](const Job& job) {
      return job.path == path && job.cellSize == cellSize &&
             std::any_of(frames.begin(), frames.end(),
                         [&](const clip::FramePlace& p) { return p.frame == job.place.frame; });
    };
    // Work not started and finished work nobody took stay only while they may still be wanted;
    // running work finishes on its own and is dropped when it is done.
    std::erase_if(m_jobs,
                  [&](const std::shared_ptr<Job>& job) { return !job->running && !wanted(*job); });
    for (const clip::FramePlace& place : frames) {
      const bool known = std::any_of(m_jobs.begin(), m_jobs.end(), [&](const auto& job) {
        return job->path == path && job->place.frame == place.frame && job->cellSize == cellSize;
      });
      if (known || place.size <= 0) continue;
      auto job = std::make_shared<Job>();
      job->path = path;
      job->place = place;
      job->cellSize = cellSize;
      m_jobs.push_back(std::move(job));
      ++added;
    }
  }
  for (int i = 0; i < added; ++i) m_workWaiting.notify_one();
}

clip::FramePtr DecodeAhead::take(const std::string& path, std::int32_t index) {
  std::unique_lock lock(m_mutex);
  const auto it = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const auto& job) {
    return job->path == path && job->place.frame == index;
  });
  if (it == m_jobs.end()) return nullptr;
  const std::shared_ptr<Job> job = *it;
  m_jobs.erase(it);
  if (!job->running && !job->done) return nullptr;
  while (!job->done && !m_stopping) {
    // While a thread finishes this frame, the search decodes one further ahead.
    if (const std::shared_ptr<Job> ahead = firstWaiting()) {
      run(*ahead, m_searchDecoder, lock);
    } else {
      m_jobDone.wait(lock, [&] { return job->done || m_stopping || firstWaiting() != nullptr; });
    }
  }
  if (m_stopping || !job->frame) return nullptr;
  ++m_taken;
  return std::move(job->frame);
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

void DecodeAhead::run(Job& job, FrameDecoder& decoder, std::unique_lock<std::mutex>& lock) {
  job.running = true;
  clip::FramePtr frame = m_pool.make();
  lock.unlock();

  frame->index = job.place.frame;
  try {
    // The clip is opened for each frame, as the extraction opens it: a clip that has gone away
    // is met as soon as the next frame is read.
    clip::readFrameBytes(*m_files.openRead(job.path), job.place, frame->jpeg);
    frame->reservation =
        m_budget.tryReserve(FrameDecoder::decodingBytes(frame->jpeg, job.cellSize));
    if (frame->reservation) {
      decoder.decode(*frame, job.cellSize);
    } else {
      frame.reset();  // no room: the search decodes it in line
    }
  } catch (const toolkit::RuntimeError&) {
    frame.reset();
  } catch (const std::bad_alloc&) {
    frame.reset();
  }

  lock.lock();
  job.frame = std::move(frame);
  job.running = false;
  job.done = true;
  m_jobDone.notify_all();
}

void DecodeAhead::work() {
  FrameDecoder decoder;
  std::unique_lock lock(m_mutex);
  for (;;) {
    std::shared_ptr<Job> job = firstWaiting();
    if (!m_stopping && !job) {
      m_workWaiting.wait(lock, [&] { return m_stopping || (job = firstWaiting()) != nullptr; });
    }
    if (m_stopping) return;
    run(*job, decoder, lock);
  }
}

}  // namespace search
