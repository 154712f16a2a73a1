// Seeded gradient noise with fractal sums.
#pragma once

#include <cstdint>

#include "effect/geometry/Vec.h"

/// Gradient noise in Ken Perlin's improved manner: quintic fade, twelve edge gradients chosen by
/// the low four bits of a hash. Evaluation is const and may run on any number of threads; building
/// the table (constructors and setSeed) re-seeds and draws from the process-wide MTRand_int32.
class Perlin {
 public:
  std::uint8_t octaves;
  std::int32_t seed;
  /// Hash table: 256 independent random bytes, twice over. Not a permutation: values may repeat.
  std::uint8_t perm[512];

  explicit Perlin(unsigned char octaves);
  Perlin(unsigned char octaves, int seed);

  /// Takes another seed and rebuilds the table.
  void setSeed(int seed);
  void initPermutationTable();

  /// Dot product of the hash's edge gradient with an offset from the lattice point.
  static float grad(int hash, float x);
  static float grad(int hash, float x, float y);
  static float grad(int hash, float x, float y, float z);

  /// Noise at a point: 0 at every lattice point, in [-1, 1] in one dimension, of period 256.
  float noise(float x) const;
  float noise(float x, float y) const;
  float noise(float x, float y, float z) const;

  /// Sum over the octaves, amplitudes 1/2, 1/4, ..., not normalised; 0 for no octaves.
  float fBm(float x) const;
  float fBm(const Vec2<float>& v) const;
  float fBm(const Vec3<float>& v) const;

  /// Analytic gradient of the noise at a point.
  Vec2<float> dnoise(float x, float y) const;
  Vec3<float> dnoise(float x, float y, float z) const;

  /// Octave sums of the gradients, each weighted by its amplitude alone, not by its frequency.
  Vec2<float> dfBm(const Vec2<float>& v) const;
  Vec3<float> dfBm(const Vec3<float>& v) const;
};
