#include "library/PixelRow.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace lomix::library {
namespace {

constexpr std::size_t kChannels = 4;

/// Calls change(colours, alpha) for every pixel, with the address of three colours.
template <typename Channel, std::size_t kAlpha, typename Change>
void forPixels(void* row, int pixels, const Change& change) {
  auto* pixel = static_cast<Channel*>(row);
  for (int x = 0; x < pixels; ++x, pixel += kChannels) {
    change(pixel + (kAlpha == 0 ? 1 : 0), pixel[kAlpha]);
  }
}

template <typename Channel, typename Change>
void forPixels(void* row, int pixels, engine::AlphaPlace place, const Change& change) {
  if (place == engine::AlphaPlace::First) {
    forPixels<Channel, 0>(row, pixels, change);
  } else {
    forPixels<Channel, kChannels - 1>(row, pixels, change);
  }
}

/// Factors for quotients by 2 * alpha: n / (2 * alpha) == n * factor >> 32 for n below 2^17.
/// 1. The factor is 2^32 / (2 * alpha) + d, 0 <= d < 1.
/// 2. The product over 2^32 exceeds the quotient by n * d / 2^32 < 2^-15.
/// 3. A quotient that is no integer is at least 1 / 510 > 2^-9 below the next one.
constexpr auto kHalfReciprocals = [] {
  std::array<std::uint64_t, 256> factors{};
  for (std::size_t alpha = 1; alpha < factors.size(); ++alpha) {
    factors[alpha] = ((std::uint64_t{1} << 32) + 2 * alpha - 1) / (2 * alpha);
  }
  return factors;
}();

}  // namespace

// Opaque pixels, which most are, cost a comparison.

void makeStraight(void* row, int pixels, const Format& format) {
  if (format.depth == 8) {
    const auto divide = [](std::uint8_t* colours, unsigned alpha) {
      if (alpha == 255 || alpha == 0) return;
      const std::uint64_t factor = kHalfReciprocals[alpha];
      for (std::size_t c = 0; c + 1 < kChannels; ++c) {
        const std::uint64_t quotient = (colours[c] * 510U + alpha) * factor >> 32;
        colours[c] = static_cast<std::uint8_t>(std::min<std::uint64_t>(255, quotient));
      }
    };
    forPixels<std::uint8_t>(row, pixels, format.alpha, divide);
  } else {
    const auto divide = [](float* colours, float alpha) {
      if (alpha == 1.0f || alpha == 0.0f) return;
      for (std::size_t c = 0; c + 1 < kChannels; ++c) colours[c] /= alpha;
    };
    forPixels<float>(row, pixels, format.alpha, divide);
  }
}

void makePremultiplied(void* row, int pixels, const Format& format, bool keepUnderZero) {
  if (format.depth == 8) {
    const auto multiply = [keepUnderZero](std::uint8_t* colours, unsigned alpha) {
      if (alpha == 255 || (alpha == 0 && keepUnderZero)) return;
      for (std::size_t c = 0; c + 1 < kChannels; ++c) {
        colours[c] = static_cast<std::uint8_t>((colours[c] * alpha * 2 + 255) / 510);
      }
    };
    forPixels<std::uint8_t>(row, pixels, format.alpha, multiply);
  } else {
    const auto multiply = [keepUnderZero](float* colours, float alpha) {
      if (alpha == 1.0f || (alpha == 0.0f && keepUnderZero)) return;
      for (std::size_t c = 0; c + 1 < kChannels; ++c) {
        colours[c] = alpha == 0.0f ? 0.0f : colours[c] * alpha;
      }
    };
    forPixels<float>(row, pixels, format.alpha, multiply);
  }
}

void exchangeRedAndBlue(void* row, int pixels, const Format& format) {
  const auto exchange = [](auto* colours, auto) { std::swap(colours[0], colours[2]); };
  if (format.depth == 8) {
    forPixels<std::uint8_t>(row, pixels, format.alpha, exchange);
  } else {
    forPixels<float>(row, pixels, format.alpha, exchange);
  }
}

}  // namespace lomix::library
