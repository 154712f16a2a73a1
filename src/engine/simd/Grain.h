// Computes the overlay levels of the grain in vectors.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "effect/kernel/Grain.h"
#include "effect/numeric/Truncate.h"
#include "engine/SimdTarget.h"
#include "engine/simd/Inline.h"
#include "engine/simd/Sine.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Grain generators. Each starts at the column given to its constructor; next() returns the overlay
// of the next kColumns columns, for at most kMostColumns columns. part<n>() extracts from it what
// vector n of pixels needs, from 0.

struct NoGrain {};

// The generator of rows without grain.
template <int kPixels>
struct Ungrained {
  static constexpr int kColumns = kPixels;
  static constexpr int kMostColumns = std::numeric_limits<int>::max();

  Ungrained(const GrainRow&, int) {}
  NoGrain next() { return {}; }
  template <int kPart>
  static NoGrain part(NoGrain none) {
    return none;
  }
};

// Returns v / pi, correctly rounded, for single-precision values v that are neither subnormal nor
// huge.
// 1. The product with the reciprocal is off by at most one ulp.
// 2. The remainder by fused multiply-add is exact.
// 3. The correction by the remainder rounds like the division for each of the 2^23 significands of
//    v: DivisionTest tries them all.
// Much faster than division on processors that divide half a vector at a time. Without fused
// operations it is a division.
template <typename V>
LOMIX_INLINE typename V::Doubles dividedByPi(typename V::Doubles v) {
  if constexpr (V::kFused) {
    const auto inverse = V::doubles(1.0 / kPi);
    const auto quotient = V::mul(v, inverse);
    return V::fma(V::fnma(quotient, V::doubles(kPi), v), inverse, quotient);
  } else {
    return V::div(v, V::doubles(kPi));
  }
}

// Returns n / y, correctly rounded, for a single-precision y with the rounded reciprocal inverse;
// neither number subnormal or huge.
// 1. The first quotient is off by less than 2 ulp.
// 2. Its remainder is a multiple of the product of both ulps and, because y has 24 bits, exact.
// 3. The corrected quotient before its last rounding is off by 2^-51 ulp.
// 4. No exact quotient is that near to the midpoint of two doubles: unless it is the midpoint it is
//    2^-25 ulp away, again because of the 24 bits; and a midpoint would need an n of 54 bits.
template <typename V>
LOMIX_INLINE typename V::Doubles dividedBy(typename V::Doubles n, typename V::Doubles y,
                                           [[maybe_unused]] typename V::Doubles inverse) {
  if constexpr (V::kFused) {
    const auto quotient = V::mul(n, inverse);
    return V::fma(V::fnma(quotient, y, n), inverse, quotient);
  } else {
    return V::div(n, y);
  }
}

// Recomputes the doubtful lanes by the reference path's function.
LOMIX_APART void redoLevels(const GrainRow& row, int x, unsigned doubtful, float* levels) {
  for (; doubtful != 0; doubtful &= doubtful - 1) {
    const int lane = std::countr_zero(doubtful);
    levels[lane] = row.levelAt(x + lane);
  }
}

// Levels for float worlds: grainLevel() in its order of operations, with another sine and cosine.
// Their product has a relative error of at most 2^-42. Where that leaves its rounding to single
// precision open, or the product is below 1e-30, the reference path's function recomputes the
// pixel. row: reducible.
template <typename V>
class LevelGrain {
 public:
  static constexpr int kColumns = V::kDoubles;
  static constexpr int kMostColumns = std::numeric_limits<int>::max();

  LOMIX_INLINE LevelGrain(const GrainRow& row, int x)
      : row_(row),
        x_(x),
        column_(V::countedFrom(x + kGrainOrigin)),
        xStep_(V::doubles(row.invXDown)),
        y_(V::singles(row.yFull)),
        wideY_(V::doubles(row.yFull)),
        inverseY_(V::doubles(1.0 / row.yFull)),
        yWeight_(V::singles(row.yWeight)),
        phase_(V::doubles(row.phase)),
        amount_(V::singles(row.amount)) {}

  LOMIX_INLINE typename V::Singles next() {
    // In ulps of a double: four times the error of both polynomials and their roundings.
    constexpr long long kMargin = 1 << 12;
    constexpr long long kBelowSingle = (1LL << 29) - 1;
    constexpr long long kHalfway = 1LL << 28;
    constexpr double kTiny = 1e-30;
    const auto inversePi = V::doubles(1.0 / kPi);
    const auto round = V::doubles(kRound);
    const auto half = V::doubles(0.5);

    const auto xFull = V::narrow(V::mul(column_, xStep_));
    const auto u = V::fma(xFull, V::singles(kGrainRate), y_);
    const auto v = V::widen(V::mul(u, yWeight_));
    auto slope = dividedByPi<V>(V::widen(u));
    slope = V::mul(V::mul(slope, V::widen(xFull)), V::doubles(kPi));
    slope = dividedBy<V>(slope, wideY_, inverseY_);
    const auto a = V::fma(slope, wideY_, phase_);

    const auto turnsA = V::mulAdd(a, inversePi, round);
    const auto sineA = oddPolynomial<V>(reduced<V>(a, V::sub(turnsA, round)), kSine7);
    // cos(k * pi + pi/2 + r) is -sin(r) for even k and sin(r) for odd k.
    const auto turnsV = V::add(V::mulAdd(v, inversePi, V::doubles(-0.5)), round);
    const auto k = V::sub(turnsV, round);
    const auto cosineV = oddPolynomial<V>(reduced<V>(v, V::add(k, half)), kSine7);
    const auto odd = V::lowestAsSign(V::exclusiveOr(turnsA, turnsV));
    const auto sign = V::exclusiveOr(odd, V::doubles(-0.0));
    const auto product = V::exclusiveOr(V::mul(sineA, cosineV), sign);

    auto levels = V::mul(V::max(V::narrow(product), V::singles(0.0f)), amount_);
    // The bits below single precision, relative to the rounding boundary less the margin.
    const auto doubtful =
        V::either(V::bitsBelow(product, kMargin - kHalfway, kBelowSingle, 2 * kMargin),
                  V::nearZero(product, kTiny));
    if (V::any(doubtful)) [[unlikely]] {
      float lanes[V::kDoubles];
      V::store(lanes, levels);
      redoLevels(row_, x_, V::laneBits(doubtful), lanes);
      levels = V::load(lanes);
    }
    column_ = V::add(column_, V::doubles(V::kDoubles));
    x_ += V::kDoubles;
    return levels;
  }

  /// Returns each pixel's level in all its channels.
  template <int kPart>
  static LOMIX_INLINE typename V::Channels part(typename V::Singles levels) {
    return V::template eachPixel<kPart>(levels);
  }

 private:
  const GrainRow& row_;
  int x_;
  typename V::Doubles column_, xStep_;
  typename V::Singles y_;
  typename V::Doubles wideY_, inverseY_;
  typename V::Singles yWeight_;
  typename V::Doubles phase_;
  typename V::Singles amount_;
};

// The same levels for 8-bit worlds: integers whose low byte is the level of an overlay pixel.
template <typename V>
class LevelGrain8 {
 public:
  static constexpr int kColumns = V::kFloats;
  static constexpr int kMostColumns = LevelGrain<V>::kMostColumns;

  LOMIX_INLINE LevelGrain8(const GrainRow& row, int x) : levels_(row, x) {}

  LOMIX_INLINE typename V::Ints next() {
    constexpr int kParts = V::kFloats / V::kDoubles;
    typename V::Doubles bytes[kParts];
    for (auto& part : bytes) part = V::mul(V::widen(levels_.next()), V::doubles(255.0));
    return V::truncated(bytes);
  }
  template <int kPart>
  static LOMIX_INLINE typename V::Ints part(typename V::Ints levels) {
    return levels;
  }

 private:
  LevelGrain<V> levels_;
};

// sin(pi * w) = w * P(w * w) for |w| <= 1/2. Error 4.9e-8.
constexpr float kSineTerms[] = {3.1415925025939941f, -5.1677069664001465f, 2.5500314235687256f,
                                -0.59804517030715942f, 0.077220134437084198f};

// Returns -cos(angle); 2^32 units are one turn.
// The signed angle's magnitude is 0 ... 1/2 turn. Less a quarter it is w in [-1/4, 1/4] turn, where
// sin(w) = -cos(angle).
template <typename V>
LOMIX_INLINE typename V::Floats foldedSine(typename V::Ints turns) {
  const auto w = V::mulAdd(V::absolute(V::converted(turns)), V::floats(0x1p-31f), V::floats(-0.5f));
  const auto z = V::mul(w, w);
  auto sum = V::floats(kSineTerms[4]);
  for (int i = 3; i >= 0; --i) sum = V::mulAdd(sum, z, V::floats(kSineTerms[i]));
  return V::mul(w, sum);
}

// Returns the upper 32 bits, rounded.
inline std::uint32_t upperHalf(std::uint64_t v) {
  return static_cast<std::uint32_t>((v + 0x80000000u) >> 32);
}

// The angles of sine and cosine for the first vector of columns, the first difference to the next
// vector, and the sine's constant second difference. 2^32 units are one turn, whole turns overflow
// out of the top. The sine's angle is less a quarter turn, so that foldedSine() gives -sin.
template <typename V>
struct LaneTurns {
  std::uint32_t sine[V::kFloats];
  std::uint32_t sineStep[V::kFloats];
  std::uint32_t sineCurve;
  std::uint32_t cosine[V::kFloats];
  std::uint32_t cosineStep;

  LaneTurns(const GrainRow& row, std::uint64_t column) {
    constexpr std::uint64_t kTurnsPerRadian = 0x28be60db9391054a;  // 2^64 / (2 pi)
    constexpr std::uint64_t kQuarterTurn = std::uint64_t{1} << 62;
    constexpr std::uint64_t kRate = 5;
    static_assert(static_cast<float>(kRate) == kGrainRate);
    const std::uint64_t lane = row.xStep;
    const std::uint64_t step = V::kFloats * lane;
    // The difference of u * x, u = kRate * x + y, from column x to column x + by.
    const auto slopeOver = [&](std::uint64_t x, std::uint64_t by) {
      return kTurnsPerRadian * ((kRate * (2 * x + by) + row.yWhole) * by);
    };
    std::uint64_t at =
        kTurnsPerRadian * ((kRate * column + row.yWhole) * column) + row.phaseTurns - kQuarterTurn;
    std::uint64_t toNext = slopeOver(column, lane);
    std::uint64_t slope = slopeOver(column, step);
    std::uint64_t weighted = row.weightTurns * (kRate * column + row.yWhole);
    for (int i = 0; i < V::kFloats; ++i) {
      sine[i] = upperHalf(at);
      sineStep[i] = upperHalf(slope);
      cosine[i] = upperHalf(weighted);
      at += toNext;
      toNext += kTurnsPerRadian * (2 * kRate * lane * lane);
      slope += kTurnsPerRadian * (2 * kRate * lane * step);
      weighted += row.weightTurns * (kRate * lane);
    }
    sineCurve = upperHalf(kTurnsPerRadian * (2 * kRate * step * step));
    cosineStep = upperHalf(row.weightTurns * (kRate * step));
  }
};

// Recomputes the doubtful lanes by the reference path's function.
LOMIX_APART void redoBytes(const GrainRow& row, int x, unsigned doubtful, std::uint32_t* levels) {
  for (; doubtful != 0; doubtful &= doubtful - 1) {
    const int lane = std::countr_zero(doubtful);
    const double level = row.levelAt(x + lane);
    levels[lane] = truncateToByte(level * 255.0);
  }
}

// The levels of 8-bit worlds with integer full-resolution coordinates, as LevelGrain8 returns them.
//
// 1. The sine's argument is u * x + phase with u = 5 x + y, apart from roundings that levelMargin
//    covers. It is quadratic in x: two additions per vector advance its fraction of a turn.
// 2. Each addend is off by at most 2^-33 turns, their sum by at most 2^-23 turns after kSteps.
// 3. The cosine's argument is the rounded product of u and the row's weight. The exact product is
//    linear in x; remainder() gives its rounding error exactly.
// 4. Only the truncated level matters. Single precision with the margin decides it for nearly all
//    pixels; the reference path's function recomputes the others.
template <typename V>
class WholeGrain {
  static constexpr int kSteps = 32;

 public:
  static constexpr int kColumns = V::kFloats;
  static constexpr int kMostColumns = kSteps * kColumns;

  LOMIX_INLINE WholeGrain(const GrainRow& row, int x)
      : WholeGrain(row, x, static_cast<std::uint64_t>(x + kGrainOrigin) * row.xStep) {}

  LOMIX_INLINE typename V::Ints next() {
    // In units of 2^-28 turns: the rounding error may be several turns.
    constexpr int kCoarseBits = 4;
    const auto coarseTurns = V::floats(static_cast<float>(0x1p28 / (2.0 * kPi)));
    const auto v = V::mul(u_, yWeight_);
    const auto taken = V::rounded(V::mul(V::remainder(u_, yWeight_, v), coarseTurns));
    const auto cosineTurns = V::sub(productTurns_, V::template shiftedLeft<kCoarseBits>(taken));
    // Both factors have the wrong sign, so their product has the right one.
    const auto grain =
        V::max(V::mul(foldedSine<V>(sineTurns_), foldedSine<V>(cosineTurns)), V::floats(0.0f));
    const auto least = V::truncated(V::mulAdd(grain, scale_, lessMargin_));
    const auto most = V::truncated(V::mulAdd(grain, scale_, margin_));
    auto levels = least;
    if (const auto doubtful = V::differing(least, most); V::any(doubtful)) [[unlikely]] {
      std::uint32_t lanes[V::kFloats];
      V::store(lanes, least);
      redoBytes(row_, x_, V::laneBits(doubtful), lanes);
      levels = V::load(lanes);
    }
    sineTurns_ = V::add(sineTurns_, sineStep_);
    sineStep_ = V::add(sineStep_, sineCurve_);
    productTurns_ = V::add(productTurns_, productStep_);
    u_ = V::add(u_, uStep_);
    x_ += V::kFloats;
    return levels;
  }

  template <int kPart>
  static LOMIX_INLINE typename V::Ints part(typename V::Ints levels) {
    return levels;
  }

 private:
  // column: that of x, at full resolution.
  LOMIX_INLINE WholeGrain(const GrainRow& row, int x, std::uint64_t column)
      : row_(row),
        x_(x),
        uStep_(V::floats(kGrainRate * static_cast<float>(row.xStep) * V::kFloats)),
        yWeight_(V::floats(row.yWeight)),
        scale_(V::floats(row.amount * 255.0f)),
        margin_(V::floats(row.levelMargin)),
        lessMargin_(V::floats(-row.levelMargin)) {
    const float uPerLane = kGrainRate * static_cast<float>(row.xStep);
    u_ = V::mulAdd(V::counted(), V::floats(uPerLane),
                   V::floats(kGrainRate * static_cast<float>(column) + row.yFull));
    const LaneTurns<V> start(row, column);
    sineTurns_ = V::load(start.sine);
    sineStep_ = V::load(start.sineStep);
    sineCurve_ = V::ints(start.sineCurve);
    productTurns_ = V::load(start.cosine);
    productStep_ = V::ints(start.cosineStep);
  }

  const GrainRow& row_;
  int x_;
  typename V::Floats u_, uStep_, yWeight_;
  typename V::Ints sineTurns_, sineStep_, sineCurve_;
  typename V::Ints productTurns_, productStep_;
  typename V::Floats scale_, margin_, lessMargin_;
};

}  // namespace
}  // namespace lomix::engine
