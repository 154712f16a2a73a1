// The choice among the SIMD targets.

#include <vector>

#include "engine/SimdTarget.h"

namespace lomix::engine {

std::vector<const SimdTarget*> availableTargets() {
  std::vector<const SimdTarget*> targets;
  for (const SimdTarget* vectors : {avx512Target(), avx2Target(), neonTarget(), wasmTarget()}) {
    if (vectors != nullptr) targets.push_back(vectors);
  }
#if !defined(LOMIX_SMALL) || !defined(__wasm_simd128__)
  // A WebAssembly module with vectors does not run on processors without them.
  targets.push_back(&portableTarget());
#endif
  return targets;
}

const SimdTarget& bestTarget() {
  static const SimdTarget& best = *availableTargets().front();
  return best;
}

}  // namespace lomix::engine
