// Replaces the conversion of colours in builds without OpenImageIO: only the same space twice,
// which says what the values mean, is no error.
#include "media/picture/ColourConversion.h"
#include "support/MediaError.h"
#include "support/Text.h"

namespace lomix::media {

class ColourConversion::Implementation {
 public:
  explicit Implementation(Encoding meant) : encoding(meant) {}
  Encoding encoding;
};

ColourConversion::ColourConversion(const std::string& text, const std::string& option)
    : text_(text) {
  const std::size_t colon = text.find(':');
  const std::string from = lowerCase(trimmed(text.substr(0, colon)));
  const std::string to =
      colon == std::string::npos ? "" : lowerCase(trimmed(text.substr(colon + 1)));
  if (from == to && (from == "linear" || from == "srgb" || from == "rec709")) {
    const Encoding encoding = from == "linear" ? Encoding::Linear : Encoding::Display;
    implementation_ = std::make_unique<const Implementation>(encoding);
    return;
  }
  throw MediaError(option + ": lomix for Windows cannot convert colours " +
                   "(convert the picture before, or use lomix for Linux)");
}

ColourConversion::~ColourConversion() = default;

Picture ColourConversion::convert(Picture picture) const {
  picture.info.encoding = implementation_->encoding;
  picture.info.isEncodingChosen = true;
  return picture;
}

}  // namespace lomix::media
