// Operations on the host's rectangles of 16-bit coordinates.
#pragma once

#include "hostapi/Records.h"

/// Touching edges count.
bool Rect_Intersect(const PF_LegacyRect& a, const PF_LegacyRect& b);

/// a with every edge pulled into b.
PF_LegacyRect ConstrainRectangle(PF_LegacyRect a, PF_LegacyRect b);
