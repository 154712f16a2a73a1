// The formulas behind a row's scan weight and bar brightness, and the constants of its jitter. Rows
// are counted at full resolution, so that downsampling does not change the pattern.
#pragma once

#include "effect/signal/SmoothStep.h"

namespace lomix {

inline constexpr int kScanHarmonics = 20;

/// The jitter is the product of two noises of these seeds, taken this far past the row.
inline constexpr int kFirstJitterSeed = 234;
inline constexpr int kSecondJitterSeed = 1051;
inline constexpr double kFirstJitterOffset = 0.83;
inline constexpr double kSecondJitterOffset = 0.57;

/// The sums of sines of a row before shaping. row and height: full-resolution rows; p: phase.
float scanSum(float row, float height, float p);
float barSum(float row, float height, float p);

constexpr float clampProfile(float value, float high) {
  if (value < 0.0f) return 0.0f;
  if (value > high) return high;
  return value;
}

/// Scan weight in [0, 0.3]: most rows rest at 0, some run together into bands.
constexpr float scanWeight(float sum) {
  return clampProfile(smoothStep(sum / 5.0f, 0.1f, 0.5f), 0.3f);
}

/// Bar brightness in [0, 1].
constexpr float barBrightness(float sum) { return clampProfile(sum, 1.0f); }

}  // namespace lomix
