// Makes the row profiles of a frame without the process-wide random generator.
#pragma once

#include <functional>

#include "effect/signal/LomixStruct.h"
#include "engine/SimdTarget.h"

namespace lomix::engine {

/// Calls work(first, last) for bands that together cover rows 0 ... rows - 1 once, on any threads,
/// and returns when all calls have returned. Empty: one call on the caller's thread.
using ForRowBands =
    std::function<void(int rows, const std::function<void(int first, int last)>& work)>;

/// Fills the record's empty profiles with what Lomix::CreateDisplacementImage appends for a world
/// of that height and the phase p, bit for bit. Does nothing where height <= 0. Any number of
/// threads may fill records of their own at once.
void fillProfiles(LomixStruct& record, int height, double invYDown, float p,
                  const SimdTarget& target, const ForRowBands& forBands = {});

}  // namespace lomix::engine
