// The one way from floating point to integers.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace lomix {

/// value truncated toward zero, held at the limits of 32 bits where it lies beyond them; 0 for NaN.
/// A bare cast would be undefined there, and processors disagree on what it gives.
template <typename Float>
constexpr std::int32_t truncateToInt32(Float value) {
  static_assert(std::is_floating_point_v<Float>);
  constexpr Float kBeyond = static_cast<Float>(2147483648.0);
  if (value >= kBeyond) return std::numeric_limits<std::int32_t>::max();
  if (value <= -kBeyond) return std::numeric_limits<std::int32_t>::min();
  if (value != value) return 0;
  return static_cast<std::int32_t>(value);
}

/// The low 8 bits of the truncated value: what an 8-bit channel stores, without any clamp.
template <typename Float>
constexpr std::uint8_t truncateToByte(Float value) {
  return static_cast<std::uint8_t>(truncateToInt32(value) & 0xFF);
}

}  // namespace lomix
