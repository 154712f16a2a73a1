// The SIMD target that every processor runs.

#include "engine/SimdTarget.h"
#include "engine/simd/Scalar.h"
#include "engine/simd/Target.h"

namespace lomix::engine {

const SimdTarget& portableTarget() {
  // Four lanes take 1.5 to 1.8 times as many instructions: compilers vectorize few of their loops.
  static constexpr SimdTarget kTarget = simdTarget<Scalar<1, true>>("portable");
  return kTarget;
}

}  // namespace lomix::engine
