// Timing on a shared machine: the paths to compare run in turns, and are compared turn by turn.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lomix::bench {

/// Returns seconds since a fixed time.
using Clock = double (*)();

double wallClock();
/// Counts the processor time of the process, summed over its threads: only meaningful for one
/// thread.
double processorClock();

class Stopwatch {
 public:
  explicit Stopwatch(Clock clock) : clock_(clock), start_(clock()) {}
  double seconds() const { return clock_() - start_; }

 private:
  Clock clock_;
  double start_;
};

struct Path {
  std::string name;
  std::function<double()> drawFrame;  ///< Returns the seconds it took.
};

struct Effort {
  double sampleSeconds;  ///< A sample is the mean of as many frames as fill this, at least one.
  double totalSeconds;   ///< Turns are added until this time has passed.
  int leastTurns;        ///< Fewest turns, however long they take.
};

/// Seconds per frame of each turn, for each path.
using Samples = std::vector<std::vector<double>>;

/// Runs every path once in each turn; each turn begins with another path.
Samples measureInTurns(const std::vector<Path>& paths, const Effort& effort);

struct Quartiles {
  double low;
  double median;
  double high;
};

/// Returns the quartiles of values, which must not be empty.
Quartiles quartiles(std::vector<double> values);

/// Returns the quartiles of the quotients of each turn.
Quartiles pairedRatio(const std::vector<double>& numerators,
                      const std::vector<double>& denominators);

}  // namespace lomix::bench
