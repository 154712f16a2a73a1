#include "media/picture/Difference.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lomix::media {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

double distance(double a, double b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) return 0.0;
  return std::isfinite(a) && std::isfinite(b) ? std::abs(a - b) : kInfinity;
}

/// Calls take(x, y, channel, distance) for every channel of every pixel.
template <typename Take>
void forEachDistance(const Picture& a, const Picture& b, Take take) {
  const auto walk = [&](int y, auto rowA, auto rowB, double scale) {
    for (std::size_t i = 0; i < rowA.size(); ++i) {
      take(static_cast<int>(i / Picture::kChannels), y, static_cast<int>(i % Picture::kChannels),
           distance(rowA[i], rowB[i]) / scale);
    }
  };
  for (int y = 0; y < a.height(); ++y) {
    if (a.depth() == 8) {
      walk(y, a.row8(y), b.row8(y), 255.0);
    } else {
      walk(y, a.row32(y), b.row32(y), 1.0);
    }
  }
}

}  // namespace

Difference measureDifference(const Picture& a, const Picture& b) {
  const bool withAlpha = a.info.hasAlpha || b.info.hasAlpha;
  Difference result;
  double squares = 0.0;
  forEachDistance(a, b, [&](int x, int y, int channel, double d) {
    if (channel == 0 && !withAlpha) return;
    squares += d * d;
    if (channel != 0) result.largestColour = std::max(result.largestColour, d);
    if (d <= result.largest) return;
    result.largest = d;
    result.x = x;
    result.y = y;
    result.channel = channel;
  });
  const double count = static_cast<double>(a.width()) * a.height() * (withAlpha ? 4 : 3);
  result.psnr = squares > 0.0 ? -10.0 * std::log10(squares / count) : kInfinity;
  return result;
}

Picture differencePicture(const Picture& a, const Picture& b, double gain) {
  Picture picture(a.width(), a.height(), 8);
  forEachDistance(a, b, [&](int x, int y, int channel, double d) {
    const auto at = static_cast<std::size_t>(x * Picture::kChannels + channel);
    picture.row8(y)[at] =
        channel == 0 ? 255 : static_cast<std::uint8_t>(quantize(static_cast<float>(d * gain), 255));
  });
  return picture;
}

}  // namespace lomix::media
