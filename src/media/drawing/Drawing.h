// Figures of shapes, text and pictures, drawn as pixels or as SVG.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "media/drawing/Canvas.h"
#include "media/picture/Picture.h"

namespace lomix::media {

struct Point {
  double x, y;
};

/// Returns the names and versions of the libraries that draw: "cairo 1.16.0".
std::vector<std::string> drawingLibraries();

/// The point of a line of text that a position refers to.
enum class Anchor { Start, Middle, End };

struct TextStyle {
  double size = 13.0;  ///< Font size in pixels.
  Colour colour{};
  Anchor anchor = Anchor::Start;
  bool bold = false;
};

/// A figure to draw on. Coordinates are pixels from the upper left corner. Text is UTF-8, in DejaVu
/// Sans or the system's nearest sans-serif font.
class Drawing {
 public:
  enum class Kind { Pixels, Svg };

  /// Throws MediaError for a size that a picture cannot have, and when no font is installed.
  Drawing(Kind kind, int width, int height, const Colour& background);
  ~Drawing();
  Drawing(const Drawing&) = delete;
  Drawing& operator=(const Drawing&) = delete;

  void fill(const Box& box, const Colour& colour);
  /// Draws the outline of a box, inside its edges.
  void frame(const Box& box, const Colour& colour, double thickness = 1.0);
  void line(std::span<const Point> points, const Colour& colour, double thickness = 1.0);
  /// Draws one line of text. at: on the baseline, at the style's anchor.
  void text(Point at, std::string_view text, const TextStyle& style);
  /// Draws the same turned by 90 degrees, to be read upwards.
  void textUpwards(Point at, std::string_view text, const TextStyle& style);
  /// Returns the width of a line of text, in pixels.
  double widthOf(std::string_view text, const TextStyle& style);
  /// Returns the text or, where it is wider than width, its beginning with an ellipsis.
  std::string fitted(std::string_view text, double width, const TextStyle& style);
  /// Draws a picture scaled to the box, over the background. At 1 to 1 opaque pixels stay exact.
  void place(const Picture& picture, const Box& box);

  /// Returns what was drawn so far, 8 bits and opaque. Only for Kind::Pixels.
  Picture picture();
  /// Returns the SVG file; nothing can be drawn afterwards. Only for Kind::Svg. Throws MediaError.
  std::string svg() &&;

 private:
  void setColour(const Colour& colour);
  void setText(const TextStyle& style);

  struct Cairo;
  std::unique_ptr<Cairo> cairo_;
};

}  // namespace lomix::media
