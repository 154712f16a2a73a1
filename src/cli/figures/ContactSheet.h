#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "media/drawing/Drawing.h"

namespace lomix::cli {

/// Pictures of one size in rows and columns, each with lines of text below it.
class ContactSheet {
 public:
  struct Size {
    int count;         ///< Of the pictures.
    int columns;       ///< Pictures in a row.
    int pictureWidth;  ///< What each picture is scaled to.
    int pictureHeight;
    int labelLines;
  };

  /// title: a line above the pictures, may be empty. Throws MediaError when the sheet is too
  /// large for a picture.
  ContactSheet(const Size& size, std::string_view title);

  /// Puts a picture of 8 bits in the place of that number, from 0, row by row.
  void place(int index, const media::Picture& picture, const std::vector<std::string>& label);

  media::Picture finish() { return drawing_.picture(); }

 private:
  Size size_;
  media::TextStyle label_;
  int titleHeight_;
  int labelHeight_;
  media::Drawing drawing_;
};

}  // namespace lomix::cli
