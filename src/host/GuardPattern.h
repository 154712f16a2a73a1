#pragma once

#include <cstddef>
#include <span>

namespace lomix::host {

/// The byte that stands at a place of a guarded block. It changes from place to place, so that
/// neither a constant fill nor a shifted copy goes unseen.
constexpr std::byte guardByte(std::size_t place) {
  return static_cast<std::byte>((place * 131U + 89U) ^ (place >> 8U));
}

/// place: of the first byte of the block.
inline void writeGuard(std::span<std::byte> block, std::size_t place) {
  for (std::byte& b : block) b = guardByte(place++);
}

/// Whether the block is as writeGuard left it.
inline bool guardHolds(std::span<const std::byte> block, std::size_t place) {
  for (const std::byte b : block) {
    if (b != guardByte(place++)) return false;
  }
  return true;
}

}  // namespace lomix::host
