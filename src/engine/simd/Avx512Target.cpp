// The SIMD target for x86-64 processors with AVX-512 and byte permutations. Every x86-64 build
// contains it; the target pragma below lets it use these instructions, and it is chosen at run
// time.

#include "engine/SimdTarget.h"

#if defined(__x86_64__) || defined(_M_X64)

// GCC 12's header leaves vectors uninitialised where their value does not matter, and GCC warns
// about that in every function that uses them.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

// Everything that the headers below the pragma include. The linker keeps one copy of a library's
// inline function for the whole program; it must not be one compiled for these processors only.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <type_traits>
#include <utility>

#include "effect/kernel/Grain.h"
#include "effect/numeric/Truncate.h"
#include "effect/signal/RowProfile.h"
#include "engine/Processor.h"

#if defined(__clang__)
#pragma clang attribute push(                                                          \
    __attribute__((target("avx2,fma,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi"))), \
    apply_to = function)
#elif defined(__GNUC__)
#pragma GCC push_options
#pragma GCC target("avx2,fma,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi")
#endif

#include "engine/simd/Avx512.h"
#include "engine/simd/Target.h"

#if defined(__clang__)
#pragma clang attribute pop
#elif defined(__GNUC__)
#pragma GCC pop_options
#endif

namespace lomix::engine {

const SimdTarget* avx512Target() {
  static constexpr SimdTarget kTarget = simdTarget<Avx512>("avx512");
  return processorHasAvx512() ? &kTarget : nullptr;
}

}  // namespace lomix::engine

#else

namespace lomix::engine {

const SimdTarget* avx512Target() { return nullptr; }

}  // namespace lomix::engine

#endif
