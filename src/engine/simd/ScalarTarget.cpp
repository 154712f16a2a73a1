// The SIMD target that every processor runs.

#include "engine/SimdTarget.h"
#include "engine/simd/Scalar.h"
#include "engine/simd/Target.h"

namespace lomix::engine {

const SimdTarget& portableTarget() {
  // More lanes would gain nothing: compilers turn few of these loops into vector code.
  static constexpr SimdTarget kTarget = simdTarget<Scalar<4, true>>("portable");
  return kTarget;
}

}  // namespace lomix::engine
