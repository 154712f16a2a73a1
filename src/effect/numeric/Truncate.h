// Conversion from floating point to integers, and arithmetic on coordinates that cannot overflow.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace lomix {

/// Returns value truncated toward zero. Values beyond the limits of int32 give the nearer limit,
/// NaN gives 0. A bare cast would be undefined there, and processors disagree on its result.
template <typename Float>
constexpr std::int32_t truncateToInt32(Float value) {
  static_assert(std::is_floating_point_v<Float>);
  constexpr Float kBeyond = static_cast<Float>(2147483648.0);
  if (value >= kBeyond) return std::numeric_limits<std::int32_t>::max();
  if (value <= -kBeyond) return std::numeric_limits<std::int32_t>::min();
  if (value != value) return 0;
  return static_cast<std::int32_t>(value);
}

/// Returns value truncated toward zero. Negative values and NaN give 0, values from 2^32 on give
/// 2^32 - 1.
template <typename Float>
constexpr std::uint32_t truncateToUint32(Float value) {
  static_assert(std::is_floating_point_v<Float>);
  if (value >= static_cast<Float>(4294967296.0)) return std::numeric_limits<std::uint32_t>::max();
  return value > Float(0) ? static_cast<std::uint32_t>(value) : 0u;
}

/// Returns the low 8 bits of truncateToInt32(value): what an 8-bit channel stores, without a clamp.
template <typename Float>
constexpr std::uint8_t truncateToByte(Float value) {
  return static_cast<std::uint8_t>(truncateToInt32(value) & 0xFF);
}

/// The type in which coordinates of type T (int, float or double) are computed. A double holds
/// every sum and difference of two ints exactly.
template <typename T>
using WideCoordinate = std::conditional_t<std::is_integral_v<T>, double, T>;

/// Returns value as a coordinate of type T: by truncateToInt32 from floating point to int, by an
/// ordinary conversion otherwise.
template <typename T, typename Value>
constexpr T coordinate(Value value) {
  if constexpr (std::is_integral_v<T> && std::is_floating_point_v<Value>) {
    static_assert(sizeof(T) == sizeof(std::int32_t));
    return truncateToInt32(value);
  } else {
    return static_cast<T>(value);
  }
}

}  // namespace lomix
