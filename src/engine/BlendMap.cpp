#include "engine/BlendMap.h"

#include <cmath>

namespace lomix::engine {
namespace {

struct Step {
  int difference;  // of the result from the original
  int limit;       // below which that is one too much
};

// For a difference between effect and original.
Step stepOf(float amount, int difference) {
  // Exact: 24 bits times 9.
  const double product = static_cast<double>(amount) * difference;
  const double below = std::floor(product);
  // Exact too, or else near one and far from what rounding spans.
  const double toNext = below + 1.0 - product;
  Step step{static_cast<int>(below), 0};
  // Whole numbers above half of `top` and up to it have half a last place of top / 2^25 below them,
  // and a tie goes to the whole number because its last place is even.
  for (int top = 256; top >= 1; top /= 2) {
    if (toNext > top * 0x1p-25) {
      step.limit = top == 256 ? 0 : top + 1;
      return step;
    }
    step.difference = static_cast<int>(below) + 1;
  }
  return step;
}

}  // namespace

BlendMap::BlendMap(float amount) {
  ByteTable fallLimit{};
  for (int distance = 0; distance < 256; ++distance) {
    const auto at = static_cast<std::size_t>(distance);
    const Step up = stepOf(amount, distance);
    const Step down = stepOf(amount, -distance);
    rise_[at] = static_cast<std::uint8_t>(up.difference);
    fall_[at] = static_cast<std::uint8_t>(-down.difference);
    limit_[at] = static_cast<std::uint8_t>(up.limit);
    fallLimit[at] = static_cast<std::uint8_t>(down.limit);
    limitsRise_ = limitsRise_ || up.limit > 0;
    limitsFall_ = limitsFall_ || down.limit > 0;
  }
  if (limitsFall_) limit_ = fallLimit;
}

}  // namespace lomix::engine
