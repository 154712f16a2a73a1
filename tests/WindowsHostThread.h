#pragma once

#include <thread>

#include "HasThreads.h"

namespace lomix {

/// Runs work on a thread as Windows hosts have them: its old floating-point unit rounds to 53 bits.
/// Where there is no such unit, it is a thread like any other.
template <typename Work>
void onWindowsHostThread(Work work) {
  if constexpr (!kHasThreads) return work();
  std::thread([&work] {
#ifdef __x86_64__
    const unsigned short controlWord = 0x27F;
    asm volatile("fldcw %0" : : "m"(controlWord));
#endif
    work();
  }).join();
}

}  // namespace lomix
