// Which instruction sets the processor has, of those that a SIMD target needs.
#pragma once

namespace lomix::engine {

/// Returns whether processor and operating system support AVX2 and FMA.
bool processorHasAvx2();

/// Returns whether they also support AVX-512 with byte permutations: F, BW, DQ, VL and VBMI.
bool processorHasAvx512();

}  // namespace lomix::engine
