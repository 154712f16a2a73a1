#include "engine/BlendMap.h"

#include <cmath>

namespace lomix::engine {
namespace {

struct Step {
  int difference;  // result - original
  int limit;       // the difference is 1 less for results below this
};

// difference: effect - original.
Step stepOf(float amount, int difference) {
  // Exact: 24 bits times 9.
  const double product = static_cast<double>(amount) * difference;
  const double below = std::floor(product);
  // Exact, or else nearly 1 and far above any bound below.
  const double toNext = below + 1.0 - product;
  Step step{static_cast<int>(below), 0};
  // Half an ulp below an integer in (top / 2, top] is top / 2^25. A tie rounds up to the integer,
  // whose significand is even.
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
