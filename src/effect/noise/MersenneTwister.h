// The steps of the Mersenne twister MT19937 of Matsumoto and Nishimura, on a state that the caller
// keeps: 624 words. They are constexpr, so that tables can be made by the compiler.
#pragma once

#include <cstdint>

namespace lomix::twister {

inline constexpr int kStateSize = 624;   ///< Words of the state.
inline constexpr int kMiddleWord = 397;  ///< Distance of the word that is mixed in.

/// Fills state (kStateSize words) from a seed. Before the first output every word must be
/// regenerated.
constexpr void seedState(std::uint32_t* state, std::uint32_t seed) {
  state[0] = seed;
  for (std::uint32_t i = 1; i < kStateSize; ++i) {
    state[i] = 1812433253u * (state[i - 1] ^ (state[i - 1] >> 30)) + i;
  }
}

/// Returns the next value of word i of state. Words are replaced in ascending order and in place:
/// from word 227 on, the new words 0, 1, ... are mixed in.
constexpr std::uint32_t regenerated(const std::uint32_t* state, int i) {
  const std::uint32_t next = state[(i + 1) % kStateSize];
  const std::uint32_t mixed = (state[i] & 0x80000000u) | (next & 0x7fffffffu);
  const std::uint32_t matrix = (mixed & 1u) != 0 ? 0x9908b0dfu : 0u;
  return state[(i + kMiddleWord) % kStateSize] ^ (mixed >> 1) ^ matrix;
}

/// Returns the generator's output for a regenerated word.
constexpr std::uint32_t tempered(std::uint32_t word) {
  word ^= word >> 11;
  word ^= (word << 7) & 0x9d2c5680u;
  word ^= (word << 15) & 0xefc60000u;
  return word ^ (word >> 18);
}

}  // namespace lomix::twister
