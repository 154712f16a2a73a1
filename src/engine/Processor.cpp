#include "engine/Processor.h"

#include <cstddef>

#if defined(__x86_64__) || defined(_M_X64)

#if defined(_MSC_VER)
#include <immintrin.h>
#include <intrin.h>
#elif defined(__APPLE__)
#include <sys/sysctl.h>
#endif

namespace lomix::engine {

#if defined(_MSC_VER)

namespace {

struct Words {
  int eax, ebx, ecx, edx;
};

Words processorWords(int leaf) {
  int words[4];
  __cpuidex(words, leaf, 0);
  return {words[0], words[1], words[2], words[3]};
}

bool has(int word, int bit) { return (static_cast<unsigned>(word) >> bit & 1) != 0; }

// Returns whether the operating system saves the registers of those XCR0 bits.
bool savesRegisters(unsigned long long bits) {
  return has(processorWords(1).ecx, 27) && (_xgetbv(0) & bits) == bits;
}

}  // namespace

bool processorHasAvx2() {
  return savesRegisters(0x6) && has(processorWords(1).ecx, 12) && has(processorWords(7).ebx, 5);
}

bool processorHasAvx512() {
  const Words words = processorWords(7);
  return processorHasAvx2() && savesRegisters(0xE6) && has(words.ebx, 16) && has(words.ebx, 17) &&
         has(words.ebx, 30) && has(words.ebx, 31) && has(words.ecx, 1);
}

#elif defined(__APPLE__)

namespace {

// Asks the system: __builtin_cpu_supports needs a runtime library that not every toolchain has.
bool has(const char* feature) {
  int value = 0;
  std::size_t size = sizeof value;
  return sysctlbyname(feature, &value, &size, nullptr, 0) == 0 && value != 0;
}

}  // namespace

bool processorHasAvx2() { return has("hw.optional.avx2_0") && has("hw.optional.fma"); }

bool processorHasAvx512() {
  return processorHasAvx2() && has("hw.optional.avx512f") && has("hw.optional.avx512bw") &&
         has("hw.optional.avx512dq") && has("hw.optional.avx512vl") &&
         has("hw.optional.avx512vbmi");
}

#else

bool processorHasAvx2() {
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
}

bool processorHasAvx512() {
  return processorHasAvx2() && __builtin_cpu_supports("avx512f") != 0 &&
         __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
         __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512vbmi") != 0;
}

#endif

}  // namespace lomix::engine

#else

namespace lomix::engine {

bool processorHasAvx2() { return false; }
bool processorHasAvx512() { return false; }

}  // namespace lomix::engine

#endif
