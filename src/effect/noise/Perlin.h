// Seeded gradient noise in one to three dimensions, with fractal sums.
#pragma once

#include <cstdint>

#include "effect/geometry/Vec.h"

/// Ken Perlin's improved noise: a quintic fade and twelve edge gradients, chosen by the low four
/// bits of a hash. Evaluation is const and may run on any number of threads. The constructors and
/// setSeed build the table: they re-seed the process-wide MTRand_int32 and draw 256 numbers from
/// it, so that one thread in the process may call them at a time.
class Perlin {
 public:
  std::uint8_t octaves;  ///< Octaves that fBm and dfBm sum.
  std::int32_t seed;
  /// Hash table: 256 independent random bytes, then the same again. Values may repeat or be
  /// missing.
  std::uint8_t perm[512];

  /// Takes seed 532 and builds the table.
  explicit Perlin(unsigned char octaves);
  Perlin(unsigned char octaves, int seed);

  /// Takes another seed and builds its table.
  void setSeed(int seed);
  /// Builds the table from seed.
  void initPermutationTable();

  /// Returns the dot product of the hash's edge gradient with an offset from the lattice point.
  /// Coordinates that are not given are 0.
  static float grad(int hash, float x);
  static float grad(int hash, float x, float y);
  static float grad(int hash, float x, float y, float z);

  /// Returns the noise at a point: 0 at whole coordinates, of period 256 along each axis; in [-1,
  /// 1] in one dimension.
  float noise(float x) const;
  float noise(float x, float y) const;
  float noise(float x, float y, float z) const;

  /// Returns the sum of the octaves with amplitudes 1/2, 1/4, ... and frequencies 1, 2, ..., not
  /// normalised; 0 for no octaves.
  float fBm(float x) const;
  float fBm(const Vec2<float>& v) const;
  float fBm(const Vec3<float>& v) const;

  /// Returns the analytic gradient of the noise at a point.
  Vec2<float> dnoise(float x, float y) const;
  Vec3<float> dnoise(float x, float y, float z) const;

  /// Returns the sum of the octaves' gradients, weighted by their amplitudes as in fBm but not
  /// multiplied by their frequencies.
  Vec2<float> dfBm(const Vec2<float>& v) const;
  Vec3<float> dfBm(const Vec3<float>& v) const;
};
