#include "plugins/Fraction.h"

#include <cmath>

namespace lomix::plugins {

Fraction nearestFraction(double value) {
  constexpr double kMostDenominator = 1e6;
  constexpr double kMostNumerator = 0x1p53;
  const double size = std::abs(value);
  const double tolerance = size * 0x1p-50;
  // Convergents of the continued fraction, in order of their denominators.
  double rest = size;
  double numerator = 1, denominator = 0, lastNumerator = 0, lastDenominator = 1;
  for (;;) {
    const double whole = std::floor(rest);
    const double nextNumerator = whole * numerator + lastNumerator;
    const double nextDenominator = whole * denominator + lastDenominator;
    if (!(nextNumerator < kMostNumerator && nextDenominator <= kMostDenominator)) return {};
    lastNumerator = numerator;
    lastDenominator = denominator;
    numerator = nextNumerator;
    denominator = nextDenominator;
    if (std::abs(numerator / denominator - size) <= tolerance) break;
    rest = 1.0 / (rest - whole);
  }
  return {static_cast<std::int64_t>(std::copysign(numerator, value)),
          static_cast<std::int64_t>(denominator)};
}

Fraction frameRate(double framesPerSecond) {
  constexpr double kMost = 1e6;
  if (!(framesPerSecond > 0.0 && framesPerSecond < kMost)) return {24, 1};
  const double whole = std::round(framesPerSecond);
  if (std::abs(framesPerSecond - whole) < 1e-6) return {static_cast<std::int64_t>(whole), 1};
  const double slowed = std::round(framesPerSecond * 1.001);
  if (std::abs(framesPerSecond - slowed / 1.001) < 1e-3) {
    return {static_cast<std::int64_t>(slowed) * 1000, 1001};
  }
  const Fraction exact = nearestFraction(framesPerSecond);
  if (exact.denominator > 0) return exact;
  return {std::llround(framesPerSecond * 1e6), 1'000'000};
}

}  // namespace lomix::plugins
