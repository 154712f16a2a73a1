#include "effect/noise/MTRand_int32.h"

#include <algorithm>

namespace lomix {
namespace {

constexpr int kMiddle = 397;
constexpr std::uint32_t kMatrix = 0x9908b0dfu;
constexpr std::uint32_t kUpperMask = 0x80000000u;
constexpr std::uint32_t kLowerMask = 0x7fffffffu;

std::uint32_t twist(std::uint32_t u, std::uint32_t v) {
  const std::uint32_t mixed = (u & kUpperMask) | (v & kLowerMask);
  return (mixed >> 1) ^ ((v & 1u) != 0 ? kMatrix : 0u);
}

}  // namespace
}  // namespace lomix

std::uint32_t MTRand_int32::state[MTRand_int32::kStateSize] = {};
int MTRand_int32::p = MTRand_int32::kStateSize;
bool MTRand_int32::init = false;

void MTRand_int32::seed(unsigned long s) {
  state[0] = static_cast<std::uint32_t>(s);
  for (int i = 1; i < kStateSize; ++i) {
    state[i] = 1812433253u * (state[i - 1] ^ (state[i - 1] >> 30)) + static_cast<std::uint32_t>(i);
  }
  p = kStateSize;
  init = true;
}

void MTRand_int32::seed(const unsigned long* array, int size) {
  seed(19650218ul);
  int i = 1;
  int j = 0;
  const auto advance = [&i] {
    ++i;
    if (i == kStateSize) {
      state[0] = state[kStateSize - 1];
      i = 1;
    }
  };
  for (int k = std::max(kStateSize, size); k > 0; --k) {
    state[i] = (state[i] ^ ((state[i - 1] ^ (state[i - 1] >> 30)) * 1664525u)) +
               static_cast<std::uint32_t>(array[j]) + static_cast<std::uint32_t>(j);
    j = (j + 1) % size;
    advance();
  }
  for (int k = kStateSize - 1; k > 0; --k) {
    state[i] = (state[i] ^ ((state[i - 1] ^ (state[i - 1] >> 30)) * 1566083941u)) -
               static_cast<std::uint32_t>(i);
    advance();
  }
  state[0] = 0x80000000u;
  p = kStateSize;
}

void MTRand_int32::gen_state() {
  for (int i = 0; i < kStateSize; ++i) {
    state[i] = state[(i + lomix::kMiddle) % kStateSize] ^
               lomix::twist(state[i], state[(i + 1) % kStateSize]);
  }
  p = 0;
}

unsigned long MTRand_int32::rand_int32() {
  if (p == kStateSize) gen_state();
  std::uint32_t y = state[p++];
  y ^= y >> 11;
  y ^= (y << 7) & 0x9d2c5680u;
  y ^= (y << 15) & 0xefc60000u;
  y ^= y >> 18;
  return y;
}
