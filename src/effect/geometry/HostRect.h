// Operations on the host's rectangles, whose coordinates have 16 bits.
#pragma once

#include "hostapi/Records.h"

/// Returns whether two rectangles have a point in common, edges included.
bool Rect_Intersect(const PF_LegacyRect& a, const PF_LegacyRect& b);

/// Returns a with every edge moved into b.
PF_LegacyRect ConstrainRectangle(PF_LegacyRect a, PF_LegacyRect b);
