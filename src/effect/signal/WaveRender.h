// The renderer of one frame.
#pragma once

#include "hostapi/Records.h"

/// Renders one frame of the effect into output.
/// params: the parameter array, input layer first, or the parameters of a smart render.
/// output: cleared and drawn; null or without pixels: nothing is drawn.
/// extra: the smart-render call's, or null on the plain path.
/// Returns the error of the host's fill, which does not keep the frame from being drawn; 0 and no
/// drawing for an input without width or height. Throws the int of AEGP_SuiteHandler where After
/// Effects refuses a suite.
PF_Err WaveRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                  PF_LayerDef* output, PF_SmartRenderExtra* extra);
