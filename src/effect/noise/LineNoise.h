// One-dimensional gradient noise for any source of hashes, and the parts that the noise of more
// dimensions shares with it.
#pragma once

#include <cmath>

#include "effect/noise/Perlin.h"
#include "effect/numeric/Truncate.h"

namespace lomix {

/// Returns the quintic fade of t in [0, 1], every operation rounded to single precision.
constexpr float fade(float t) { return t * t * t * (t * (t * 6.0f - 15.0f) + 10.0f); }

/// Returns a + t * (b - a), every operation rounded to single precision.
constexpr float interpolated(float t, float a, float b) { return a + t * (b - a); }

/// The place of a coordinate on the lattice of whole numbers, which repeats after 256 cells.
struct LatticeCell {
  int index;       ///< 0-255; -0.5 is in cell 255.
  float fraction;  ///< Distance from the cell's start, in [0, 1).

  explicit LatticeCell(float x)
      : index(truncateToInt32(std::floor(x)) & 255), fraction(x - std::floor(x)) {}
};

/// Returns the gradient noise at x: 0 at whole numbers, in [-1, 1], of period 256.
/// hashOf(point): the hash of lattice point 0-256.
template <typename HashOf>
float lineNoise(float x, const HashOf& hashOf) {
  const LatticeCell cell(x);
  const float first = Perlin::grad(hashOf(cell.index), cell.fraction);
  const float second = Perlin::grad(hashOf(cell.index + 1), cell.fraction - 1.0f);
  return interpolated(fade(cell.fraction), first, second);
}

}  // namespace lomix
