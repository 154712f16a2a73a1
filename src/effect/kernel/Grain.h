// The grain: a random level for each pixel.
#pragma once

#include "hostapi/Records.h"

namespace lomix {

/// Added to columns and rows, so that the grain's formula never divides by row 0.
inline constexpr int kGrainOrigin = 10;
/// The rate argument of legacyRandom: the weight of columns against rows.
inline constexpr float kGrainRate = 5.0f;

/// Returns a coordinate of the render in full-resolution pixels, rounded once to single precision.
/// inverseFactor: 2 at half resolution.
inline float fullResolution(int pixels, double inverseFactor) {
  return static_cast<float>(pixels * inverseFactor);
}

/// Returns the grain of output pixel (x, y) in [0, 1], or NaN where the sine's argument is not
/// finite. src: only its size is read; time: seconds. The pattern keeps its place when the host
/// downsamples: at half resolution pixel (0, 0) has the grain of pixel (10, 10) at full resolution.
float grainLevel(const PF_LayerDef& src, double invXDown, double invYDown, float time, int x,
                 int y);

}  // namespace lomix
