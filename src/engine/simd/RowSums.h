// Computes the sums of sines behind the row profiles in vectors.
#pragma once

#include <algorithm>
#include <cmath>

#include "effect/signal/RowProfile.h"
#include "engine/SimdTarget.h"
#include "engine/simd/Sine.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// In each lane a sum of sines, rounded to single precision after every term. Marks a lane as
// doubtful where the error of a sine could carry the sum across a rounding boundary.
template <typename V>
class RoundedSum {
 public:
  LOMIX_INLINE RoundedSum() : sum_(V::singles(0.0f)), doubtful_(V::noSingles()) {}
  LOMIX_INLINE void add(typename V::Doubles sine) {
    // Twice the bound of the difference between this sine and the library's, 2^-49.
    const auto error = V::doubles(0x1p-48);
    const auto exact = V::add(V::widen(sum_), sine);
    const auto low = V::narrow(V::sub(exact, error));
    sum_ = V::narrow(V::add(exact, error));
    doubtful_ = V::either(doubtful_, V::differing(low, sum_));
  }
  LOMIX_INLINE typename V::Singles value() const { return sum_; }
  /// Returns bit i for lane i.
  LOMIX_INLINE unsigned doubtful() const { return V::laneBits(doubtful_); }

 private:
  typename V::Singles sum_;
  typename V::SingleMask doubtful_;
};

template <typename V>
void rowSums(const ProfileFrame& frame, int first, int count, float* scanSums, float* barSums) {
  const double lastRow = std::abs((first + count) * frame.invYDown);
  const bool reducible = frame.height > 0.0f && std::abs(frame.p) < 0x1p24f &&
                         lastRow * kScanHarmonics / frame.height < 0x1p24;
  if (!reducible) return formulaTarget().rowSums(frame, first, count, scanSums, barSums);

  const auto height = V::singles(frame.height);
  const auto wideHeight = V::doubles(frame.height);
  const auto p = V::singles(frame.p);
  const auto wideP = V::doubles(frame.p);
  for (int done = 0; done < count; done += V::kDoubles) {
    const auto row = V::narrow(V::mul(V::countedFrom(first + done), V::doubles(frame.invYDown)));
    const auto wideRow = V::widen(row);
    const auto sineOfRow = [&](double times) {
      const auto turns = V::div(V::mul(wideRow, V::doubles(times)), wideHeight);
      return sine<V>(V::sub(turns, wideP));
    };

    RoundedSum<V> scan;
    scan.add(sineOfRow(4.0));
    for (int i = 1; i <= kScanHarmonics; ++i) {
      const auto times = V::singles(static_cast<float>(i));
      const auto phase = V::sub(V::div(V::mul(row, times), height), p);
      const auto shifted = V::add(V::widen(phase), V::doubles(10.0));
      scan.add(sine<V>(V::add(shifted, V::doubles(2.0 * i))));
    }
    RoundedSum<V> bars;
    bars.add(sineOfRow(7.0));
    bars.add(sineOfRow(3.0));

    float rows[V::kDoubles];
    float scanLanes[V::kDoubles];
    float barLanes[V::kDoubles];
    V::store(rows, row);
    V::store(scanLanes, scan.value());
    V::store(barLanes, bars.value());
    const unsigned scanDoubts = scan.doubtful();
    const unsigned barDoubts = bars.doubtful();
    const auto has = [](unsigned bits, int lane) { return (bits >> lane & 1) != 0; };
    for (int lane = 0; lane < std::min(V::kDoubles, count - done); ++lane) {
      scanSums[done + lane] =
          has(scanDoubts, lane) ? scanSum(rows[lane], frame.height, frame.p) : scanLanes[lane];
      barSums[done + lane] =
          has(barDoubts, lane) ? barSum(rows[lane], frame.height, frame.p) : barLanes[lane];
    }
  }
}

}  // namespace
}  // namespace lomix::engine
