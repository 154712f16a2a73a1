// Worker threads that work on the rows of one frame after another.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace lomix::library {

/// Work on the rows of a frame, in any order and on any number of threads at once.
class RowTask {
 public:
  RowTask() = default;
  virtual ~RowTask() = default;
  RowTask(const RowTask&) = delete;
  RowTask& operator=(const RowTask&) = delete;

  /// Does rows first to last - 1. Throws nothing.
  virtual void doRows(int first, int last) const noexcept = 0;
  /// Called on the thread that called WorkerPool::run(), with the rows that are done so far.
  /// Returns false to leave out the rest.
  virtual bool goOn(int /*rowsDone*/) { return true; }
};

/// A fixed number of threads, the caller's among them. One thread at a time may use an object.
class WorkerPool {
 public:
  /// threads: from 1. Throws std::system_error or std::bad_alloc when the system starts no more.
  explicit WorkerPool(int threads);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  int threads() const { return static_cast<int>(workers_.size()) + 1; }

  /// Does rows 0 to rows - 1 in bands of at most 16 and calls goOn() after each band of the
  /// caller's thread and at the end. Allocates nothing. Returns false where goOn() did. No thread
  /// is inside the task after the return.
  bool run(RowTask& task, int rows);

 private:
  /// The rows of a task, shared out in bands.
  struct Job {
    RowTask& task;
    const int rows;
    const int bandRows;
    std::atomic<int> next = 0;
    std::atomic<int> done = 0;
    std::atomic<bool> stopped = false;

    bool doBand();
  };

  void work();
  void stop() noexcept;

  std::vector<std::thread> workers_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable left_;
  Job* job_ = nullptr;   ///< Guarded by mutex_; null between frames.
  bool ending_ = false;  ///< Guarded by mutex_.
  // Written under mutex_, read without it while spinning.
  std::atomic<std::uint32_t> frames_ = 0;
  std::atomic<int> inside_ = 0;  ///< Workers that are inside a task.
};

}  // namespace lomix::library
