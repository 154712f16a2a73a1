// A SIMD target of plain operations, for the tests alone.
#pragma once

#include "engine/SimdTarget.h"

namespace lomix::differential {

/// Returns the target "scalar-4": four lanes without look-up tables, where the portable target has
/// one lane with them. The two run the shared code in different widths and specialisations.
const engine::SimdTarget& scalarTarget();

}  // namespace lomix::differential
