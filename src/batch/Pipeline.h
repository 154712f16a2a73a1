#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "batch/Frame.h"
#include "batch/FrameRenderer.h"
#include "batch/PicturePool.h"

namespace lomix::batch {

/// What a run has done so far; may be read while it works.
struct Tally {
  std::atomic<std::int64_t> rendered = 0;
  std::atomic<std::int64_t> skipped = 0;
  std::atomic<std::int64_t> failed = 0;
  // Nanoseconds, over all threads.
  std::atomic<std::int64_t> readTime = 0;
  std::atomic<std::int64_t> effectTime = 0;
  std::atomic<std::int64_t> writeTime = 0;
};

struct FrameFailure {
  std::int64_t number;
  std::string message;
};

/// Takes frames from a source through the effect to a sink, several at a time.
class Pipeline {
 public:
  /// Keeps at most threads + 4 pictures in memory. The parts must outlive it.
  Pipeline(FrameSource& source, FrameRenderer& renderer, const looks::Look& look, FrameSink& sink,
           int threads);

  /// Called from any thread with the message of a frame that could not be read.
  std::function<void(const std::string&)> onFailure;

  const Tally& tally() const { return tally_; }

  /// Works until the source ends or a signal interrupts, then finishes the frames in flight. A
  /// frame that cannot be read is left out where the sink allows gaps; any other error ends the
  /// run and is thrown. Call once.
  void run();

  const std::vector<FrameFailure>& failures() const { return failures_; }
  /// The signal that ended the run early, 0 for none.
  int interruptedBy() const { return interruptedBy_; }

 private:
  struct Job {
    Frame frame;
    std::int64_t place;  ///< Among the rendered frames.
  };

  void work();
  std::optional<Job> nextJob();
  void process(const Job& job);
  void addFailure(FrameFailure failure);
  bool load(const Frame& frame, media::Picture& picture);
  void append(std::int64_t place, media::EncodableFrame& prepared);
  void fail(std::exception_ptr error);

  FrameSource& source_;
  FrameRenderer& renderer_;
  const looks::Look& look_;
  FrameSink& sink_;
  const int threads_;
  int bandThreads_ = 1;  ///< Threads of one frame.
  PicturePool pictures_;
  Tally tally_;

  std::mutex sourceMutex_;
  std::int64_t nextPlace_ = 0;

  std::mutex orderMutex_;
  std::condition_variable orderChanged_;
  std::int64_t appended_ = 0;

  std::mutex resultMutex_;
  std::vector<FrameFailure> failures_;
  std::exception_ptr error_;
  std::atomic<bool> stop_ = false;
  std::atomic<bool> failed_ = false;
  std::atomic<int> interruptedBy_ = 0;
};

}  // namespace lomix::batch
