// The row profiles of a frame without the process-wide generator.
#pragma once

#include "effect/signal/LomixStruct.h"
#include "engine/SimdTarget.h"

namespace lomix::engine {

/// Appends to the record's empty profiles what Lomix::CreateDisplacementImage appends for a world
/// of that height and the phase p, bit for bit. Any number of threads may do so at once.
void fillProfiles(LomixStruct& record, int height, double invYDown, float p,
                  const SimdTarget& target);

}  // namespace lomix::engine
