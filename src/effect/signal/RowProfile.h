// The formulas of a row's three profile values: scan weight, bar brightness and signal jitter. Rows
// are counted at full resolution, so that downsampling does not change the pattern.
#pragma once

#include "effect/numeric/ZeroIfNegative.h"
#include "effect/signal/SmoothStep.h"

namespace lomix {

/// Sines in a scan sum beside its first.
inline constexpr int kScanHarmonics = 20;

/// Seeds of the two noises of the signal jitter.
inline constexpr int kFirstJitterSeed = 234;
inline constexpr int kSecondJitterSeed = 1051;

/// Returns the sum of 21 sines that scanWeight() shapes. row, height: full-resolution rows; p:
/// phase in seconds.
float scanSum(float row, float height, float p);
/// Returns the sum of two sines that barBrightness() shapes; arguments as for scanSum().
float barSum(float row, float height, float p);

/// Returns value, raised to 0 or lowered to high where it is beyond them; -0 and NaN stay. high >
/// 0.
constexpr float clampProfile(float value, float high) {
  return value > high ? high : zeroIfNegative(value);
}

/// Returns the scan weight of a row in [0, 0.3] from its scanSum(). Most rows get 0; neighbours
/// with more form bands.
constexpr float scanWeight(float sum) {
  return clampProfile(smoothStep(sum / 5.0f, 0.1f, 0.5f), 0.3f);
}

/// Returns the bar brightness of a row in [0, 1] from its barSum().
constexpr float barBrightness(float sum) { return clampProfile(sum, 1.0f); }

/// Returns the signal jitter of a row in [-1, 1]: the product of two noises, each a little way past
/// the row. row: full-resolution rows; p: phase in seconds. first(x), second(x): one-dimensional
/// noise of kFirstJitterSeed and of kSecondJitterSeed, called once each in this order.
template <typename First, typename Second>
float signalJitter(float row, float p, First&& first, Second&& second) {
  const float at = row + p;
  // The sums are in double precision, rounded once.
  const float firstNoise = first(static_cast<float>(at + 0.83));
  const float secondNoise = second(static_cast<float>(at + 0.57));
  return firstNoise * secondNoise;
}

}  // namespace lomix
