#include "engine/ScalarTarget.h"

#include "engine/simd/Scalar.h"
#include "engine/simd/Target.h"

namespace lomix::differential {

const engine::SimdTarget& scalarTarget() {
  static constexpr engine::SimdTarget kTarget =
      engine::simdTarget<engine::Scalar<4, false>>("scalar-4");
  return kTarget;
}

}  // namespace lomix::differential
