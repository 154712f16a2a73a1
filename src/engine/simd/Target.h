// Makes the functions of a SIMD target of one set of operations.
#pragma once

#include "engine/SimdTarget.h"
#include "engine/simd/Pixels32.h"
#include "engine/simd/Pixels8.h"
#include "engine/simd/RowSums.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Returns the target of operations V, see Scalar.h. name: for reports.
template <typename V>
constexpr SimdTarget simdTarget(const char* name) {
  return {name, run8<V>, run32<V>, rowSums<V>, V::finishStreaming, V::kByTable};
}

}  // namespace
}  // namespace lomix::engine
