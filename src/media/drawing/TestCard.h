// A television test card, to try the effect on.
#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// The lower right corner of a test card. The colours are the same in both.
enum class CardCorner { Opaque, Transparent };

/// Draws a test card of 8 bits, the same bytes for the same size on every system. The shorter side
/// has 14 grid squares. width, height: 1 to kMaxTestPictureSide. Throws MediaError for other sizes.
Picture drawTestCard(int width, int height, CardCorner corner = CardCorner::Opaque);

}  // namespace lomix::media
