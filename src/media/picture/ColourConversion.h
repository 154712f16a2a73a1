// Converts the colours of pictures from one colour space to another.
#pragma once

#include <memory>
#include <string>

#include "media/picture/Picture.h"

namespace lomix::media {

/// A conversion between two colour spaces. Either both are built in (linear, srgb, rec709: the same
/// primaries, other transfer functions), or both are of the OpenColorIO configuration that the
/// environment's OCIO names.
class ColourConversion {
 public:
  /// text: "FROM:TO". option: begins the messages: "--colour". Throws UsageError for a text of
  /// another form and for unknown names, MediaError where the configuration cannot be used or the
  /// build has no conversion.
  ColourConversion(const std::string& text, const std::string& option);
  ~ColourConversion();
  ColourConversion(const ColourConversion&) = delete;
  ColourConversion& operator=(const ColourConversion&) = delete;

  /// Returns "FROM:TO" as it was given.
  const std::string& text() const { return text_; }

  /// Converts the colours of a picture; alpha stays, and colours are straight before and after.
  /// Pictures of depth 8 become float, unless both spaces are built in and the second is no linear
  /// one. The same space twice changes no pixel, no depth and no tag. info says what the
  /// values are afterwards. Any thread.
  Picture convert(Picture picture) const;

 private:
  class Implementation;

  std::string text_;
  std::unique_ptr<const Implementation> implementation_;
};

}  // namespace lomix::media
