// Renders the frames of a source to a sink on several threads.
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

/// Counts and times of a run so far. Any thread may read them during the run.
struct Tally {
  std::atomic<std::int64_t> rendered = 0;
  std::atomic<std::int64_t> skipped = 0;
  std::atomic<std::int64_t> failed = 0;
  // Nanoseconds, over all threads.
  std::atomic<std::int64_t> readTime = 0;
  std::atomic<std::int64_t> effectTime = 0;
  std::atomic<std::int64_t> writeTime = 0;
};

/// A frame that could not be read.
struct FrameFailure {
  std::int64_t number;
  std::string message;
};

/// Renders the frames of a source to a sink, several at a time.
class Pipeline {
 public:
  /// Keeps at most threads + 4 pictures in memory. All arguments must outlive the pipeline.
  Pipeline(FrameSource& source, FrameRenderer& renderer, const looks::Look& look, FrameSink& sink,
           int threads);

  /// Called from any thread with the message of a frame that could not be read.
  std::function<void(const std::string&)> onFailure;

  const Tally& tally() const { return tally_; }

  /// Renders until the source ends or a signal interrupts, then finishes the frames in flight.
  /// Skips a frame that cannot be read where the sink allows gaps; throws any other error. Call
  /// once.
  void run();

  /// Returns the skipped frames. Call after run().
  const std::vector<FrameFailure>& failures() const { return failures_; }
  /// Returns the numbers of the frames that were written or kept, in any order. Call after run().
  const std::vector<std::int64_t>& done() const { return done_; }
  /// Returns the signal that ended the run early, 0 for none.
  int interruptedBy() const { return interruptedBy_; }

 private:
  struct Job {
    Frame frame;
    std::int64_t place;  ///< Position among the rendered frames, from 0.
  };

  void work();
  std::optional<Job> nextJob();
  void process(const Job& job);
  void addFailure(FrameFailure failure);
  void addDone(std::int64_t number);
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
  std::vector<std::int64_t> done_;
  std::exception_ptr error_;
  std::atomic<bool> stop_ = false;
  std::atomic<bool> failed_ = false;
  std::atomic<int> interruptedBy_ = 0;
};

}  // namespace lomix::batch
