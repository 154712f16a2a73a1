#include "bench/Pairing.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace lomix::bench {
namespace {

// Where a sample has several frames, an uncounted one comes first: it fills the caches that the
// path before it used.
double takeSample(const Path& path, double sampleSeconds) {
  const double first = path.drawFrame();
  if (first >= sampleSeconds) return first;
  double sum = 0.0;
  int frames = 0;
  while (sum < sampleSeconds) {
    sum += path.drawFrame();
    ++frames;
  }
  return sum / frames;
}

}  // namespace

double wallClock() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double processorClock() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

Samples measureInTurns(const std::vector<Path>& paths, const Effort& effort) {
  Samples samples(paths.size());
  const Stopwatch watch(wallClock);
  for (std::size_t turn = 0;
       turn < static_cast<std::size_t>(effort.leastTurns) || watch.seconds() < effort.totalSeconds;
       ++turn) {
    for (std::size_t i = 0; i < paths.size(); ++i) {
      const std::size_t path = (turn + i) % paths.size();
      samples[path].push_back(takeSample(paths[path], effort.sampleSeconds));
    }
  }
  return samples;
}

Quartiles quartiles(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const auto at = [&values](std::size_t quarters) {
    const std::size_t place = (values.size() - 1) * quarters;
    const double part = static_cast<double>(place % 4) / 4.0;
    const double below = values[place / 4];
    return below + part * (values[(place + 3) / 4] - below);
  };
  return {at(1), at(2), at(3)};
}

Quartiles pairedRatio(const std::vector<double>& numerators,
                      const std::vector<double>& denominators) {
  std::vector<double> ratios(numerators.size());
  std::transform(numerators.begin(), numerators.end(), denominators.begin(), ratios.begin(),
                 [](double n, double d) { return n / d; });
  return quartiles(std::move(ratios));
}

}  // namespace lomix::bench
