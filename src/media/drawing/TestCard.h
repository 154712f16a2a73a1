#pragma once

#include "media/picture/Picture.h"

namespace lomix::media {

/// The longest side of a test card, in pixels.
inline constexpr int kMaxTestCardSide = 16384;

/// Draws a television test card: 8 bits, the same bytes for the same size everywhere. The shorter
/// side is 14 squares of the grid; the lower right corner is transparent. width, height: 1 to
/// kMaxTestCardSide, else MediaError.
Picture drawTestCard(int width, int height);

}  // namespace lomix::media
