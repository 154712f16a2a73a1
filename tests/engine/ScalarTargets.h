// SIMD targets of plain operations, for the tests alone.
#pragma once

#include <vector>

#include "engine/SimdTarget.h"

namespace lomix::differential {

/// Returns the targets "scalar-1" and "scalar-4": one lane with look-up tables, and four without.
/// They run the shared code in the widths and with the specialisations that no processor at hand
/// may have.
std::vector<const engine::SimdTarget*> scalarTargets();

}  // namespace lomix::differential
