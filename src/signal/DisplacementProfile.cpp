// The three values per row that shape a frame: scan distortion, bar brightness, signal jitter.

#include <cmath>

#include "kernel/Lomix.h"
#include "noise/Perlin.h"
#include "signal/SmoothStep.h"

namespace {

constexpr int kFirstSeed = 234;
constexpr int kSecondSeed = 1051;
constexpr int kHarmonics = 20;

float clampTo(float value, float high) {
  if (value < 0.0f) return 0.0f;
  if (value > high) return high;
  return value;
}

// Rows are counted at full resolution, so that downsampling does not change the pattern.

float signalJitter(float row, float p) {
  Perlin noise(1, kFirstSeed);
  const float at = row + p;
  const float first = noise.noise(static_cast<float>(at + 0.83));
  noise.setSeed(kSecondSeed);
  const float second = noise.noise(static_cast<float>(at + 0.57));
  return first * second;
}

float scanWeight(float row, float height, float p) {
  float w = static_cast<float>(std::sin(static_cast<double>(row) * 4.0 / height - p));
  for (int i = 1; i <= kHarmonics; ++i) {
    const float phase = row * static_cast<float>(i) / height - p;
    w = static_cast<float>(w + std::sin(phase + 10.0 + 2.0 * i));
  }
  return clampTo(smoothStep(w / 5.0f, 0.1f, 0.5f), 0.3f);
}

float barBrightness(float row, float height, float p) {
  const double wideRow = row;
  float b = static_cast<float>(std::sin(wideRow * 7.0 / height - p));
  b = static_cast<float>(b + std::sin(wideRow * 3.0 / height - p));
  return clampTo(b, 1.0f);
}

}  // namespace

PF_Err Lomix::CreateDisplacementImage(PF_LayerDef* world, float p, LomixStruct* record) {
  const float height = static_cast<float>(world->height * invYDown);
  for (int y = 0; y < world->height; ++y) {
    const float row = static_cast<float>(y * invYDown);
    const float jitter = signalJitter(row, p);
    record->scanProfile.push_back(scanWeight(row, height, p));
    record->barsProfile.push_back(barBrightness(row, height, p));
    record->signalProfile.push_back(jitter);
  }
  return PF_Err_NONE;
}
