// The hash tables of the signal jitter's noise, computed at compile time: any number of threads
// share them, and none touches the process-wide random generator.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "effect/noise/MersenneTwister.h"

namespace lomix::engine {

/// The hash of each lattice point 0-256: Perlin::noise looks it up in its table three times over.
using LatticeHashes = std::array<std::uint8_t, 257>;

/// Returns the hashes of a Perlin object of that seed. Its table is the low bytes of the first 256
/// outputs of MT19937.
constexpr LatticeHashes latticeHashes(std::uint32_t seed) {
  std::array<std::uint32_t, twister::kStateSize> state{};
  twister::seedState(state.data(), seed);
  // Regenerates the state in place, as far as the table needs it.
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
