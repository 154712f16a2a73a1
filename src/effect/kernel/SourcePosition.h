// The source position of an output pixel. Each step is a function, so that the row engine can map
// whole rows with the same arithmetic.
#pragma once

#include "effect/signal/LomixStruct.h"
#include "hostapi/Records.h"

namespace lomix {

/// Values of LomixStruct::distortionMode; in any other mode rows are not displaced.
inline constexpr int kTileMode = 1;
inline constexpr int kStretchMode = 2;

/// Returns position - size * offset, rounded once to single precision and truncated toward zero:
/// the sync's slide of a column or roll of a row. offset: a fraction of size.
int slidPosition(int position, int size, float offset);

/// Adds size to a negative position, then subtracts it from one of size or more. Positions more
/// than one size outside stay outside; the clamp catches them.
int wrapOnce(int position, int size);

/// Returns whether row y is displaced sideways.
bool isDisplaced(const LomixStruct& record, int y);

/// Returns by how many pixels row y is displaced, for rows where isDisplaced() is true: a column
/// reads this much further left. width: the source's. Throws std::out_of_range where the jitter
/// profile has no row y.
float rowShift(const LomixStruct& record, int y, int width);

/// Returns the source column of a slid column before the clamp. displace(column): the displacement
/// of the row. Tiled rows are displaced first, then wrapped. Stretched rows are wrapped first, then
/// displaced, so that the clamp repeats their edge pixel.
template <typename Displace>
int displacedAndWrapped(bool tile, int slid, int width, const Displace& displace) {
  const int wrapped = wrapOnce(tile ? displace(slid) : slid, width);
  return tile ? wrapped : displace(wrapped);
}

/// Return the source column and the source row of output pixel (x, y), for any record inside the
/// source. src: not empty; only its size is read. sourceColumn throws as rowShift does.
int sourceColumn(const LomixStruct& record, const PF_LayerDef& src, int x, int y);
int sourceRow(const LomixStruct& record, const PF_LayerDef& src, int y);

}  // namespace lomix
