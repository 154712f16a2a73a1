// A sheet of labelled pictures.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "media/drawing/Drawing.h"

namespace lomix::cli {

/// Pictures of one size in rows and columns, each with a label of one or more lines below it.
class ContactSheet {
 public:
  /// Measures of a sheet.
  struct Size {
    int count;         ///< Number of pictures.
    int columns;       ///< Pictures in a row.
    int pictureWidth;  ///< Pictures are scaled to this size in pixels.
    int pictureHeight;
    int labelLines;
  };

  /// title: a line above the pictures; empty for none. Throws MediaError when the sheet is too
  /// large for a picture.
  ContactSheet(const Size& size, std::string_view title);

  /// Places an 8-bit picture. index: from 0, counted row by row.
  void place(int index, const media::Picture& picture, const std::vector<std::string>& label);

  /// Returns the sheet.
  media::Picture finish() { return drawing_.picture(); }

 private:
  Size size_;
  media::TextStyle label_;
  int titleHeight_;
  int labelHeight_;
  media::Drawing drawing_;
};

}  // namespace lomix::cli
