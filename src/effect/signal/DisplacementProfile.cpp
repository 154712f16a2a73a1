// The row profiles of a frame, with the noise of the process-wide generator.

#include "effect/kernel/Lomix.h"
#include "effect/noise/Perlin.h"
#include "effect/signal/RowProfile.h"

namespace lomix {
namespace {

// One noise object per row, re-seeded between its two samples.
float jitterOfRow(float row, float p) {
  Perlin noise(1, kFirstJitterSeed);
  return signalJitter(
      row, p, [&noise](float x) { return noise.noise(x); },
      [&noise](float x) {
        noise.setSeed(kSecondJitterSeed);
        return noise.noise(x);
      });
}

}  // namespace
}  // namespace lomix

PF_Err Lomix::CreateDisplacementImage(PF_LayerDef* world, float p, LomixStruct* record) {
  const float height = static_cast<float>(world->height * invYDown);
  for (int y = 0; y < world->height; ++y) {
    const float row = static_cast<float>(y * invYDown);
    const float jitter = lomix::jitterOfRow(row, p);
    record->scanProfile.push_back(lomix::scanWeight(lomix::scanSum(row, height, p)));
    record->barsProfile.push_back(lomix::barBrightness(lomix::barSum(row, height, p)));
    record->signalProfile.push_back(jitter);
  }
  return PF_Err_NONE;
}
