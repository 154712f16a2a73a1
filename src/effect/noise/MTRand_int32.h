// The process-wide Mersenne twister MT19937.
#pragma once

#include <cstdint>

#include "effect/noise/MersenneTwister.h"

/// The 32-bit generator of Matsumoto and Nishimura. All instances share one state without a lock:
/// threads that seed and draw at the same time get interleaved sequences.
class MTRand_int32 {
 public:
  static constexpr int kStateSize = lomix::twister::kStateSize;

  static std::uint32_t state[kStateSize];
  static int p;      ///< Index of the next word to temper; kStateSize: regenerate first.
  static bool init;  ///< Whether the state was seeded at least once.

  MTRand_int32() = default;
  virtual ~MTRand_int32() = default;

  /// Seeds the state from the low 32 bits of s.
  void seed(unsigned long s);
  /// Seeds the state from the low 32 bits of each of size >= 1 numbers.
  void seed(const unsigned long* array, int size);
  /// Regenerates all words of the state.
  void gen_state();
  /// Returns the next output, in [0, 2^32).
  unsigned long rand_int32();
};
