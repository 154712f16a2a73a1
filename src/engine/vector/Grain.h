// The grain's overlay levels in vectors.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/RowKernels.h"
#include "engine/vector/Sine.h"
#include "geometry/Truncate.h"
#include "kernel/Grain.h"

namespace lomix::engine {
// Of each file's own: the same code compiled for two processors must never be taken for one.
namespace {

// Pixels whose grain is made before they are drawn: as many as the fixed-point sums below are good
// for.
constexpr int kGrainSteps = 32;
template <typename V>
constexpr int kGrainChunk = V::kFloats* kGrainSteps;

// v / pi as the division rounds it, for v that are single-precision numbers, neither subnormal nor
// huge: the quotient by way of the reciprocal is off by its last bit at most, the remainder is
// exact, and a correction by it rounds as the division does for every one of the 2^23 significands
// that v can have. Much faster than the division where that runs in halves.
template <typename V>
LOMIX_INLINE typename V::Doubles dividedByPi(typename V::Doubles v) {
  const auto inverse = V::doubles(1.0 / kPi);
  const auto quotient = V::mul(v, inverse);
  return V::fma(V::fnma(quotient, V::doubles(kPi), v), inverse, quotient);
}

// Overlay levels of count <= kGrainChunk<V> pixels from column x on, for float worlds: the formula
// in its own order, with another sine and cosine. Their product is good to 2^-42 of itself; where
// that leaves its rounding to single precision open, or the product is next to nothing, the pixel
// is done again by the formula's own functions.
template <typename V>
void grainLevels(const GrainRow& row, int x, int count, float* levels) {
  // In units of a double's last place: twice the polynomials' error and their roundings fit four
  // times.
  constexpr long long kMargin = 1 << 12;
  constexpr long long kBelowSingle = (1LL << 29) - 1;
  constexpr long long kHalfway = 1LL << 28;
  constexpr double kTiny = 1e-30;
  const auto pi = V::doubles(kPi);
  const auto inversePi = V::doubles(1.0 / kPi);
  const auto round = V::doubles(kRound);
  const auto half = V::doubles(0.5);
  const auto y = V::singles(row.yFull);
  const auto wideY = V::doubles(row.yFull);

  for (int done = 0; done < count; done += V::kDoubles) {
    const auto column = V::countedFrom(x + kGrainOrigin + done);
    const auto xFull = V::narrow(V::mul(column, V::doubles(row.invXDown)));
    const auto u = V::fma(xFull, V::singles(kGrainRate), y);
    const auto v = V::widen(V::mul(u, V::singles(row.yWeight)));
    auto slope = dividedByPi<V>(V::widen(u));
    slope = V::div(V::mul(V::mul(slope, V::widen(xFull)), pi), wideY);
    const auto a = V::fma(slope, wideY, V::doubles(row.phase));

    const auto turnsA = V::fma(a, inversePi, round);
    const auto sineA = oddPolynomial<V>(reduced<V>(a, V::sub(turnsA, round)), kSine7);
    // cos(k * pi + pi/2 + r) is -sin(r) for even k and sin(r) for odd k.
    const auto turnsV = V::add(V::fms(v, inversePi, half), round);
    const auto k = V::sub(turnsV, round);
    const auto cosineV = oddPolynomial<V>(reduced<V>(v, V::add(k, half)), kSine7);
    const auto odd = V::lowestAsSign(V::exclusiveOr(turnsA, turnsV));
    const auto sign = V::exclusiveOr(odd, V::doubles(-0.0));
    const auto product = V::exclusiveOr(V::mul(sineA, cosineV), sign);

    const auto grain = V::max(V::narrow(product), V::singles(0.0f));
    V::store(levels + done, V::mul(grain, V::singles(row.amount)));
    // Distance of the bits below single precision from the rounding boundary, counted from the
    // margin's lower end.
    const unsigned doubtful = V::bitsBelow(product, kMargin - kHalfway, kBelowSingle, 2 * kMargin) |
                              V::nearZero(product, kTiny);
    if (doubtful != 0) {
      for (int lane = 0; lane < V::kDoubles; ++lane) {
        if ((doubtful >> lane & 1) != 0) levels[done + lane] = row.levelAt(x + done + lane);
      }
    }
  }
}

// Overlay levels of float worlds by the fastest safe way. The buffer holds a multiple of the lanes.
template <typename V>
void makeGrain(const GrainRow& row, int x, int count, float* levels) {
  if (row.reducible) return grainLevels<V>(row, x, count, levels);
  for (int i = 0; i < count; ++i) levels[i] = row.levelAt(x + i);
}

inline std::uint32_t overlayByteOf(float level) {
  return truncateToByte(static_cast<double>(level) * 255.0);
}

// A level in the three colour bytes of a pixel.
inline std::uint32_t overlayPixel(float level) { return overlayByteOf(level) * 0x01010100u; }

// sin(pi * s) = s * (1 - s^2) * Q(s^2) and cos(pi * s) = (1 - 4 s^2) * R(s^2) for |s| <= 1, with
// the zeros split off. Errors 3.4e-9 and 3.2e-8.
constexpr float kSineTurns[] = {3.1415926443388464f,   -2.026119460046103f,
                                0.5240361177064186f,   -0.07518716921432848f,
                                0.006860079849114026f, -0.00038589475405223847f};
constexpr float kCosineTurns[] = {0.9999999888292004f,   -0.9348013957741542f,
                                  0.31949390669805466f,  -0.05720903735277324f,
                                  0.006253822001992074f, -0.00040396178199970896f};

template <typename V>
LOMIX_INLINE typename V::Floats polynomial(typename V::Floats z, const float (&terms)[6]) {
  auto sum = V::floats(terms[5]);
  for (int i = 4; i >= 0; --i) sum = V::fma(sum, z, V::floats(terms[i]));
  return sum;
}

// Half turns from -1 to 1, of turns as fractions of 2^32.
template <typename V>
LOMIX_INLINE typename V::Floats halfTurns(typename V::Ints turns) {
  return V::mul(V::converted(turns), V::floats(0x1p-31f));
}

template <typename V>
LOMIX_INLINE typename V::Floats sineOfTurns(typename V::Ints turns) {
  const auto s = halfTurns<V>(turns);
  const auto z = V::mul(s, s);
  return V::mul(V::fnma(z, s, s), polynomial<V>(z, kSineTurns));
}

template <typename V>
LOMIX_INLINE typename V::Floats cosineOfTurns(typename V::Ints turns) {
  const auto s = halfTurns<V>(turns);
  const auto z = V::mul(s, s);
  return V::mul(V::fnma(z, V::floats(4.0f), V::floats(1.0f)), polynomial<V>(z, kCosineTurns));
}

// The upper half of a fixed-point number, rounded.
inline std::uint32_t upperHalf(std::uint64_t v) {
  return static_cast<std::uint32_t>((v + 0x80000000u) >> 32);
}

// Angles of neighbouring columns in turns, as fractions of 2^32: where each lane starts, what its
// first step adds, and what every step adds to the step. Whole turns drop out of the top.
template <typename V>
struct LaneTurns {
  std::uint32_t sine[V::kFloats];
  std::uint32_t sineStep[V::kFloats];
  std::uint32_t sineCurve;
  std::uint32_t cosine[V::kFloats];
  std::uint32_t cosineStep;

  LaneTurns(const GrainRow& row, std::uint64_t column) {
    constexpr std::uint64_t kTurnsPerRadian = 0x28be60db9391054a;  // 2^64 / (2 pi)
    constexpr std::uint64_t kRate = 5;
    static_assert(static_cast<float>(kRate) == kGrainRate);
    const std::uint64_t lane = row.xStep;
    const std::uint64_t step = V::kFloats * lane;
    // u * x with u = kRate * x + y, and its differences.
    const auto slopeOver = [&](std::uint64_t x, std::uint64_t by) {
      return kTurnsPerRadian * ((kRate * (2 * x + by) + row.yWhole) * by);
    };
    std::uint64_t at = kTurnsPerRadian * ((kRate * column + row.yWhole) * column) + row.phaseTurns;
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

// Overlay pixels of count <= kGrainChunk<V> columns where the coordinates are whole numbers.
//
// The sine's argument is then u * x + phase with u = 5 x + y, but for roundings far below a level's
// margin: quadratic in x, so that two additions a step carry its fraction of a turn on. Each of
// them is off by 2^-33 turns at most, and all of them by 2^-23 after the steps of a chunk. The
// cosine's argument is the rounded product of u and the row's weight. The product itself is linear
// in x, and what its rounding took away is exactly a fused operation's result.
//
// The level is all that matters, so single precision and a margin do for nearly all pixels; the
// others are done by the formula.
template <typename V>
void grainPixelsWhole(const GrainRow& row, int x, int count, std::uint32_t* pixels) {
  const std::uint64_t column = static_cast<std::uint64_t>(x + kGrainOrigin) * row.xStep;
  const LaneTurns<V> start(row, column);
  auto sineTurns = V::load(start.sine);
  auto sineStep = V::load(start.sineStep);
  const auto sineCurve = V::ints(start.sineCurve);
  auto productTurns = V::load(start.cosine);
  const auto productStep = V::ints(start.cosineStep);

  const auto uPerLane = kGrainRate * static_cast<float>(row.xStep);
  const auto uStep = V::floats(uPerLane * V::kFloats);
  auto u = V::fma(V::counted(), V::floats(uPerLane),
                  V::floats(kGrainRate * static_cast<float>(column) + row.yFull));
  const auto yWeight = V::floats(row.yWeight);
  // Of a coarser unit, because the rounding may be off by some turns.
  constexpr int kCoarseBits = 4;
  const auto coarseTurns = V::floats(static_cast<float>(0x1p28 / (2.0 * kPi)));
  const auto scale = V::floats(row.amount * 255.0f);
  const auto margin = V::floats(row.levelMargin);

  for (int done = 0; done < count; done += V::kFloats) {
    const auto v = V::mul(u, yWeight);
    const auto taken = V::rounded(V::mul(V::fms(u, yWeight, v), coarseTurns));
    const auto cosineTurns = V::sub(productTurns, V::template shiftedLeft<kCoarseBits>(taken));
    const auto grain =
        V::max(V::mul(sineOfTurns<V>(sineTurns), cosineOfTurns<V>(cosineTurns)), V::floats(0.0f));
    const auto least = V::truncated(V::fms(grain, scale, margin));
    const auto most = V::truncated(V::fma(grain, scale, margin));
    V::storeGreys(pixels + done, least);
    if (const unsigned doubtful = V::differing(least, most); doubtful != 0) {
      for (int lane = 0; lane < V::kFloats; ++lane) {
        if ((doubtful >> lane & 1) != 0) {
          pixels[done + lane] = overlayPixel(row.levelAt(x + done + lane));
        }
      }
    }
    sineTurns = V::add(sineTurns, sineStep);
    sineStep = V::add(sineStep, sineCurve);
    productTurns = V::add(productTurns, productStep);
    u = V::add(u, uStep);
  }
}

// Overlay pixels of 8-bit worlds by the fastest safe way. The buffer holds a multiple of the lanes.
template <typename V>
void makeGrain(const GrainRow& row, int x, int count, std::uint32_t* pixels) {
  if (row.wholeCoordinates) return grainPixelsWhole<V>(row, x, count, pixels);
  float levels[kGrainChunk<V>];
  makeGrain<V>(row, x, count, levels);
  for (int i = 0; i < count; ++i) pixels[i] = overlayPixel(levels[i]);
}

}  // namespace
}  // namespace lomix::engine
