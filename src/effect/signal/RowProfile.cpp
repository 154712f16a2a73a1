#include "effect/signal/RowProfile.h"

#include "effect/numeric/Sine.h"

namespace lomix {

float scanSum(float row, float height, float p) {
  float w = static_cast<float>(sine(static_cast<double>(row) * 4.0 / height - p));
  for (int i = 1; i <= kScanHarmonics; ++i) {
    const float phase = row * static_cast<float>(i) / height - p;
    w = static_cast<float>(w + sine(phase + 10.0 + 2.0 * i));
  }
  return w;
}

float barSum(float row, float height, float p) {
  const double wideRow = row;
  const float b = static_cast<float>(sine(wideRow * 7.0 / height - p));
  return static_cast<float>(b + sine(wideRow * 3.0 / height - p));
}

}  // namespace lomix
