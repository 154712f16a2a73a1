#include "effect/kernel/Grain.h"

#include "effect/numeric/ZeroIfNegative.h"
#include "effect/signal/SyncFunctions.h"

namespace lomix {

float grainLevel(const PF_LayerDef& src, double invXDown, double invYDown, float time, int x,
                 int y) {
  const float r =
      legacyRandom(fullResolution(x + kGrainOrigin, invXDown),
                   fullResolution(y + kGrainOrigin, invYDown), fullResolution(src.width, invXDown),
                   fullResolution(src.height, invYDown), time + time, kGrainRate);
  return zeroIfNegative(r > 1.0f ? 1.0f : r);
}

}  // namespace lomix
