// The arithmetic of single 8-bit channels, which single pixels, whole worlds and tables share.
// Products are divided by 256, not by 255, except in hard light: premultiply, unmultiply and "over"
// keep that scale on purpose.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "effect/numeric/Truncate.h"

namespace lomix {

/// Returns colour premultiplied by alpha, both 0-255: opaque 255 gives 254.
constexpr std::uint8_t premultiplied(int colour, int alpha) {
  return static_cast<std::uint8_t>((alpha * colour) >> 8);
}

/// Returns the straight colour of a premultiplied one, both 0-255: 0 for alpha 0, at most 255.
constexpr std::uint8_t unmultiplied(int colour, int alpha) {
  return static_cast<std::uint8_t>(alpha > 0 ? std::min(colour * 256 / alpha, 255) : 0);
}

/// Returns what an "over" by an overlay of that alpha leaves of a channel, both 0-255.
constexpr std::uint8_t weightedByte(int channel, int alpha) {
  return static_cast<std::uint8_t>((channel * (255 - alpha)) >> 8);
}

/// Returns the hard light of picture channel d and overlay channel s, both 0-255, weighted by alpha
/// in [0, 1]. d decides between multiply and screen.
constexpr int hardLight8(int d, int s, float alpha) {
  const int h = d >= 128 ? 255 - (2 * (255 - s) * (255 - d)) / 255 : (2 * s * d) / 255;
  return static_cast<int>(static_cast<float>(h) * alpha + (1.0f - alpha) * static_cast<float>(d));
}

/// Returns from + t * (to - from), both channels 0-255: one fused operation in single precision,
/// truncated, low 8 bits kept. Within [0, 255] for t in [0, 1].
inline std::uint8_t lerpByte(int from, int to, float t) {
  return truncateToByte(std::fma(t, static_cast<float>(to - from), static_cast<float>(from)));
}

}  // namespace lomix
