#include "effect/kernel/Scanlines.h"

#include "effect/numeric/Truncate.h"

namespace lomix {

bool onDarkLine(const LomixStruct& record, int y) {
  const float thickness = record.scanlineThickness;
  const float period = thickness + thickness;
  const float phase = static_cast<float>(y) - (record.time + 1.0f) * record.scanlineSpeed;
  const float periods = static_cast<float>(truncateToInt32(phase / period));
  const float offset = phase - period * periods;
  // The offset has the sign of the phase: in (-period, period). One period before the dark band
  // [thickness, period) is the dark band [-thickness, 0).
  return (offset < 0.0f ? -thickness : thickness) <= offset;
}

}  // namespace lomix
