#include "effect/kernel/Grain.h"

#include "effect/signal/SyncFunctions.h"

namespace lomix {

float grainLevel(const PF_LayerDef& src, double invXDown, double invYDown, float time, int x,
                 int y) {
  const float r =
      legacyRandom(fullResolution(x + kGrainOrigin, invXDown),
                   fullResolution(y + kGrainOrigin, invYDown), fullResolution(src.width, invXDown),
                   fullResolution(src.height, invYDown), time + time, kGrainRate);
  if (r < 0.0f) return 0.0f;
  if (r > 1.0f) return 1.0f;
  return r;
}

}  // namespace lomix
