// The blend of an 8-bit effect with its original in a form that vector code applies to many bytes
// at once.
#pragma once

#include "engine/ByteMap.h"

namespace lomix::engine {

/// The blend as tables of how far apart the two bytes lie: a result is the original plus
/// rise[effect - original], or less fall[original - effect], and then less one where it lies below
/// the limit of that distance.
///
/// The told blend rounds original + amount * difference to single precision and truncates. Rounding
/// never takes it past a whole number but may take it up to one, from below by up to half the last
/// place there. So the result is the original plus floor(amount * difference), plus one where the
/// next whole number is that near. How near it is depends on the difference alone; how near is near
/// enough, on the size of the whole number, in steps of powers of two. The tables hold the sum with
/// that one for differences that ever need it, and the limit below which it comes off again.
class BlendMap {
 public:
  /// amount: 0-1.
  explicit BlendMap(float amount);

  /// Whether this gives the told blend of any two bytes: not for the few amounts that would need
  /// limits for effects above their original and for those below.
  bool exact() const { return !(limitsRise_ && limitsFall_); }
  const ByteTable& rise() const { return rise_; }
  const ByteTable& fall() const { return fall_; }
  /// Whether there are limits at all, for effects above or for effects below their original.
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
