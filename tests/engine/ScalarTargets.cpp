#include "engine/ScalarTargets.h"

#include "engine/simd/Scalar.h"
#include "engine/simd/Target.h"

namespace lomix::differential {

std::vector<const engine::SimdTarget*> scalarTargets() {
  static constexpr engine::SimdTarget kOne =
      engine::simdTarget<engine::Scalar<1, true>>("scalar-1");
  static constexpr engine::SimdTarget kFour =
      engine::simdTarget<engine::Scalar<4, false>>("scalar-4");
  return {&kOne, &kFour};
}

}  // namespace lomix::differential
