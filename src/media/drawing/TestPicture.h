// What the built-in pictures have in common.
#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// The longest side of a built-in picture, in pixels.
inline constexpr int kMaxTestPictureSide = 16384;

/// Returns an opaque black picture of 8 bits, to draw a built-in picture on. width, height: 1 to
/// kMaxTestPictureSide. Throws MediaError for other sizes.
Picture blankTestPicture(int width, int height);

}  // namespace lomix::media
