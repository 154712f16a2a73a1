// Known bytes around pictures and handles, which show a write outside of them.
#pragma once

#include <cstddef>
#include <span>

namespace lomix::host {

/// Returns the guard byte of a place. It differs from place to place, so that neither a constant
/// fill nor a shifted copy goes unnoticed.
constexpr std::byte guardByte(std::size_t place) {
  return static_cast<std::byte>((place * 131U + 89U) ^ (place >> 8U));
}

/// Fills a block with guard bytes. place: that of the block's first byte.
inline void writeGuard(std::span<std::byte> block, std::size_t place) {
  for (std::byte& b : block) b = guardByte(place++);
}

/// Returns whether the block still has the bytes of writeGuard().
inline bool guardHolds(std::span<const std::byte> block, std::size_t place) {
  for (const std::byte b : block) {
    if (b != guardByte(place++)) return false;
  }
  return true;
}

}  // namespace lomix::host
