// Conversions of a row of pixels in place. Rows of floats are aligned.
#pragma once

#include "engine/SimdTarget.h"

namespace lomix::library {

struct Format {
  int depth;  ///< Bits per channel.
  engine::AlphaPlace alpha;
  bool blueFirst;  ///< Of the colours.

  int pixelBytes() const { return depth / 2; }
};

/// Divides colours by alpha. 8 bits: round(colour * 255 / alpha), at most 255. Colours under alpha
/// 0 stay.
void makeStraight(void* row, int pixels, const Format& format);

/// Multiplies colours by alpha. 8 bits: round(colour * alpha / 255). keepUnderZero: colours under
/// alpha 0 stay; otherwise they become 0.
void makePremultiplied(void* row, int pixels, const Format& format, bool keepUnderZero);

/// Exchanges red and blue.
void exchangeRedAndBlue(void* row, int pixels, const Format& format);

}  // namespace lomix::library
