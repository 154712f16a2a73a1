// The step of a frame that has two ways to the same pixels.
#pragma once

#include "effect/kernel/Lomix.h"

namespace lomix {

/// Makes the record's profiles, draws every pixel of output and blends the original back in.
/// input: not empty; output: has pixels, cleared. record: scalars filled, profiles empty. A build
/// links one of two: the kernel path or the row engine.
void drawFrame(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output, LomixStruct& record);

/// The kernel path, in every build.
void drawFrameByKernel(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output, LomixStruct& record);

}  // namespace lomix
