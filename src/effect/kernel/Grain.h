// The random level of a pixel's grain.
#pragma once

#include "hostapi/Records.h"

namespace lomix {

/// Grain positions start here, so that their formula never divides by row 0.
inline constexpr int kGrainOrigin = 10;
/// Columns count this much against rows.
inline constexpr float kGrainRate = 5.0f;

/// A coordinate of the render in full-resolution pixels; inverseFactor: 2 at half resolution.
inline float fullResolution(int pixels, double inverseFactor) {
  return static_cast<float>(pixels * inverseFactor);
}

/// Grain of output pixel (x, y), in [0, 1]; NaN where the formula has no value. src: the source,
/// whose size alone counts; time: seconds. The pattern does not change with the downsampling.
float grainLevel(const PF_LayerDef& src, double invXDown, double invYDown, float time, int x,
                 int y);

}  // namespace lomix
