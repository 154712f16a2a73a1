// A television test card, to try the effect on.
#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// The longest side of a test card, in pixels.
inline constexpr int kMaxTestCardSide = 16384;

/// Draws a test card of 8 bits, the same bytes for the same size on every system. The shorter side
/// has 14 grid squares; the lower right corner is transparent. width, height: 1 to
/// kMaxTestCardSide. Throws MediaError for other sizes.
Picture drawTestCard(int width, int height);

}  // namespace lomix::media
