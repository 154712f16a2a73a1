#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "batch/Pipeline.h"
#include "support/Streams.h"

namespace lomix::batch {

/// Tells how a run gets on while it lives: a bar on a terminal, elsewhere a line a second.
class Progress {
 public:
  /// total: the frames of the run where that is known; one alone needs no progress. quiet: only
  /// what say() is given.
  Progress(const Streams& streams, const Tally& tally, std::optional<std::int64_t> total,
           bool quiet);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Prints a line of its own. Any thread.
  void say(const std::string& line);

 private:
  void tellRegularly(const std::stop_token& stop);
  void tell();

  const Streams& streams_;
  const Tally& tally_;
  const std::optional<std::int64_t> total_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::mutex mutex_;
  std::condition_variable_any ended_;
  bool barShown_ = false;
  std::jthread thread_;
};

/// "3 of 10 frames, 12.5 frames/s, 1 s left", for people; a total of nothing leaves out what needs
/// it. done counts what was skipped too, rendered alone makes the rate.
std::string progressText(std::int64_t done, std::int64_t rendered,
                         std::optional<std::int64_t> total, double seconds);

}  // namespace lomix::batch
