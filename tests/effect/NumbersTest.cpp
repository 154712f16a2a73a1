// The arithmetic that everything else uses: conversion to integers, no fused operations, sines.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "WindowsHostThread.h"
#include "effect/numeric/Sine.h"
#include "effect/numeric/Truncate.h"

namespace lomix::unit {
namespace {

constexpr int kMax = std::numeric_limits<std::int32_t>::max();
constexpr int kMin = std::numeric_limits<std::int32_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Truncate, GoesTowardZeroAndSaturates) {
  struct Case {
    double value;
    int integer, byte;
  };
  const Case cases[] = {
      {0.999, 0, 0},
      {-0.999, 0, 0},
      {254.99, 254, 254},
      {-1.5, -1, 255},
      {256.9, 256, 0},
      {-255.0, -255, 1},
      {2147483520.0, 2147483520, 128},
      {2147483648.0, kMax, 255},
      {-2147483648.0, kMin, 0},
      {1e30, kMax, 255},
      {-1e30, kMin, 0},
      {kInfinity, kMax, 255},
      {-kInfinity, kMin, 0},
      {kNaN, 0, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(truncateToInt32(c.value), c.integer) << c.value;
    EXPECT_EQ(truncateToByte(c.value), c.byte) << c.value;
    EXPECT_EQ(truncateToInt32(static_cast<float>(c.value)), c.integer) << c.value << " as float";
  }
  // Only a double can be this close to the limits.
  EXPECT_EQ(truncateToInt32(2147483647.5), kMax);
  EXPECT_EQ(truncateToInt32(2147483646.5), kMax - 1);
  EXPECT_EQ(truncateToInt32(-2147483648.5), kMin);
  EXPECT_EQ(truncateToInt32(-2147483647.5), kMin + 1);
}

TEST(Truncate, UnsignedSaturatesAtItsOwnLimits) {
  constexpr std::uint32_t kUnsignedMax = std::numeric_limits<std::uint32_t>::max();
  const struct {
    double value;
    std::uint32_t integer;
  } cases[] = {{0.999, 0},
               {1080.5, 1080},
               {3e9, 3000000000u},
               {4294967040.0, 4294967040u},
               {4294967296.0, kUnsignedMax},
               {1e30, kUnsignedMax},
               {kInfinity, kUnsignedMax},
               {-0.5, 0},
               {-1, 0},
               {-1e30, 0},
               {kNaN, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(truncateToUint32(c.value), c.integer) << c.value;
    EXPECT_EQ(truncateToUint32(static_cast<float>(c.value)), c.integer) << c.value << " as float";
  }
  EXPECT_EQ(truncateToUint32(4294967295.5), kUnsignedMax);
  EXPECT_EQ(truncateToUint32(4294967294.5), kUnsignedMax - 1);
}

// A compiler that contracts a product and a sum on its own changes the picture. The functions are
// compiled for a processor that can fuse, which is where it would happen.
#if defined(__x86_64__)
#define LOMIX_CAN_FUSE [[gnu::noinline, gnu::target("fma")]]
bool processorFuses() { return __builtin_cpu_supports("fma"); }
#elif defined(__GNUC__)
#define LOMIX_CAN_FUSE [[gnu::noinline]]
bool processorFuses() { return true; }
#else
#define LOMIX_CAN_FUSE
bool processorFuses() { return true; }
#endif

LOMIX_CAN_FUSE float productAndSum(float a, float b, float c) { return a * b + c; }
LOMIX_CAN_FUSE double productAndSum(double a, double b, double c) { return a * b + c; }
LOMIX_CAN_FUSE float differenceOfProduct(float a, float b, float c) { return c - a * b; }

TEST(Compiler, FusesNothingByItself) {
  if (!processorFuses()) GTEST_SKIP() << "this processor has no fused operations";
  // Read at run time, so that nothing is folded beforehand. The squares of 1 + 2^-12 (single) and
  // 1 + 2^-27 (double) lose their last bit when rounded; a fused operation would keep it.
  const float a = std::strtof("0x1.001p0", nullptr);
  const float c = std::strtof("-0x1.002p0", nullptr);
  EXPECT_EQ(productAndSum(a, a, c), 0.0f);
  EXPECT_EQ(differenceOfProduct(a, a, -c), 0.0f);
  EXPECT_EQ(std::fma(a, a, c), std::ldexp(1.0f, -24));

  const double wideA = std::strtod("0x1.0000002p0", nullptr);
  const double wideC = std::strtod("-0x1.0000004p0", nullptr);
  EXPECT_EQ(productAndSum(wideA, wideA, wideC), 0.0);
  EXPECT_EQ(std::fma(wideA, wideA, wideC), std::ldexp(1.0, -54));
}

// Close to a multiple of pi, the reduction of the angle needs many more digits of pi than a double
// has. The sine instructions of processors use too few.
TEST(Sine, IsExactWhereAnglesNeedManyDigitsOfPi) {
  struct Case {
    double angle, sine, cosine;
  };
  const Case cases[] = {
      {std::strtod("0x1.921fb54442d18p1", nullptr), 0x1.1a62633145c07p-53, -1.0},
      {std::strtod("0x1.921fb54442d18p0", nullptr), 1.0, 0x1.1a62633145c07p-54},
      {std::strtod("355", nullptr), -0x1.f9bd0307d1de3p-16, -0x1.fffffffc18e4cp-1},
      {std::strtod("-103993", nullptr), 0x1.40efdf1eb8de7p-16, 0x1.fffffffe6da77p-1},
      {std::strtod("1e22", nullptr), -0x1.b453ab76bf397p-1, 0x1.0be2cef01c8f4p-1},
  };
  onWindowsHostThread([&cases] {
    for (const Case& c : cases) {
      EXPECT_DOUBLE_EQ(sine(c.angle), c.sine) << c.angle;
      EXPECT_DOUBLE_EQ(cosine(c.angle), c.cosine) << c.angle;
    }
  });
}

}  // namespace
}  // namespace lomix::unit
