// Antialiased shapes for the test card, drawn without a library: the same bytes on every system.
#pragma once

#include <string_view>

#include "media/picture/Picture.h"

namespace lomix::media {

/// An opaque colour.
struct Colour {
  double red, green, blue;  ///< 0 to 255.
};

constexpr Colour grey(double level) { return {level, level, level}; }

/// A rectangle in pixels. A pixel that an edge crosses is covered in part.
struct Box {
  double left, top, right, bottom;
};

/// A filled circle, in pixels.
struct Disc {
  double x, y, radius;
};

/// A straight line with round ends, in pixels. One thinner than a pixel is drawn fainter.
struct Line {
  double x0, y0, x1, y1;
  double thickness;
};

/// Draws antialiased shapes on an 8-bit picture and clips them to it. Alpha is kept.
class Canvas {
 public:
  /// picture: must outlive the canvas.
  explicit Canvas(Picture& picture) : picture_(picture) {}

  /// Clips the shapes that follow to a disc, until the next call. Radius 0 ends that.
  void clipTo(const Disc& disc) { clip_ = disc; }

  void fill(const Box& box, const Colour& colour);
  void fill(const Disc& disc, const Colour& colour);
  void fill(const Line& line, const Colour& colour);
  /// Draws a circle, thickness pixels wide, inside the edge of the disc.
  void ring(const Disc& disc, double thickness, const Colour& colour);
  /// Fills a box with colours that depend on the place. shade: Colour(double x, double y), called
  /// with the centre of each pixel.
  template <typename Shade>
  void shade(const Box& box, Shade shade);
  /// Writes one line of text in the middle of the box, in square dots of as many whole pixels as
  /// fit. Draws nothing where dots of one pixel do not fit.
  void write(const Box& box, std::string_view text, const Colour& colour);
  /// Makes the disc transparent. The colours stay.
  void cutOut(const Disc& disc);

 private:
  template <typename Coverage, typename Shade>
  void paint(const Box& bounds, Coverage coverage, Shade shade);

  Picture& picture_;
  Disc clip_{0, 0, 0};
};

}  // namespace lomix::media

#include "media/drawing/Canvas-inl.h"
