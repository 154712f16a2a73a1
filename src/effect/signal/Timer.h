// Wall-clock time of a frame.
#pragma once

#include <cstdint>

class Timer {
 public:
  std::int32_t stopped;  ///< 1 while the timer does not run.
  double startTime;      ///< Seconds of a monotonic clock; -1 until started.
  double stopTime;       ///< Seconds of the same clock; -1 until stopped.

  Timer() : Timer(false) {}
  explicit Timer(bool startNow);

  /// Restarts a running timer.
  void start();
  /// Leaves a stopped timer as it is.
  void stop();
  /// Seconds since the start, up to the stop if there was one; 0 for a timer never started.
  double getSeconds() const;
};
