// The blend of 8-bit pixels with their original as look-up tables, for vector code.
#pragma once

#include "engine/ByteMap.h"

namespace lomix::engine {

/// Look-up tables by the distance between effect and original:
///   effect >= original: result = original + rise[effect - original]
///   effect < original:  result = original - fall[original - effect]
///   and result -= 1 where limits apply and result < limit[distance].
///
/// Why this is exact. PixelLerp8 computes original + amount * difference in single precision and
/// truncates.
/// 1. Rounding never carries the sum past an integer, but may carry it up to one: from below, by at
///    most half an ulp of that integer.
/// 2. So the result is original + floor(amount * difference), plus 1 where the sum is that near to
///    the next integer n.
/// 3. The distance to n depends on the difference alone. Half an ulp depends on n, in steps at
///    powers of two: 2^-25 of the power of two at or above n.
/// 4. rise and fall include the 1 for every difference that needs it for some n; limit is the least
///    n that does. Below it the 1 is taken off again.
class BlendMap {
 public:
  /// Makes the tables for a weight of the effect in [0, 1].
  explicit BlendMap(float amount);

  /// Returns whether the tables give PixelLerp8's result for any two bytes. They do not for the few
  /// amounts that need limits for rising and for falling effects.
  bool exact() const { return !(limitsRise_ && limitsFall_); }
  const ByteTable& rise() const { return rise_; }
  const ByteTable& fall() const { return fall_; }
  /// Return whether limit() applies to effects above, or to effects below their original.
  bool limitsRise() const { return limitsRise_; }
  bool limitsFall() const { return limitsFall_; }
  const ByteTable& limit() const { return limit_; }

 private:
  ByteTable rise_{};
  ByteTable fall_{};
  ByteTable limit_{};
  bool limitsRise_ = false;
  bool limitsFall_ = false;
};

}  // namespace lomix::engine
