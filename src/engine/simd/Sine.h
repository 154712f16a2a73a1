// Sine and cosine of vectors of doubles, with error bounds.
#pragma once

#include <cstddef>
#include <numbers>

#include "engine/simd/Inline.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// pi = kPi + kPiRest.
constexpr double kPi = std::numbers::pi;
constexpr double kPiRest = 1.2246467991473532e-16;

// Polynomials for sin(r) / r in r * r, |r| <= pi/2. Relative errors: 5.1e-14 and 1.2e-16.
constexpr double kSine7[] = {
    0.9999999999999493,     -0.16666666666465474,    0.008333333320293734, -0.00019841266670571936,
    2.7556951823049554e-06, -2.5030225034386337e-08, 1.54105842022472e-10};
constexpr double kSine8[] = {0.9999999999999999,     -0.1666666666666607,
                             0.008333333333282452,   -0.00019841269824780132,
                             2.7557316598666683e-06, -2.5051881272332564e-08,
                             1.6048146798446787e-10, -7.374119318022895e-13};

// Adding this rounds a double to an integer and leaves that in its low bits.
constexpr double kRound = 0x1.8p52;

template <typename V, std::size_t kTerms>
LOMIX_INLINE typename V::Doubles oddPolynomial(typename V::Doubles r,
                                               const double (&terms)[kTerms]) {
  static_assert(kTerms == 7 || kTerms == 8);
  // Estrin's scheme: Horner's would be one long chain of dependent operations.
  const auto z = V::mul(r, r);
  const auto pair = [&](std::size_t i) LOMIX_INLINE_LAMBDA {
    return V::mulAdd(V::doubles(terms[i + 1]), z, V::doubles(terms[i]));
  };
  const auto z2 = V::mul(z, z);
  const auto last = kTerms == 8 ? pair(kTerms - 2) : V::doubles(terms[kTerms - 1]);
  const auto low = V::mulAdd(pair(2), z2, pair(0));
  const auto high = V::mulAdd(last, z2, pair(4));
  return V::mul(r, V::mulAdd(high, V::mul(z2, z2), low));
}

// Returns x - n * pi, for integers and half-integers n, |x| < 2^29 and a result below 2.
// With fused operations the first step is exact: its result is below 2 and a multiple of the last
// bit of n * kPi, so it fits a double. The second step rounds once.
// Without them pi is split:
// 1. n has at most 29 bits, kPiHigh and kPiMiddle have 24: both products are exact.
// 2. The first difference is below 2^7 and a multiple of 2^-24 or, for small x, of the last bit of
//    x: exact. The second is below 2 and rounds at most once.
// 3. n * kPiLow is below 2^-17: its rounding is far below that of the result.
template <typename V>
LOMIX_INLINE typename V::Doubles reduced(typename V::Doubles x, typename V::Doubles n) {
  if constexpr (V::kFused) {
    return V::fnma(n, V::doubles(kPiRest), V::fnma(n, V::doubles(kPi), x));
  } else {
    constexpr double kPiHigh = 0x1.921fb6p1;
    constexpr double kPiMiddle = -0x1.777a5cp-24;
    constexpr double kPiLow = -0x1.ee59d9cceba40p-49;
    const auto first = V::sub(x, V::mul(n, V::doubles(kPiHigh)));
    const auto second = V::sub(first, V::mul(n, V::doubles(kPiMiddle)));
    return V::sub(second, V::mul(n, V::doubles(kPiLow)));
  }
}

// Returns sin(x) for |x| < 2^29.
template <typename V>
LOMIX_INLINE typename V::Doubles sine(typename V::Doubles x) {
  const auto round = V::doubles(kRound);
  const auto rounded = V::mulAdd(x, V::doubles(1.0 / kPi), round);
  const auto r = reduced<V>(x, V::sub(rounded, round));
  return V::exclusiveOr(oddPolynomial<V>(r, kSine8), V::lowestAsSign(rounded));
}

}  // namespace
}  // namespace lomix::engine
