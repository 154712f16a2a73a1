// The work of Lomix::Kernel on one pixel.
#pragma once

#include "effect/kernel/Lomix.h"

namespace lomix {

/// Draws pixel (x, y) of dst from src as record says: position, overlays, unmultiply. Blending with
/// the original is not part of it. Lomix::Kernel calls it with its private copy of the record; the
/// comparison of the engines and the benchmark call it without that copy.
/// effect: of 8 or 32 bits per channel. src, dst: with pixel data of that depth; (x, y) is inside
/// dst. record: with profiles. Throws std::out_of_range where a profile has no row y. Threads may
/// share effect and record while they draw different pixels.
void distortPixel(Lomix& effect, const LomixStruct& record, PF_LayerDef& src, PF_LayerDef& dst,
                  int x, int y);

}  // namespace lomix
