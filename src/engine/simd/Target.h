// Makes the functions of a SIMD target of one set of operations.
#pragma once

#include "engine/SimdTarget.h"
#if !defined(LOMIX_SMALL)
#include "engine/simd/Pixels32.h"
#endif
#include "engine/simd/Pixels8.h"
#include "engine/simd/RowSums.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Returns the target of operations V, see Scalar.h. name: for reports.
template <typename V>
constexpr SimdTarget simdTarget(const char* name) {
#if defined(LOMIX_SMALL)
  // Front ends with 8 bits alone leave half of the code out.
  constexpr auto kRun32 = runFormulas32;
#else
  constexpr auto kRun32 = run32<V>;
#endif
  return {name, run8<V>, kRun32, rowSums<V>, V::finishStreaming, V::kByTable};
}

}  // namespace
}  // namespace lomix::engine
