#include "media/drawing/Canvas.h"

#include "media/drawing/BitmapFont.h"

namespace lomix::media {
namespace {

/// The square around a disc, with the half pixel of its soft edge.
Box boundsOf(const Disc& disc) {
  const double reach = disc.radius + 0.5;
  return {disc.x - reach, disc.y - reach, disc.x + reach, disc.y + reach};
}

}  // namespace

void Canvas::fill(const Box& box, const Colour& colour) {
  shade(box, [&](double, double) { return colour; });
}

void Canvas::fill(const Disc& disc, const Colour& colour) {
  paint(
      boundsOf(disc), [&](int x, int y) { return coverageOf(disc, x, y); },
      [&](double, double) { return colour; });
}

void Canvas::fill(const Line& line, const Colour& colour) {
  const double reach = line.thickness / 2.0 + 0.5;
  paint(
      {std::min(line.x0, line.x1) - reach, std::min(line.y0, line.y1) - reach,
       std::max(line.x0, line.x1) + reach, std::max(line.y0, line.y1) + reach},
      [&](int x, int y) { return coverageOf(line, x, y); }, [&](double, double) { return colour; });
}

void Canvas::ring(const Disc& disc, double thickness, const Colour& colour) {
  const Disc hole{disc.x, disc.y, disc.radius - thickness};
  paint(
      boundsOf(disc),
      [&](int x, int y) {
        return coverageOf(disc, x, y) - (hole.radius > 0.0 ? coverageOf(hole, x, y) : 0.0);
      },
      [&](double, double) { return colour; });
}

void Canvas::write(const Box& box, std::string_view text, const Colour& colour) {
  const int columns = static_cast<int>(text.size()) * (kGlyphWidth + 1) - 1;
  const double dot = std::floor(std::min((box.right - box.left) / (columns + 2),
                                         (box.bottom - box.top) / (kGlyphHeight + 2)));
  if (dot < 1.0) return;
  const double left = std::round((box.left + box.right - columns * dot) / 2.0);
  const double top = std::round((box.top + box.bottom - kGlyphHeight * dot) / 2.0);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const Glyph dots = glyph(text[i]);
    for (int row = 0; row < kGlyphHeight; ++row) {
      for (int column = 0; column < kGlyphWidth; ++column) {
        if (((dots[static_cast<std::size_t>(row)] >> (kGlyphWidth - 1 - column)) & 1) == 0)
          continue;
        const double x = left + (static_cast<int>(i) * (kGlyphWidth + 1) + column) * dot;
        const double y = top + row * dot;
        fill(Box{x, y, x + dot, y + dot}, colour);
      }
    }
  }
}

void Canvas::cutOut(const Disc& disc) {
  for (int y = std::max(0, static_cast<int>(disc.y - disc.radius) - 1); y < picture_.height();
       ++y) {
    for (int x = std::max(0, static_cast<int>(disc.x - disc.radius) - 1); x < picture_.width();
         ++x) {
      std::uint8_t& alpha = picture_.row8(y)[static_cast<std::size_t>(x) * Picture::kChannels];
      alpha = static_cast<std::uint8_t>(alpha * (1.0 - coverageOf(disc, x, y)) + 0.5);
    }
  }
}

}  // namespace lomix::media
