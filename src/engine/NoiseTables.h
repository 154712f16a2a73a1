// The two noise tables of the signal jitter, made by the compiler, so that frames on any number of
// threads share them without touching the process-wide generator.
#pragma once

#include <array>
#include <cstdint>

namespace lomix::engine {

/// For each lattice cell 0-256 the hash of its point, as Perlin::noise chains its table three
/// times.
using LatticeHashes = std::array<std::uint8_t, 257>;

/// The hashes of a Perlin object of that seed: the low bytes of the first 256 outputs of MT19937.
constexpr LatticeHashes latticeHashes(std::uint32_t seed) {
  constexpr int kSize = 624;
  constexpr int kMiddle = 397;
  std::array<std::uint32_t, kSize> state{};
  state[0] = seed;
  for (std::uint32_t i = 1; i < kSize; ++i) {
    state[i] = 1812433253u * (state[i - 1] ^ (state[i - 1] >> 30)) + i;
  }
  // Regenerated in place, word by word, as far as the table needs it.
  std::array<std::uint8_t, 512> table{};
  for (std::size_t i = 0; i < 256; ++i) {
    const std::uint32_t mixed = (state[i] & 0x80000000u) | (state[i + 1] & 0x7fffffffu);
    state[i] = state[(i + kMiddle) % kSize] ^ (mixed >> 1) ^ ((mixed & 1u) != 0 ? 0x9908b0dfu : 0u);
    std::uint32_t y = state[i];
    y ^= y >> 11;
    y ^= (y << 7) & 0x9d2c5680u;
    y ^= (y << 15) & 0xefc60000u;
    y ^= y >> 18;
    table[i] = table[i + 256] = static_cast<std::uint8_t>(y & 0xFF);
  }
  LatticeHashes hashes{};
  for (std::size_t cell = 0; cell < hashes.size(); ++cell) {
    hashes[cell] = table[table[table[cell]]];
  }
  return hashes;
}

}  // namespace lomix::engine
