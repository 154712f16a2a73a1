// Frames drawn into images of every kind.
#pragma once

#include "engine/RowEngine.h"
#include "library/Image.h"

namespace lomix::library {

/// Draws rows first ... last - 1 of a target whose first pixel is pixel (left, top) of the frame's
/// output; what is outside of the output becomes transparent black. source: the frame's. Allocates
/// rows where pixels have to be converted; any threads may draw different rows at once. Throws
/// std::bad_alloc.
void drawImage(const engine::RowEngine& frame, const Image& source, const Image& target,
               std::int64_t left, std::int64_t top, int first, int last);

}  // namespace lomix::library
