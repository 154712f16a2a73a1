// Times and frame rates that hosts compute in floating point.

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "lomix/lomix.h"

namespace {

struct Fraction {
  double numerator, denominator;  // Integers.
};

/// Returns the simplest fraction within 4 ulp of value, with a denominator of at most a million;
/// nothing where there is none.
std::optional<Fraction> nearestFraction(double value) {
  constexpr double kMostDenominator = 1e6;
  constexpr double kMostNumerator = 0x1p53;
  const double size = std::abs(value);
  const double tolerance = size * 0x1p-50;
  // Convergents of the continued fraction, in order of their denominators.
  double rest = size;
  double numerator = 1, denominator = 0, lastNumerator = 0, lastDenominator = 1;
  do {
    const double whole = std::floor(rest);
    const double nextNumerator = whole * numerator + lastNumerator;
    const double nextDenominator = whole * denominator + lastDenominator;
    if (!(nextNumerator < kMostNumerator && nextDenominator <= kMostDenominator)) return {};
    lastNumerator = numerator;
    lastDenominator = denominator;
    numerator = nextNumerator;
    denominator = nextDenominator;
    rest = 1.0 / (rest - whole);
  } while (std::abs(numerator / denominator - size) > tolerance);
  return Fraction{std::copysign(numerator, value), denominator};
}

Fraction frameRate(double framesPerSecond) {
  constexpr double kMost = 1e6;
  if (!(framesPerSecond > 0.0 && framesPerSecond < kMost)) return {24, 1};
  const double whole = std::round(framesPerSecond);
  if (whole > 0.0 && std::abs(framesPerSecond - whole) < 1e-6) return {whole, 1};
  const double slowed = std::round(framesPerSecond * 1.001);
  if (slowed > 0.0 && std::abs(framesPerSecond - slowed / 1.001) < 1e-3) {
    return {slowed * 1000, 1001};
  }
  return nearestFraction(framesPerSecond).value_or(Fraction{framesPerSecond, 1});
}

}  // namespace

double lomix_time_of_seconds(double seconds) {
  const auto fraction = nearestFraction(seconds);
  return fraction ? fraction->numerator / fraction->denominator : seconds;
}

double lomix_time_of_frame(double frame, double frames_per_second) {
  const auto [numerator, denominator] = frameRate(frames_per_second);
  // The product of a whole frame is exact, so that the quotient is the one of the whole numbers.
  const double seconds = frame * denominator / numerator;
  return std::abs(seconds) <= std::numeric_limits<float>::max() ? seconds : 0.0;
}
