// The templates of Canvas.h. Include that.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace lomix::media {

/// Returns the part of the pixel at (x, y) that the box covers, 0 to 1.
inline double coverageOf(const Box& box, int x, int y) {
  const double across = std::min(x + 1.0, box.right) - std::max<double>(x, box.left);
  const double down = std::min(y + 1.0, box.bottom) - std::max<double>(y, box.top);
  return std::max(0.0, across) * std::max(0.0, down);
}

/// Returns the same for a disc, whose edge is approximated by a straight line within a pixel.
inline double coverageOf(const Disc& disc, int x, int y) {
  const double dx = x + 0.5 - disc.x;
  const double dy = y + 0.5 - disc.y;
  return std::clamp(disc.radius + 0.5 - std::sqrt(dx * dx + dy * dy), 0.0, 1.0);
}

/// Returns the same for a line, with the same approximation.
inline double coverageOf(const Line& line, int x, int y) {
  const double alongX = line.x1 - line.x0;
  const double alongY = line.y1 - line.y0;
  const double fromX = x + 0.5 - line.x0;
  const double fromY = y + 0.5 - line.y0;
  const double squared = alongX * alongX + alongY * alongY;
  const double part =
      squared > 0.0 ? std::clamp((fromX * alongX + fromY * alongY) / squared, 0.0, 1.0) : 0.0;
  const double dx = fromX - part * alongX;
  const double dy = fromY - part * alongY;
  const double inside = line.thickness / 2.0 + 0.5 - std::sqrt(dx * dx + dy * dy);
  return std::clamp(inside, 0.0, std::min(1.0, line.thickness));
}

template <typename Coverage, typename Shade>
void Canvas::paint(const Box& bounds, Coverage coverage, Shade shade) {
  const int left = static_cast<int>(std::max(0.0, std::floor(bounds.left)));
  const int top = static_cast<int>(std::max(0.0, std::floor(bounds.top)));
  const int right = static_cast<int>(std::min<double>(picture_.width(), std::ceil(bounds.right)));
  const int bottom =
      static_cast<int>(std::min<double>(picture_.height(), std::ceil(bounds.bottom)));
  for (int y = top; y < bottom; ++y) {
    std::uint8_t* pixel = picture_.row8(y).data() + std::ptrdiff_t{left} * Picture::kChannels;
    for (int x = left; x < right; ++x, pixel += Picture::kChannels) {
      double part = coverage(x, y);
      if (clip_.radius > 0.0) part *= coverageOf(clip_, x, y);
      if (part <= 0.0) continue;
      const Colour colour = shade(x + 0.5, y + 0.5);
      const auto mix = [part](std::uint8_t below, double above) {
        return static_cast<std::uint8_t>(below + (above - below) * part + 0.5);
      };
      pixel[1] = mix(pixel[1], colour.red);
      pixel[2] = mix(pixel[2], colour.green);
      pixel[3] = mix(pixel[3], colour.blue);
    }
  }
}

template <typename Shade>
void Canvas::shade(const Box& box, Shade shade) {
  paint(
      box, [&](int x, int y) { return coverageOf(box, x, y); }, shade);
}

}  // namespace lomix::media
