// Replaces the conversion of colours in builds without OpenImageIO: it is an error.
#include "media/picture/ColourConversion.h"
#include "support/MediaError.h"

namespace lomix::media {

class ColourConversion::Implementation {};

ColourConversion::ColourConversion(const std::string& text, const std::string& option)
    : text_(text) {
  throw MediaError(option + ": this build cannot convert colours, for it has no OpenImageIO " +
                   "(convert the picture before, or build with LOMIX_MEDIA=full)");
}

ColourConversion::~ColourConversion() = default;

Picture ColourConversion::convert(Picture picture) const { return picture; }

}  // namespace lomix::media
