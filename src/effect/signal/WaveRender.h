// The renderer of one frame, from the host's records to pixels.
#pragma once

#include "hostapi/Records.h"

/// Renders one frame of the effect into output.
/// params: one parameter for each index, the input layer first.
/// output: cleared through the host, then drawn. Without pixel data it is only handed to the host's
/// fill; null: nothing is done, 0 is returned.
/// extra: that of the smart-render command, or null on the plain path.
/// Returns the error of the host's fill, which does not stop the drawing. Returns 0 and leaves the
/// output alone where the input has no width or no height. Throws the int of AEGP_SuiteHandler
/// where After Effects refuses a suite. One thread at a time may call it where the reference path
/// draws.
PF_Err WaveRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                  PF_LayerDef* output, PF_SmartRenderExtra* extra);
