// Compares the vector code's quotients, computed without division, with divisions.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>

#include "engine/simd/Grain.h"

namespace lomix::engine {
namespace {

// The operations of a quotient for one lane, with fused multiplication and addition.
struct Fused {
  static constexpr bool kFused = true;
  using Doubles = double;
  static double doubles(double v) { return v; }
  static double mul(double a, double b) { return a * b; }
  static double fma(double a, double b, double c) { return std::fma(a, b, c); }
  static double fnma(double a, double b, double c) { return std::fma(-a, b, c); }
};

// Every significand of single precision. Other exponents scale everything exactly.
TEST(DividedByPi, IsTheRoundedQuotient) {
  constexpr int kFirst = 1 << 23;
  int different = 0;
  for (int significand = kFirst; significand < 2 * kFirst; ++significand) {
    const double v = significand;
    if (dividedByPi<Fused>(v) != v / kPi) ++different;
  }
  EXPECT_EQ(different, 0);
}

// Random numerators, and numerators next to the midpoint of two quotients, where rounding changes.
TEST(DividedBy, IsTheRoundedQuotient) {
  std::mt19937_64 random(1);
  const auto significand = [&random](int bits) {
    return static_cast<double>(random() >> (64 - bits) | std::uint64_t{1} << (bits - 1));
  };
  int different = 0;
  const auto compare = [&different](double n, double y) {
    if (dividedBy<Fused>(n, y, 1.0 / y) != n / y) ++different;
  };
  for (int i = 0; i < 3'000'000; ++i) {
    const double y = significand(1 + i % 24);
    compare(significand(53), y);
    // A numerator whose quotient is half an ulp above a double, and its neighbours.
    const double quotient = significand(53);
    const double middle = std::fma(quotient, y, 0.5 * y);
    for (const double n : {std::nextafter(middle, 0.0), middle, std::nextafter(middle, 0x1p100)}) {
      compare(n, y);
    }
  }
  EXPECT_EQ(different, 0);
}

}  // namespace
}  // namespace lomix::engine
