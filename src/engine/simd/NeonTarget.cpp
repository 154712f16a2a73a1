// The SIMD target for 64-bit ARM, whose processors all have NEON.

#include "engine/SimdTarget.h"

#if defined(__aarch64__)

#include "engine/simd/Neon.h"
#include "engine/simd/Target.h"

namespace lomix::engine {

const SimdTarget* neonTarget() {
  static constexpr SimdTarget kTarget = simdTarget<Neon>("neon");
  return &kTarget;
}

}  // namespace lomix::engine

#else

namespace lomix::engine {

const SimdTarget* neonTarget() { return nullptr; }

}  // namespace lomix::engine

#endif
