// The step of a frame that exists twice: as the reference path and as the row engine.
#pragma once

#include "effect/kernel/Lomix.h"

namespace lomix {

/// Makes the record's profiles, draws every pixel of output and blends the original back in. Every
/// build links one of two definitions, the reference path or the row engine; both draw the same
/// bytes.
/// input: not empty, may lack pixel data; output: with pixel data, cleared to transparent black.
/// record: scalars filled, profiles empty. Profiles are made by the process-wide generator on the
/// reference path, so one thread at a time may call it.
void drawFrame(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output, LomixStruct& record);

/// The reference path, which calls Lomix::Kernel for every pixel. It is part of every build; the
/// row engine uses it for worlds whose memory overlaps.
void drawFrameByReference(Lomix& effect, PF_LayerDef* input, PF_LayerDef* output,
                          LomixStruct& record);

}  // namespace lomix
