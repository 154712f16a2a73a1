// The effect's side of smart rendering: pre-render and render.
#pragma once

#include "hostapi/Records.h"

/// Requests from the input exactly the area that the host requests from the effect, reports the
/// input's rectangles as the output's, and checks out all parameters at the current time, which
/// declares that the frame depends on them. Returns the first error of the host. Throws the int of
/// AEGP_SuiteHandler where the host has no basic suite.
PF_Err SkeletonPreRender(PF_InData* in_data, PF_OutData* out_data, PF_PreRenderExtra* extra);

/// Checks out the worlds and the parameters, renders, and checks parameters and input in again.
/// Does not render where the host gives no input or an input without area. After an error of the
/// host it renders from what was obtained and checks nothing more in. Returns the first error of
/// the host; the renderer's result is ignored. Throws the int of AEGP_SuiteHandler where the host
/// has no basic suite or After Effects refuses a suite.
PF_Err SkeletonSmartRender(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra);

/// Grows dst to cover src. An empty dst becomes a copy of src; otherwise an empty src changes
/// nothing.
void UnionLRect(const PF_LRect* src, PF_LRect* dst);

/// Returns whether the rectangle has no area or is inverted.
bool IsEmptyRect(const PF_LRect* r);

/// Returns whether (x, y) is on the rectangle's border; its right and bottom edges are part of it.
bool IsEdgePixel(PF_LRect* r, int x, int y);
