// The choice among the SIMD targets.

#include <vector>

#include "engine/SimdTarget.h"

namespace lomix::engine {

std::vector<const SimdTarget*> availableTargets() {
  std::vector<const SimdTarget*> targets;
  for (const SimdTarget* vectors : {avx512Target(), avx2Target(), neonTarget(), wasmTarget()}) {
    if (vectors != nullptr) targets.push_back(vectors);
  }
  targets.push_back(&portableTarget());
  return targets;
}

const SimdTarget& bestTarget() {
  static const SimdTarget& best = *availableTargets().front();
  return best;
}

}  // namespace lomix::engine
