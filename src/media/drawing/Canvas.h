#pragma once

#include <string_view>

#include "media/picture/Picture.h"

namespace lomix::media {

struct Colour {
  double red, green, blue;  ///< 0 to 255.
};

constexpr Colour grey(double level) { return {level, level, level}; }

/// A rectangle in pixels; edges between two pixels cover them in part.
struct Box {
  double left, top, right, bottom;
};

struct Disc {
  double x, y, radius;
};

/// Draws antialiased shapes on an 8-bit picture. Whatever lies outside the picture is left out.
class Canvas {
 public:
  explicit Canvas(Picture& picture) : picture_(picture) {}

  /// Until the next call shapes are drawn within this disc only; radius 0 lifts that.
  void clipTo(const Disc& disc) { clip_ = disc; }

  void fill(const Box& box, const Colour& colour);
  void fill(const Disc& disc, const Colour& colour);
  /// A circle's line, thickness pixels wide, its outer edge at the disc's.
  void ring(const Disc& disc, double thickness, const Colour& colour);
  /// A shape whose colour depends on the place: shade takes the centre of a pixel.
  template <typename Shade>
  void shade(const Box& box, Shade shade);
  /// One line of text in whole-pixel dots, as large as fits, in the middle of the box. Nothing is
  /// drawn where not even dots of one pixel fit.
  void write(const Box& box, std::string_view text, const Colour& colour);
  /// Takes the alpha of the disc's pixels away; their colours stay.
  void cutOut(const Disc& disc);

 private:
  template <typename Coverage, typename Shade>
  void paint(const Box& bounds, Coverage coverage, Shade shade);

  Picture& picture_;
  Disc clip_{0, 0, 0};
};

}  // namespace lomix::media

#include "media/drawing/Canvas-inl.h"
