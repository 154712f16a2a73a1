// A tiny built-in font for the test card, the same on every system.
#pragma once

#include <array>
#include <cstdint>

namespace lomix::media {

/// A letter of 5 by 7 dots. Row 0 is the top one; bit 4 is the leftmost dot.
using Glyph = std::array<std::uint8_t, 7>;
inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 7;

/// Returns the glyph of a character that the test card uses: digits, 'x' and the letters of LOMIX.
/// Any other is blank.
Glyph glyph(char character);

}  // namespace lomix::media
