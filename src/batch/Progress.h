// Shows the progress of a run.
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

/// Shows the progress of a run while the object exists: a bar on a terminal, elsewhere one line a
/// second.
class Progress {
 public:
  /// total: the number of frames, if known; no progress is shown for one. quiet: shows only the
  /// lines of say(). streams and tally must outlive the object.
  Progress(const Streams& streams, const Tally& tally, std::optional<std::int64_t> total,
           bool quiet);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Prints a line between those of the progress. Any thread.
  void say(const std::string& line);

 private:
  void showRegularly(const std::stop_token& stop);
  void show();

  const Streams& streams_;
  const Tally& tally_;
  const std::optional<std::int64_t> total_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::mutex mutex_;
  std::condition_variable_any ended_;
  bool barShown_ = false;
  std::jthread thread_;
};

/// Returns a line such as "3 of 10 frames, 12.5 frames/s, 1 s left". done: all finished frames,
/// also skipped and failed ones. rendered: those that the rate is computed from. total: nothing
/// when it is not known; the line is then shorter.
std::string progressText(std::int64_t done, std::int64_t rendered,
                         std::optional<std::int64_t> total, double seconds);

}  // namespace lomix::batch
