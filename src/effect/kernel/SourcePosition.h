// Where in the source a pixel of the output comes from. The steps stand alone so that whole rows
// can be planned from them.
#pragma once

#include "effect/signal/LomixStruct.h"
#include "hostapi/Records.h"

namespace lomix {

/// position less offset times size, truncated: the picture slid (columns) or rolled (rows).
int slidPosition(int position, int size, float offset);

/// One correction each way: what lies further out is left to the clamp.
int wrapOnce(int position, int size);

/// Whether row y is pushed sideways at all.
bool isDisplaced(const LomixStruct& record, int y);

/// By how many pixels row y is pushed; for rows that isDisplaced() affirms. width: the source's.
float rowShift(const LomixStruct& record, int y, int width);

/// Where a slid column comes to lie before the clamp, by the caller's displace(column). Displaced
/// after the wrap, a stretched row meets the clamp and repeats its edge pixel; a tiled one is
/// displaced before it.
template <typename Displace>
int displacedAndWrapped(bool tile, int slid, int width, const Displace& displace) {
  const int wrapped = wrapOnce(tile ? displace(slid) : slid, width);
  return tile ? wrapped : displace(wrapped);
}

/// Source column and row of output pixel (x, y), inside the source whatever the record says.
int sourceColumn(const LomixStruct& record, const PF_LayerDef& src, int x, int y);
int sourceRow(const LomixStruct& record, const PF_LayerDef& src, int y);

inline constexpr int kTileMode = 1;
inline constexpr int kStretchMode = 2;

}  // namespace lomix
