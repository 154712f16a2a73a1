// The SIMD target for WebAssembly, whose modules are compiled with or without vectors.

#include "engine/SimdTarget.h"

#if defined(__wasm_simd128__)

#include "engine/simd/Target.h"
#include "engine/simd/Wasm.h"

namespace lomix::engine {

const SimdTarget* wasmTarget() {
  static constexpr SimdTarget kTarget = simdTarget<Wasm>("wasm");
  return &kTarget;
}

}  // namespace lomix::engine

#else

namespace lomix::engine {

const SimdTarget* wasmTarget() { return nullptr; }

}  // namespace lomix::engine

#endif
