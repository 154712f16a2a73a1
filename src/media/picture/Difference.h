// Compares two pictures.
#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// The difference between two pictures. Channels range from 0 to 1.
struct Difference {
  double largest = 0.0;        ///< Infinite where only one of the two values is finite.
  int x = 0, y = 0;            ///< Where it is largest.
  int channel = 0;             ///< In the order of Picture.
  double largestColour = 0.0;  ///< The largest of a colour: without alpha.
  double psnr = 0.0;           ///< Decibels over all channels; infinite for equal pictures.
};

/// Measures the difference of two pictures, which must have one size and depth. Alpha is compared
/// where at least one of them has it.
Difference measureDifference(const Picture& a, const Picture& b);

/// Returns an opaque 8-bit picture of each colour's absolute difference, multiplied by gain and
/// clamped. The pictures must have one size and depth.
Picture differencePicture(const Picture& a, const Picture& b, double gain);

}  // namespace lomix::media
