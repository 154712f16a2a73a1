// Zeros of either sign, subnormals, infinities and NaN in every function that selects, limits or
// blends floats. Compilers differ in how they treat them: these tests run with all that build
// Lomix.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "effect/UnitSupport.h"
#include "effect/kernel/Grain.h"
#include "effect/kernel/Lomix.h"
#include "effect/kernel/PixelFunctions.h"
#include "effect/kernel/Scanlines.h"
#include "effect/noise/LineNoise.h"
#include "effect/noise/Perlin.h"
#include "effect/numeric/Truncate.h"
#include "effect/numeric/ZeroIfNegative.h"
#include "effect/signal/RowProfile.h"
#include "effect/signal/SmoothStep.h"
#include "effect/signal/SyncFunctions.h"

namespace lomix::unit {
namespace {

constexpr float kTiny = std::numeric_limits<float>::denorm_min();
constexpr float kLargestSubnormal = 0x1.fffffcp-127f;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Hides a value from the compiler, which then cannot compute the result beforehand.
float opaque(float value) {
  volatile float hidden = value;
  return hidden;
}

// An effect object of a float render.
struct Call32 {
  HostCall call{32};
  Lomix effect{&call.in, &call.out, &call.extra};
};

// The bits must be equal, except that any NaN equals any other.
testing::AssertionResult same(float drawn, float expected) {
  if (std::isnan(drawn) && std::isnan(expected)) return testing::AssertionSuccess();
  if (std::bit_cast<std::uint32_t>(drawn) == std::bit_cast<std::uint32_t>(expected)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << std::hexfloat << drawn << " instead of " << expected;
}

struct Limits {
  float value;
  float notNegative;      // zeroIfNegative()
  float upToThreeTenths;  // clampProfile(value, 0.3)
  float upToOne;          // barBrightness()
  float smooth;           // smoothStep(value, 0, 1)
  std::uint32_t unsignedInteger;
  std::int32_t integer;
};
constexpr Limits kLimits[] = {
    {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0, 0},
    {-0.0f, -0.0f, -0.0f, -0.0f, 0.0f, 0, 0},
    {kTiny, kTiny, kTiny, kTiny, 0.0f, 0, 0},
    {-kTiny, 0.0f, 0.0f, 0.0f, 0.0f, 0, 0},
    {kLargestSubnormal, kLargestSubnormal, kLargestSubnormal, kLargestSubnormal, 0.0f, 0, 0},
    {-kLargestSubnormal, 0.0f, 0.0f, 0.0f, 0.0f, 0, 0},
    {0.25f, 0.25f, 0.25f, 0.25f, 0.15625f, 0, 0},
    {0.5f, 0.5f, 0.3f, 0.5f, 0.5f, 0, 0},
    {-0.5f, 0.0f, 0.0f, 0.0f, 0.0f, 0, 0},
    {1.0f, 1.0f, 0.3f, 1.0f, 1.0f, 1, 1},
    {0x1.000002p0f, 0x1.000002p0f, 0.3f, 1.0f, 1.0f, 1, 1},
    {-1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0, -1},
    {3e9f, 3e9f, 0.3f, 1.0f, 1.0f, 3000000000u, 2147483647},
    {-3e38f, 0.0f, 0.0f, 0.0f, 0.0f, 0, -2147483647 - 1},
    {kInfinity, kInfinity, 0.3f, 1.0f, 1.0f, 4294967295u, 2147483647},
    {-kInfinity, 0.0f, 0.0f, 0.0f, 0.0f, 0, -2147483647 - 1},
    {kNaN, kNaN, kNaN, kNaN, kNaN, 0, 0},
    {-kNaN, kNaN, kNaN, kNaN, kNaN, 0, 0},
};

TEST(EdgeValues, LimitsKeepNegativeZeroAndNaN) {
  for (const Limits& c : kLimits) {
    const float value = opaque(c.value);
    EXPECT_TRUE(same(zeroIfNegative(value), c.notNegative)) << value;
    EXPECT_TRUE(same(clampProfile(value, opaque(0.3f)), c.upToThreeTenths)) << value;
    EXPECT_TRUE(same(clampProfile(value, 0.3f), c.upToThreeTenths)) << value;
    EXPECT_TRUE(same(barBrightness(value), c.upToOne)) << value;
    EXPECT_TRUE(same(smoothStep(value, 0.0f, 1.0f), c.smooth)) << value;
    EXPECT_EQ(truncateToUint32(value), c.unsignedInteger) << value;
    EXPECT_EQ(truncateToInt32(value), c.integer) << value;
  }
}

TEST(EdgeValues, HardLightKeepsNegativeZero) {
  const struct {
    float picture, overlay, alpha, result;
  } cases[] = {
      {-0.0f, 1.0f, 1.0f, -0.0f},
      {-0.0f, 0.0f, 1.0f, -0.0f},
      {-0.0f, 0.5f, 0.5f, -0.0f},
      {-0.0f, -1.0f, 1.0f, 0.0f},
      {0.0f, -1.0f, 1.0f, 0.0f},
      {0.0f, 1.0f, 1.0f, 0.0f},
      // 0 * -0.25 twice, and what rounds to -0.
      {-0.25f, 0.0f, 1.0f, -0.0f},
      {-kTiny, 0.0f, 1.0f, -0.0f},
      {-kTiny, 0.25f, 1.0f, -0.0f},
      {-kTiny, 1.0f, 0.0f, 0.0f},
      {kTiny, 1.0f, 0.0f, kTiny},
      {-kLargestSubnormal, 1.0f, 0.0f, 0.0f},
      {kLargestSubnormal, 1.0f, 0.0f, kLargestSubnormal},
      {-kInfinity, 0.25f, 0.5f, 0.0f},
      {kInfinity, 0.25f, 0.5f, kInfinity},
      {kInfinity, 0.25f, 1.0f, kNaN},
      {kNaN, 0.25f, 0.5f, kNaN},
      {0.25f, kNaN, 0.5f, kNaN},
      {-1.0f, 1.0f, 1.0f, 0.0f},
      {0.25f, 0.5f, 1.0f, 0.25f},
      {1.0f, 0.25f, 1.0f, 1.0f},
  };
  for (const auto& c : cases) {
    PF_PixelFloat dst{1.0f, opaque(c.picture), opaque(c.picture), opaque(c.picture)};
    PF_PixelFloat src{opaque(c.alpha), opaque(c.overlay), opaque(c.overlay), opaque(c.overlay)};
    hardLightBlend32Void(&dst, &src);
    for (const float channel : {dst.red, dst.green, dst.blue}) {
      EXPECT_TRUE(same(channel, c.result)) << c.picture << ' ' << c.overlay << ' ' << c.alpha;
    }
  }
}

// One channel of a picture with an alpha, and what each operation gives.
TEST(EdgeValues, PremultiplyAndUnmultiplySetBlackOnlyWhereAlphaIsZero) {
  Call32 call;
  const struct {
    float alpha, colour, premultiplied, unmultiplied;
  } cases[] = {
      {0.0f, -1.0f, 0.0f, 0.0f},
      {-0.0f, 1.0f, 0.0f, 0.0f},
      {0.0f, kNaN, 0.0f, 0.0f},
      {-0.0f, -kInfinity, 0.0f, 0.0f},
      {1.0f, -0.0f, -0.0f, -0.0f},
      {-1.0f, 0.0f, -0.0f, -0.0f},
      {kTiny, 0.5f, 0.0f, kInfinity},
      {kTiny, -0.25f, -0.0f, -kInfinity},
      {0.5f, -kTiny, -0.0f, -2 * kTiny},
      {1.0f, kLargestSubnormal, kLargestSubnormal, kLargestSubnormal},
      {kInfinity, 1.0f, kInfinity, 0.0f},
      {-kInfinity, 0.0f, kNaN, -0.0f},
      {kNaN, 1.0f, kNaN, kNaN},
  };
  for (const auto& c : cases) {
    PF_PixelFloat p{opaque(c.alpha), opaque(c.colour), opaque(c.colour), opaque(c.colour)};
    PF_PixelFloat u = p;
    call.effect.PixelPremult32(&p);
    call.effect.PixelUnmult32(&u);
    EXPECT_TRUE(same(p.green, c.premultiplied)) << c.alpha << ' ' << c.colour;
    EXPECT_TRUE(same(u.green, c.unmultiplied)) << c.alpha << ' ' << c.colour;
    EXPECT_TRUE(same(p.alpha, c.alpha));
  }
}

TEST(EdgeValues, BlendsAddZerosOfTheirSigns) {
  Call32 call;
  const struct {
    float picture, overlay, alpha, over, halfOver, lerp;  // lerp: from picture to overlay by alpha
  } cases[] = {
      {-0.0f, -0.0f, 1.0f, -0.0f, -0.0f, 0.0f},       {-0.0f, -0.0f, 0.0f, -0.0f, -0.0f, 0.0f},
      {-1.0f, -0.0f, 1.0f, -0.0f, -0.5f, 0.0f},       {-0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f},
      {-0.0f, 0.0f, -1.0f, 0.0f, 0.0f, -0.0f},        {kTiny, -kTiny, 0.0f, 0.0f, kTiny, kTiny},
      {kInfinity, 0.0f, 1.0f, kNaN, kInfinity, kNaN}, {kNaN, 0.0f, 0.5f, kNaN, kNaN, kNaN},
  };
  for (const auto& c : cases) {
    PF_PixelFloat dst{1.0f, 0.0f, opaque(c.picture), 0.0f};
    PF_PixelFloat src{opaque(c.alpha), 0.0f, opaque(c.overlay), 0.0f};
    PF_PixelFloat half = dst;
    alphaBlendPixel32(&dst, &src);
    alphaBlend32Void(&half, &src, opaque(0.5f));
    EXPECT_TRUE(same(dst.green, c.over)) << c.picture << ' ' << c.overlay << ' ' << c.alpha;
    EXPECT_TRUE(same(half.green, c.halfOver)) << c.picture << ' ' << c.overlay << ' ' << c.alpha;
    PF_PixelFloat from{1.0f, 0.0f, opaque(c.picture), 0.0f};
    call.effect.PixelLerp32(&from, &src, opaque(c.alpha));
    EXPECT_TRUE(same(src.green, c.lerp)) << c.picture << ' ' << c.overlay << ' ' << c.alpha;
  }
  const auto narrowed = [](double level) { return GetPixel32({level, level, level, 1.0}).green; };
  EXPECT_TRUE(same(narrowed(-0.0), -0.0f));
  EXPECT_TRUE(same(narrowed(-1e-50), -0.0f));
  EXPECT_TRUE(same(narrowed(0x1p-149), kTiny));
  EXPECT_TRUE(same(narrowed(-1e300), -kInfinity));
}

// Column -10 is column 0 of the grain, so that at time 0 the sine's argument is zero.
TEST(EdgeValues, GrainKeepsNegativeZeroAndNaN) {
  PF_LayerDef world{};
  world.width = 64;
  world.height = 64;
  int negativeZeros = 0;
  for (int y = -9; y < 200; ++y) {
    const float wave = legacyRandom(0.0f, static_cast<float>(y + kGrainOrigin), 64.0f, 64.0f,
                                    opaque(0.0f), kGrainRate);
    const float level = grainLevel(world, 1.0, 1.0, opaque(0.0f), -kGrainOrigin, y);
    ASSERT_TRUE(wave == 0.0f && same(level, wave)) << y;
    if (std::signbit(wave)) ++negativeZeros;
  }
  EXPECT_GT(negativeZeros, 20);
  EXPECT_TRUE(std::isnan(grainLevel(world, 1.0, 1.0, 0.0f, 3, -kGrainOrigin)));
  EXPECT_TRUE(std::isnan(grainLevel(world, 1.0, 1.0, opaque(kInfinity), 3, 3)));
}

TEST(EdgeValues, NoiseAndRemaindersOfZeros) {
  EXPECT_TRUE(same(fade(opaque(-0.0f)), -0.0f));
  EXPECT_TRUE(same(fade(opaque(0.0f)), 0.0f));
  EXPECT_TRUE(same(interpolated(opaque(0.0f), -0.0f, opaque(-0.0f)), 0.0f));
  // The two lowest bits of a hash negate the two components.
  EXPECT_TRUE(same(Perlin::grad(0, opaque(0.0f), opaque(0.0f)), 0.0f));
  EXPECT_TRUE(same(Perlin::grad(1, opaque(0.0f), opaque(0.0f)), 0.0f));
  EXPECT_TRUE(same(Perlin::grad(3, opaque(0.0f), opaque(0.0f)), -0.0f));
  EXPECT_TRUE(same(Perlin::grad(3, opaque(-0.0f), opaque(-0.0f)), 0.0f));
  EXPECT_TRUE(same(legacymod(opaque(-0.0f), opaque(1.0f)), -0.0f));
  EXPECT_TRUE(same(legacymod(opaque(-0.0f), opaque(-1.0f)), 0.0f));
  EXPECT_TRUE(same(legacymod(opaque(-4.0f), opaque(2.0f)), 0.0f));
  EXPECT_TRUE(same(legacySync(opaque(0.0f), opaque(1.0f)), 0.0f));
  EXPECT_TRUE(same(legacySync(opaque(-0.0f), opaque(1.0f)), 0.0f));
  EXPECT_TRUE(same(legacySync(opaque(kNaN), opaque(1.0f)), kNaN));
}

// The offset in the period is +0, -0 or NaN.
TEST(EdgeValues, DarkLinesAtZerosAndNaN) {
  LomixStruct record;
  record.scanlineThickness = opaque(1.0f);
  record.scanlineSpeed = opaque(0.0f);
  record.time = 0.0f;
  EXPECT_FALSE(onDarkLine(record, 0));
  EXPECT_TRUE(onDarkLine(record, 1));
  record.scanlineSpeed = opaque(kTiny);
  EXPECT_TRUE(onDarkLine(record, 0)) << "one subnormal before the band that starts at 0";
  record.scanlineSpeed = opaque(kNaN);
  EXPECT_FALSE(onDarkLine(record, 1));
  record.scanlineSpeed = 0.0f;
  record.scanlineThickness = opaque(-0.0f);
  EXPECT_TRUE(onDarkLine(record, 0)) << "0 / 0 periods; -0 is not above 0";
}

}  // namespace
}  // namespace lomix::unit
