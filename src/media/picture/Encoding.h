// What the values of colours mean.
#pragma once

#include <string>

namespace lomix::media {

/// What the values of pixels mean: linear light, or a coding of it.
enum class Encoding {
  Display,      ///< As a display shows them, such as sRGB and BT.709. Also where nothing is known.
  Linear,       ///< In proportion to light.
  Logarithmic,  ///< Of scanned film and some cameras.
  Pq,           ///< HDR by SMPTE ST 2084, such as HDR10.
  Hlg           ///< HDR by ARIB STD-B67.
};

/// Returns what such values are called in messages: "values of linear light".
const char* nameOf(Encoding encoding);

/// Returns a warning, without a subject, for values that are stored unchanged where programs expect
/// another encoding; empty where they expect this one. to: what they expect, Display or Linear.
/// display: the colour space that is proposed for Display: "srgb" or "rec709".
std::string encodingNote(Encoding from, Encoding to, const std::string& display);

}  // namespace lomix::media
