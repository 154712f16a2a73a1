// Timing on a machine that others use too: what is compared is run in turns, and compared per turn.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lomix::bench {

/// Seconds since some fixed time.
using Clock = double (*)();

double wallClock();
/// Counts while the process runs, for each of its threads: of use for one thread. Stands still
/// while others have the processor.
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
  double totalSeconds;   ///< Turns are added until this is spent,
  int leastTurns;        ///< but at least so many are taken.
};

/// Seconds per frame of each turn, for each path.
using Samples = std::vector<std::vector<double>>;

/// In each turn every path draws, each turn beginning with another path.
Samples measureInTurns(const std::vector<Path>& paths, const Effort& effort);

struct Quartiles {
  double low;
  double median;
  double high;
};

/// values: not empty.
Quartiles quartiles(std::vector<double> values);

/// Of the quotients of each turn.
Quartiles pairedRatio(const std::vector<double>& numerators,
                      const std::vector<double>& denominators);

}  // namespace lomix::bench
