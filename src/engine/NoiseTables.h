// The two noise tables of the signal jitter, made by the compiler, so that frames on any number of
// threads share them without touching the process-wide generator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "effect/noise/MersenneTwister.h"

namespace lomix::engine {

/// For each lattice cell 0-256 the hash of its point, as Perlin::noise chains its table three
/// times.
using LatticeHashes = std::array<std::uint8_t, 257>;

/// The hashes of a Perlin object of that seed: the low bytes of the first 256 outputs of MT19937.
constexpr LatticeHashes latticeHashes(std::uint32_t seed) {
  std::array<std::uint32_t, twister::kStateSize> state{};
  twister::seedState(state.data(), seed);
  // Regenerated word by word, as far as the table needs it.
  std::array<std::uint8_t, 512> table{};
  for (std::size_t i = 0; i < 256; ++i) {
    state[i] = twister::regenerated(state.data(), static_cast<int>(i));
    table[i] = table[i + 256] = static_cast<std::uint8_t>(twister::tempered(state[i]) & 0xFF);
  }
  LatticeHashes hashes{};
  for (std::size_t cell = 0; cell < hashes.size(); ++cell) {
    hashes[cell] = table[table[table[cell]]];
  }
  return hashes;
}

}  // namespace lomix::engine
