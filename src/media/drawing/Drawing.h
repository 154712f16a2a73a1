// Pictures with text: shapes, labels and other pictures, drawn on pixels or as SVG.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "media/drawing/Canvas.h"
#include "media/picture/Picture.h"

namespace lomix::media {

struct Point {
  double x, y;
};

enum class Anchor { Start, Middle, End };

struct TextStyle {
  double size = 13.0;  ///< Height of the letters' body in pixels.
  Colour colour{};
  Anchor anchor = Anchor::Start;
  bool bold = false;
};

/// A sheet to draw on, its first pixel in the upper left corner. Coordinates are pixels. Text is
/// UTF-8 in the system's sans-serif letters, DejaVu Sans where it has it.
class Drawing {
 public:
  enum class Kind { Pixels, Svg };

  /// Throws MediaError for a size that a picture cannot have and where no letters are installed.
  Drawing(Kind kind, int width, int height, const Colour& background);
  ~Drawing();
  Drawing(const Drawing&) = delete;
  Drawing& operator=(const Drawing&) = delete;

  void fill(const Box& box, const Colour& colour);
  /// The outline of a box, inside it.
  void frame(const Box& box, const Colour& colour, double thickness = 1.0);
  void line(std::span<const Point> points, const Colour& colour, double thickness = 1.0);
  /// One line of text, its baseline at that point.
  void text(Point at, std::string_view text, const TextStyle& style);
  /// The same, turned to read upwards.
  void textUpwards(Point at, std::string_view text, const TextStyle& style);
  /// The text, or as much of its beginning as is not wider than width, with an ellipsis.
  std::string fitted(std::string_view text, double width, const TextStyle& style);
  /// A picture scaled to the box; 1 to 1 its pixels stay as they are. What is transparent shows
  /// what lies below.
  void place(const Picture& picture, const Box& box);

  /// What was drawn so far, 8 bits and opaque. For Kind::Pixels.
  Picture picture();
  /// The file's text; nothing more can be drawn afterwards. For Kind::Svg. Throws MediaError.
  std::string svg() &&;

 private:
  void setColour(const Colour& colour);
  void setText(const TextStyle& style);

  struct Cairo;
  std::unique_ptr<Cairo> cairo_;
};

}  // namespace lomix::media
