// Which instruction sets the processor has, of those that a SIMD target needs.
#pragma once

namespace lomix::engine {

/// Whether processor and system have AVX2 and FMA.
bool processorHasAvx2();

/// Whether they have AVX-512 with byte permutations too: F, BW, DQ, VL and VBMI.
bool processorHasAvx512();

}  // namespace lomix::engine
