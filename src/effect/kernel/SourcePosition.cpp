#include "effect/kernel/SourcePosition.h"

#include <cmath>
#include <cstddef>

#include "effect/numeric/Truncate.h"

namespace lomix {
namespace {

int clampToEdge(int position, int size) {
  const float last = static_cast<float>(size) - 1.0f;
  float value = static_cast<float>(position);
  if (value < 0.0f) {
    value = 0.0f;
  } else if (value > last) {
    value = last;
  }
  return truncateToInt32(value);
}

}  // namespace

int slidPosition(int position, int size, float offset) {
  return truncateToInt32(std::fma(-static_cast<float>(size), offset, static_cast<float>(position)));
}

int wrapOnce(int position, int size) {
  if (position < 0) position += size;
  if (position >= size) position -= size;
  return position;
}

bool isDisplaced(const LomixStruct& record, int y) {
  return (record.distortionMode == kTileMode || record.distortionMode == kStretchMode) &&
         (record.scanDistortion > 0.0f || record.signalDistortion > 0.0f) &&
         static_cast<std::size_t>(y) < record.scanProfile.size();
}

float rowShift(const LomixStruct& record, int y, int width) {
  const auto row = static_cast<std::size_t>(y);
  const float w = static_cast<float>(width);
  // Only the jitter is centred. Scan weights are never negative: they move rows one way.
  return record.scanProfile.at(row) * w * record.scanDistortion +
         w * record.signalProfile.at(row) * -0.5f * record.signalDistortion;
}

int sourceColumn(const LomixStruct& record, const PF_LayerDef& src, int x, int y) {
  const bool displaced = isDisplaced(record, y);
  const float shift = displaced ? rowShift(record, y, src.width) : 0.0f;
  const auto displace = [displaced, shift](int column) {
    return displaced ? truncateToInt32(static_cast<float>(column) - shift) : column;
  };
  const int slid = slidPosition(x, src.width, record.horizontalSyncOffset);
  const bool tile = record.distortionMode == kTileMode;
  return clampToEdge(displacedAndWrapped(tile, slid, src.width, displace), src.width);
}

int sourceRow(const LomixStruct& record, const PF_LayerDef& src, int y) {
  const int row = slidPosition(y, src.height, record.verticalSyncOffset);
  return clampToEdge(wrapOnce(row, src.height), src.height);
}

}  // namespace lomix
