// A sheet of labelled pictures.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "media/drawing/Drawing.h"

namespace lomix::cli {

/// A line of text about a picture: "Noise" and "30 %". Either part may be empty.
struct Caption {
  std::string name;
  std::string value;
};

/// A line of text in the style in which it fits.
struct FittedText {
  std::string text;
  media::TextStyle style;
};

/// Returns a caption as a line that is at most width pixels wide. Where it is too long, the letters
/// get smaller, then the name is shortened. The value is always whole.
FittedText fitted(media::Drawing& drawing, const Caption& caption, double width,
                  const media::TextStyle& style);

/// The heads of a table: what each column shows, and what each row shows, in one or more captions.
struct SheetHeads {
  std::vector<Caption> columns;
  std::vector<std::vector<Caption>> rows;
};

/// Pictures of one size in rows and columns, each with captions below it, or all with heads above
/// and to the left. Letters grow with the pictures.
class ContactSheet {
 public:
  /// Measures of a sheet.
  struct Size {
    int count;         ///< Number of pictures.
    int columns;       ///< Pictures in a row.
    int pictureWidth;  ///< Pictures are scaled to this size in pixels.
    int pictureHeight;
    int captionLines;  ///< Below each picture.
  };

  /// title: a line above the pictures; empty for none. heads: empty, or for every column and row.
  /// Throws MediaError when the sheet is too large for a picture.
  ContactSheet(const Size& size, std::string_view title, const SheetHeads& heads = {});

  /// Places an 8-bit picture. index: from 0, counted row by row.
  void place(int index, const media::Picture& picture, const std::vector<Caption>& captions);

  /// Returns the sheet.
  media::Picture finish() { return drawing_.picture(); }

 private:
  /// The parts of a sheet, in pixels.
  struct Layout {
    double letter;     ///< Size of the letters.
    int left, top;     ///< Of the first picture.
    int stepX, stepY;  ///< From one picture to the next.
    int width, height;
  };
  static Layout layoutOf(const Size& size, bool hasTitle, const SheetHeads& heads);
  void drawHeads(const SheetHeads& heads);

  Size size_;
  Layout layout_;
  media::TextStyle label_;
  media::Drawing drawing_;
};

}  // namespace lomix::cli
