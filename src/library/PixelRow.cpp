#include "library/PixelRow.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lomix::library {
namespace {

constexpr std::size_t kChannels = 4;

/// Calls change(colours, alpha) for every pixel, with the address of three colours.
template <typename Channel, typename Change>
void forPixels(void* row, int pixels, engine::AlphaPlace place, const Change& change) {
  const std::size_t alpha = place == engine::AlphaPlace::First ? 0 : kChannels - 1;
  const std::size_t colours = place == engine::AlphaPlace::First ? 1 : 0;
  auto* at = static_cast<unsigned char*>(row);
  std::array<Channel, kChannels> pixel;
  for (int x = 0; x < pixels; ++x, at += sizeof pixel) {
    std::memcpy(pixel.data(), at, sizeof pixel);
    change(&pixel[colours], pixel[alpha]);
    std::memcpy(at, pixel.data(), sizeof pixel);
  }
}

/// Calls change(colour, alpha) for every colour.
template <typename Channel, typename Change>
void forColours(void* row, int pixels, engine::AlphaPlace place, const Change& change) {
  forPixels<Channel>(row, pixels, place, [&change](Channel* colours, Channel alpha) {
    for (std::size_t c = 0; c + 1 < kChannels; ++c) change(colours[c], alpha);
  });
}

}  // namespace

void makeStraight(void* row, int pixels, const Format& format) {
  if (format.depth == 8) {
    forColours<std::uint8_t>(row, pixels, format.alpha, [](std::uint8_t& colour, int alpha) {
      if (alpha == 0 || alpha == 255) return;
      colour = static_cast<std::uint8_t>(std::min(255, (colour * 255 * 2 + alpha) / (2 * alpha)));
    });
  } else {
    forColours<float>(row, pixels, format.alpha, [](float& colour, float alpha) {
      if (alpha != 0.0f && alpha != 1.0f) colour /= alpha;
    });
  }
}

void makePremultiplied(void* row, int pixels, const Format& format, bool keepUnderZero) {
  if (format.depth == 8) {
    forColours<std::uint8_t>(row, pixels, format.alpha,
                             [keepUnderZero](std::uint8_t& colour, int alpha) {
                               if (alpha == 0 && keepUnderZero) return;
                               colour = static_cast<std::uint8_t>((colour * alpha * 2 + 255) / 510);
                             });
  } else {
    forColours<float>(row, pixels, format.alpha, [keepUnderZero](float& colour, float alpha) {
      if (alpha == 1.0f || (alpha == 0.0f && keepUnderZero)) return;
      colour = alpha == 0.0f ? 0.0f : colour * alpha;
    });
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
