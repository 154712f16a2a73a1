// Times and frame rates that hosts pass as floating point, as the fractions that they were.
#pragma once

#include <cstdint>

namespace lomix::plugins {

/// numerator / denominator; denominator 0: no fraction was found.
struct Fraction {
  std::int64_t numerator = 0;
  std::int64_t denominator = 0;
  bool operator==(const Fraction&) const = default;
};

/// Returns the simplest fraction within 4 ulp of value, with a denominator of at most a million. A
/// time that a host computed from whole numbers, such as 1001 * (1 / 30000.0), becomes 1001 / 30000
/// again. value: finite.
Fraction nearestFraction(double value);

/// Returns a frame rate as an exact fraction: whole rates; 24000 / 1001 and the like, however they
/// are rounded (23.976, 23.97602, 29.97, 59.94); any other by nearestFraction(). Never fails: a
/// rate that is not above 0 and finite gives 24.
Fraction frameRate(double framesPerSecond);

}  // namespace lomix::plugins
