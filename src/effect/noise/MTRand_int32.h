// The 32-bit Mersenne twister MT19937 of Matsumoto and Nishimura.
#pragma once

#include <cstdint>

/// One generator for the whole process: the state is shared by all instances and not locked, so
/// whoever seeds and draws from several threads at once gets interleaved sequences.
class MTRand_int32 {
 public:
  static constexpr int kStateSize = 624;

  static std::uint32_t state[kStateSize];
  static int p;      ///< Next word to temper; kStateSize: regenerate first.
  static bool init;  ///< Whether the state was ever seeded.

  MTRand_int32() = default;
  virtual ~MTRand_int32() = default;

  /// Only the low 32 bits of the seed count.
  void seed(unsigned long s);
  /// Seeding by an array of size >= 1 words.
  void seed(const unsigned long* array, int size);
  /// Regenerates all words of the state.
  void gen_state();
  /// The next output, in [0, 2^32).
  unsigned long rand_int32();
};
