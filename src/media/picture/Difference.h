#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// How far two pictures are apart, channels counted from 0 to 1.
struct Difference {
  double largest = 0.0;  ///< Infinite where one has a number and the other has none.
  int x = 0, y = 0;      ///< Where it is largest.
  int channel = 0;       ///< In the order of Picture.
  double psnr = 0.0;     ///< Decibels over all channels; infinite for equal pictures.
};

/// Compares pictures of one size and depth. Alpha counts where one of them has it.
Difference measureDifference(const Picture& a, const Picture& b);

/// How far they are apart in each colour, gain times, as an opaque picture of 8 bits.
Picture differencePicture(const Picture& a, const Picture& b, double gain);

}  // namespace lomix::media
