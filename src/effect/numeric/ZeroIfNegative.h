// The lower limit of levels.
#pragma once

#include <bit>
#include <cstdint>

namespace lomix {

/// Returns +0 where value is below zero, and value itself otherwise: -0 stays -0, NaN stays NaN.
///
/// The comparison is one of integers on purpose. Clang for ARM compiles `value < 0 ? 0 : value`, in
/// any wording, to an instruction that takes +0 for greater than -0, and so turns -0 into +0.
constexpr float zeroIfNegative(float value) {
  // From the subnormal next to zero, 0x80000001, to minus infinity, 0xFF800000.
  const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
  return bits - 0x80000001u <= 0xFF800000u - 0x80000001u ? 0.0f : value;
}

}  // namespace lomix
