// The Mersenne twister and the gradient noise.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "effect/noise/MTRand_int32.h"
#include "effect/noise/Perlin.h"

namespace lomix::unit {
namespace {

TEST(MersenneTwister, GivesThePublishedSequences) {
  MTRand_int32 random;
  random.seed(5489);
  EXPECT_TRUE(MTRand_int32::init);
  EXPECT_EQ(random.rand_int32(), 3499211612u);
  for (int i = 2; i < 10000; ++i) random.rand_int32();
  EXPECT_EQ(random.rand_int32(), 4123659995u);

  constexpr unsigned long kKey[] = {0x123, 0x234, 0x345, 0x456};
  random.seed(kKey, 4);
  for (const unsigned long expected :
       {1067595299ul, 955945823ul, 477289528ul, 4107218783ul, 4228976476ul}) {
    EXPECT_EQ(random.rand_int32(), expected);
  }
}

TEST(MersenneTwister, AgreesWithTheStandardLibraryAcrossRegenerations) {
  for (const unsigned seed : {0u, 1u, 234u, 1051u, 0xFFFFFFFFu}) {
    MTRand_int32 random;
    random.seed(seed);
    std::mt19937 reference(seed);
    for (int i = 0; i < 3 * MTRand_int32::kStateSize; ++i) {
      ASSERT_EQ(random.rand_int32(), reference()) << "seed " << seed << ", output " << i;
    }
  }
}

TEST(MersenneTwister, InstancesShareOneState) {
  MTRand_int32 first;
  first.seed(5489);
  first.rand_int32();
  std::mt19937 reference;
  reference.discard(1);
  EXPECT_EQ(MTRand_int32().rand_int32(), reference());
}

// The edge gradient of each hash, as a direction.
constexpr int kDirections[16][3] = {
    {1, 1, 0}, {-1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, {1, 0, 1}, {-1, 0, 1}, {1, 0, -1}, {-1, 0, -1},
    {0, 1, 1}, {0, -1, 1}, {0, 1, -1}, {0, -1, -1}, {1, 1, 0}, {0, -1, 1}, {-1, 1, 0}, {0, -1, -1}};

// Noise in another form than nested interpolation: a sum over the cell's corners, weighted by their
// distance, in double precision, with a table from the standard library's generator.
class ReferenceNoise {
 public:
  explicit ReferenceNoise(unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < 256; ++i) table[i] = table[i + 256] = static_cast<int>(random() & 0xFF);
  }

  double operator()(double x, double y = 0, double z = 0) const {
    const double at[3] = {x, y, z};
    double sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
      int hash = 0;
      int index[3];
      double offset[3];
      double weight = 1;
      for (int axis = 0; axis < 3; ++axis) {
        const int far = (corner >> axis) & 1;
        const double cell = std::floor(at[axis]);
        const double t = at[axis] - cell;
        const double fade = 6 * std::pow(t, 5) - 15 * std::pow(t, 4) + 10 * std::pow(t, 3);
        index[axis] = (static_cast<int>(cell) & 255) + far;
        offset[axis] = t - far;
        weight *= far != 0 ? fade : 1 - fade;
      }
      hash = table[table[table[index[0]] + index[1]] + index[2]] & 15;
      for (int axis = 0; axis < 3; ++axis) sum += weight * kDirections[hash][axis] * offset[axis];
    }
    return sum;
  }

  int table[512];
};

TEST(Perlin, TableIsTheGeneratorsLowBytesTwiceOver) {
  Perlin reseeded(1, 234);
  reseeded.setSeed(1051);
  const struct {
    const char* name;
    Perlin noise;
    unsigned seed;
  } cases[] = {
      {"seeded", Perlin(1, 234), 234},
      {"default seed", Perlin(4), 532},
      {"negative seed", Perlin(1, -1), 0xFFFFFFFFu},
      {"re-seeded", reseeded, 1051},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(std::equal(c.noise.perm, c.noise.perm + 512, ReferenceNoise(c.seed).table))
        << c.name;
    EXPECT_EQ(c.noise.seed, static_cast<int>(c.seed)) << c.name;
  }
}

TEST(Perlin, GradientPointsAlongTheHashesEdge) {
  for (int hash = 0; hash < 64; ++hash) {
    const int* d = kDirections[hash % 16];
    EXPECT_EQ(Perlin::grad(hash, 2.0f, 32.0f, 512.0f),
              static_cast<float>(2 * d[0] + 32 * d[1] + 512 * d[2]));
    EXPECT_EQ(Perlin::grad(hash, 2.0f, 32.0f), static_cast<float>(2 * d[0] + 32 * d[1]));
    EXPECT_EQ(Perlin::grad(hash, 2.0f), static_cast<float>(2 * d[0]));
  }
}

// At these fractions fade and products are exact in single precision, so the results must be equal.
TEST(Perlin, OneDimensionalNoiseIsExactInEveryCell) {
  const Perlin noise(1, 1051);
  const ReferenceNoise reference(1051);
  for (int cell = -256; cell < 512; ++cell) {
    for (const double fraction : {0.0, 0.25, 0.5, 0.75}) {
      const double x = cell + fraction;
      ASSERT_EQ(noise.noise(static_cast<float>(x)), reference(x)) << x;
    }
  }
}

TEST(Perlin, AgreesWithTheCornerSumInEveryDimension) {
  const Perlin noise(1, 234);
  const ReferenceNoise reference(234);
  for (int i = 0; i < 2000; ++i) {
    const float x = static_cast<float>(i) * 0.37f - 200.0f;
    const float y = 255.9f - static_cast<float>(i) * 0.21f;
    const float z = static_cast<float>(i % 17) * 1.3f - 3.0f;
    ASSERT_NEAR(noise.noise(x), reference(x), 2e-6) << x;
    ASSERT_NEAR(noise.noise(x, y), reference(x, y), 2e-6) << x << ' ' << y;
    ASSERT_NEAR(noise.noise(x, y, z), reference(x, y, z), 2e-6) << x << ' ' << y << ' ' << z;
    ASSERT_LE(std::abs(noise.noise(x)), 1.0f);
  }
  // The noise is 0 at lattice points in every dimension.
  EXPECT_EQ(noise.noise(3.0f, -7.0f), 0.0f);
  EXPECT_EQ(noise.noise(255.0f, 256.0f, -1.0f), 0.0f);
  // Far outside the lattice's integers every float is a lattice point.
  EXPECT_EQ(noise.noise(1e20f), 0.0f);
}

TEST(Perlin, SlopesAreTheNoisesDerivatives) {
  const Perlin noise(1, 234);
  constexpr float kStep = 1.0f / 128;
  constexpr float kTolerance = 0.01f;
  const auto slope = [](auto&& f) { return (f(kStep) - f(-kStep)) / (2 * kStep); };
  for (int i = 0; i < 200; ++i) {
    // Fractions keep away from cell borders, where the third derivative jumps.
    const float x = static_cast<float>(i) + 0.2f + 0.003f * static_cast<float>(i);
    const float y = static_cast<float>(i % 13) - 5.7f;
    const float z = static_cast<float>(i % 7) + 0.6f;
    const Vec2<float> d2 = noise.dnoise(x, y);
    EXPECT_NEAR(d2.x, slope([&](float h) { return noise.noise(x + h, y); }), kTolerance);
    EXPECT_NEAR(d2.y, slope([&](float h) { return noise.noise(x, y + h); }), kTolerance);
    const Vec3<float> d3 = noise.dnoise(x, y, z);
    EXPECT_NEAR(d3.x, slope([&](float h) { return noise.noise(x + h, y, z); }), kTolerance);
    EXPECT_NEAR(d3.y, slope([&](float h) { return noise.noise(x, y + h, z); }), kTolerance);
    EXPECT_NEAR(d3.z, slope([&](float h) { return noise.noise(x, y, z + h); }), kTolerance);
  }
}

TEST(Perlin, OctavesHalveTheAmplitudeAndDoubleTheFrequency) {
  const Vec2<float> at{1.3f, -2.6f};
  const Vec3<float> in{1.3f, -2.6f, 9.1f};
  const Perlin none(0, 234);
  EXPECT_EQ(none.fBm(1.3f), 0.0f);
  EXPECT_EQ(none.dfBm(in), (Vec3<float>{0, 0, 0}));

  const Perlin one(1, 234);
  EXPECT_EQ(one.fBm(1.3f), 0.5f * one.noise(1.3f));
  EXPECT_EQ(one.fBm(at), 0.5f * one.noise(at.x, at.y));
  EXPECT_EQ(one.fBm(in), 0.5f * one.noise(in.x, in.y, in.z));
  EXPECT_EQ(one.dfBm(at), one.dnoise(at.x, at.y) * 0.5f);

  // The next octave of the same table adds a quarter of the noise at the doubled position; slopes
  // are not multiplied by the frequency.
  const Perlin two(2, 234);
  EXPECT_FLOAT_EQ(two.fBm(1.3f) - one.fBm(1.3f), 0.25f * one.noise(2.6f));
  EXPECT_FLOAT_EQ(two.fBm(at) - one.fBm(at), 0.25f * one.noise(2.6f, -5.2f));
  EXPECT_FLOAT_EQ(two.fBm(in) - one.fBm(in), 0.25f * one.noise(2.6f, -5.2f, 18.2f));
  EXPECT_FLOAT_EQ(two.dfBm(at).y - one.dfBm(at).y, 0.25f * one.dnoise(2.6f, -5.2f).y);
  EXPECT_FLOAT_EQ(two.dfBm(in).z - one.dfBm(in).z, 0.25f * one.dnoise(2.6f, -5.2f, 18.2f).z);
}

}  // namespace
}  // namespace lomix::unit
