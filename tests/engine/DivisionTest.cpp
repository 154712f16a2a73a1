// The quotient by pi that the vector code forms without a division.

#include <gtest/gtest.h>

#include <cmath>

#include "engine/vector/Grain.h"

namespace lomix::engine {
namespace {

// One lane.
struct Scalar {
  using Doubles = double;
  static double doubles(double v) { return v; }
  static double mul(double a, double b) { return a * b; }
  static double fma(double a, double b, double c) { return std::fma(a, b, c); }
  static double fnma(double a, double b, double c) { return std::fma(-a, b, c); }
};

// For every significand of single precision; another exponent scales everything exactly.
TEST(DividedByPi, IsTheRoundedQuotient) {
  constexpr int kFirst = 1 << 23;
  int different = 0;
  for (int significand = kFirst; significand < 2 * kFirst; ++significand) {
    const double v = significand;
    if (dividedByPi<Scalar>(v) != v / kPi) ++different;
  }
  EXPECT_EQ(different, 0);
}

}  // namespace
}  // namespace lomix::engine
