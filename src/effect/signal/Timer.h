// A stopwatch for one frame.
#pragma once

#include <cstdint>

/// Measures seconds on a monotonic clock. One thread at a time may use an object.
class Timer {
 public:
  std::int32_t stopped;  ///< 1 while the timer is stopped, 0 while it runs.
  double startTime;      ///< Seconds of a monotonic clock; -1 until started.
  double stopTime;       ///< Seconds of the same clock; -1 until stopped.

  /// Makes a stopped timer.
  Timer() : Timer(false) {}
  /// Makes a timer and starts it where startNow is true.
  explicit Timer(bool startNow);

  /// Starts the timer, or restarts a running one.
  void start();
  /// Stops a running timer; a stopped one keeps its time.
  void stop();
  /// Returns the seconds from the start to the stop, or to now while the timer runs; 0 for a timer
  /// that was never started.
  double getSeconds() const;
};
