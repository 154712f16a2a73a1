#include "library/WorkerPool.h"

#include <algorithm>

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#endif

namespace lomix::library {
namespace {

// The progress callback is due at least this often.
constexpr int kMostBandRows = 16;
// How often a thread looks again before it sleeps: some 30 microseconds, about what it takes to
// wake a thread. Small frames in a row then find the workers awake.
constexpr int kSpins = 1000;

void pauseBriefly() {
#if defined(__x86_64__) || defined(_M_X64)
  _mm_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

template <typename Condition>
bool spinUntil(const Condition& condition) {
  for (int i = 0; i < kSpins; ++i) {
    if (condition()) return true;
    pauseBriefly();
  }
  return false;
}

}  // namespace

bool WorkerPool::Job::doBand() {
  if (stopped.load(std::memory_order_relaxed)) return false;
  const int first = next.fetch_add(bandRows, std::memory_order_relaxed);
  if (first >= rows) return false;
  const int last = std::min(first + bandRows, rows);
  task.doRows(first, last);
  done.fetch_add(last - first, std::memory_order_relaxed);
  return true;
}

WorkerPool::WorkerPool(int threads) {
  try {
    workers_.reserve(static_cast<std::size_t>(threads - 1));
    for (int i = 1; i < threads; ++i) workers_.emplace_back([this] { work(); });
  } catch (...) {
    stop();
    throw;
  }
}

WorkerPool::~WorkerPool() { stop(); }

void WorkerPool::stop() noexcept {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    frames_.fetch_add(1);
  }
  wake_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

bool WorkerPool::run(RowTask& task, int rows) {
  // Every thread should get several bands, so that none waits long for the last one.
  const int bandRows = std::clamp(rows / (4 * threads()), 1, kMostBandRows);
  Job job{task, rows, bandRows};
  const bool shared = !workers_.empty() && rows > bandRows;
  if (shared) {
    {
      const std::lock_guard lock(mutex_);
      job_ = &job;
      frames_.fetch_add(1);
    }
    wake_.notify_all();
  }
  bool goOn = true;
  while (goOn && job.doBand()) {
    const int done = job.done.load(std::memory_order_relaxed);
    if (done < rows) goOn = task.goOn(done);
  }
  if (!goOn) job.stopped.store(true, std::memory_order_relaxed);
  if (shared) {
    std::unique_lock lock(mutex_);
    // Workers that wake up from now on find nothing to do.
    job_ = nullptr;
    if (inside_.load() != 0) {
      lock.unlock();
      spinUntil([this] { return inside_.load(std::memory_order_acquire) == 0; });
      lock.lock();
      left_.wait(lock, [this] { return inside_.load() == 0; });
    }
  }
  return goOn && task.goOn(rows);
}

void WorkerPool::work() {
  std::uint32_t seen = 0;
  for (;;) {
    spinUntil([this, seen] { return frames_.load(std::memory_order_relaxed) != seen; });
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this, seen] { return frames_.load() != seen; });
    seen = frames_.load();
    if (ending_) return;
    if (job_ == nullptr) continue;
    Job& job = *job_;
    inside_.fetch_add(1);
    lock.unlock();
    while (job.doBand()) {
    }
    lock.lock();
    if (inside_.fetch_sub(1) == 1) left_.notify_all();
  }
}

}  // namespace lomix::library
