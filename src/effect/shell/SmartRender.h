// The effect's side of the host's two-step rendering.
#pragma once

#include "hostapi/Records.h"

/// Asks for exactly the input that the host asks of the effect, reports its rectangles as the
/// output's and declares the dependency on all parameters at the current time. Returns the host's
/// first error.
PF_Err SkeletonPreRender(PF_InData* in_data, PF_OutData* out_data, PF_PreRenderExtra* extra);

/// Gathers worlds and parameters, renders, and gives back what it took. Returns the host's first
/// error; the renderer's own result plays no part.
PF_Err SkeletonSmartRender(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra);

/// Grows dst to cover src; an empty dst becomes src, an empty src changes nothing else.
void UnionLRect(const PF_LRect* src, PF_LRect* dst);

bool IsEmptyRect(const PF_LRect* r);

/// Whether (x, y) lies on the rectangle's border; right and bottom edges belong to it.
bool IsEdgePixel(PF_LRect* r, int x, int y);
