#include "effect/signal/SyncFunctions.h"

#include <cmath>
#include <numbers>

#include "effect/numeric/Sine.h"
#include "effect/numeric/Truncate.h"

float legacySync(float amount, float time) {
  const float period = static_cast<float>(0.2 / static_cast<double>(amount));
  const float turns = time / period;
  return turns - std::floor(turns);
}

float legacyRandom(float x, float y, float /*width*/, float height, float phase, float rate) {
  const float u = std::fma(x, rate, y);
  const float r = y / height;
  const float v = u * (y * r);
  // Dividing and multiplying by pi and by y would cancel but for the rounding, and the grain
  // depends on the rounding: the operations and their order must stay.
  const double wideX = x;
  const double wideY = y;
  const double slope = static_cast<double>(u) / std::numbers::pi * wideX * std::numbers::pi / wideY;
  const double a = std::fma(slope, wideY, static_cast<double>(phase) * 10.0);
  return static_cast<float>(lomix::sine(a) * lomix::cosine(static_cast<double>(v)));
}

float legacymod(float a, float b) {
  const float quotient = static_cast<float>(lomix::truncateToInt32(a / b));
  return std::fma(-b, quotient, a);
}
