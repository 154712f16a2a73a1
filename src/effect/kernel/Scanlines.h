// Which rows are dark scanlines.
#pragma once

#include "effect/signal/LomixStruct.h"

namespace lomix {

/// Returns whether row y of the render is part of a dark scanline. Clear and dark bands alternate,
/// each record.scanlineThickness rows high: with thickness 2 at speed 0, rows 2 and 3 of every 4
/// are dark.
bool onDarkLine(const LomixStruct& record, int y);

}  // namespace lomix
