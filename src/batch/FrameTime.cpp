#include "batch/FrameTime.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace lomix::batch {

FrameTime fittedTime(std::int64_t value, std::int64_t scale) {
  const std::int64_t divisor = std::gcd(value, scale);
  value /= divisor;
  scale /= divisor;
  constexpr auto kLimit = static_cast<double>(std::numeric_limits<std::int32_t>::max());
  const double excess =
      std::max(std::abs(static_cast<double>(value)), static_cast<double>(scale)) / kLimit;
  if (excess > 1.0) {
    const double seconds = static_cast<double>(value) / static_cast<double>(scale);
    scale =
        std::max<std::int64_t>(1, static_cast<std::int64_t>(static_cast<double>(scale) / excess));
    value = std::llround(std::clamp(seconds * static_cast<double>(scale), -kLimit, kLimit));
  }
  return {static_cast<std::int32_t>(value), static_cast<std::uint32_t>(scale)};
}

std::optional<FrameTime> frameTime(std::int64_t number, const FrameRate& rate) {
  constexpr std::int64_t kLimit = std::numeric_limits<std::int32_t>::max();
  const std::int64_t divisor = std::gcd(number, std::int64_t{rate.frames});
  const std::int64_t scale = rate.frames / divisor;
  const std::int64_t whole = number / divisor;
  // seconds shares no factor with frames, but a rate need not be in lowest terms.
  const std::int64_t common = std::gcd(std::int64_t{rate.seconds}, scale);
  const std::int64_t seconds = rate.seconds / common;
  if (whole > kLimit / seconds || whole < -kLimit / seconds) return std::nullopt;
  return FrameTime{static_cast<std::int32_t>(whole * seconds),
                   static_cast<std::uint32_t>(scale / common)};
}

}  // namespace lomix::batch
