#include "effect/noise/MTRand_int32.h"

#include <algorithm>

std::uint32_t MTRand_int32::state[MTRand_int32::kStateSize] = {};
int MTRand_int32::p = MTRand_int32::kStateSize;
bool MTRand_int32::init = false;

void MTRand_int32::seed(unsigned long s) {
  lomix::twister::seedState(state, static_cast<std::uint32_t>(s));
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
  for (int i = 0; i < kStateSize; ++i) state[i] = lomix::twister::regenerated(state, i);
  p = 0;
}

unsigned long MTRand_int32::rand_int32() {
  if (p == kStateSize) gen_state();
  return lomix::twister::tempered(state[p++]);
}
