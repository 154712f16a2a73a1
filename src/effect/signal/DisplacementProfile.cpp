// The three values per row that shape a frame: scan distortion, bar brightness, signal jitter.

#include "effect/kernel/Lomix.h"
#include "effect/noise/Perlin.h"
#include "effect/signal/RowProfile.h"

namespace lomix {
namespace {

float signalJitter(float row, float p) {
  Perlin noise(1, lomix::kFirstJitterSeed);
  const float at = row + p;
  const float first = noise.noise(static_cast<float>(at + lomix::kFirstJitterOffset));
  noise.setSeed(lomix::kSecondJitterSeed);
  const float second = noise.noise(static_cast<float>(at + lomix::kSecondJitterOffset));
  return first * second;
}

}  // namespace
}  // namespace lomix

PF_Err Lomix::CreateDisplacementImage(PF_LayerDef* world, float p, LomixStruct* record) {
  const float height = static_cast<float>(world->height * invYDown);
  for (int y = 0; y < world->height; ++y) {
    const float row = static_cast<float>(y * invYDown);
    const float jitter = lomix::signalJitter(row, p);
    record->scanProfile.push_back(lomix::scanWeight(lomix::scanSum(row, height, p)));
    record->barsProfile.push_back(lomix::barBrightness(lomix::barSum(row, height, p)));
    record->signalProfile.push_back(jitter);
  }
  return PF_Err_NONE;
}
