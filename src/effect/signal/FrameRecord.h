// From the host's parameter values to the record of one frame.
#pragma once

#include "effect/signal/LomixStruct.h"
#include "hostapi/Records.h"

namespace lomix {

/// Fills the scalars of a fresh record, with the frame's time and sync phases.
/// params: the parameter array; entry 0 is not read. currentTime / timeScale: layer time in
/// seconds, used where time is automatic. downsample: factor of scanline speed and thickness, 0.5
/// at half resolution.
void fillFrameRecord(LomixStruct& record, PF_ParamDef* const params[], A_long currentTime,
                     A_u_long timeScale, double downsample);

}  // namespace lomix
