// Writes OpenEXR files that keep all of their input. For src/media only: includes OpenImageIO's
// headers.
#pragma once

#include <filesystem>

#include "media/picture/ImageLibrary.h"

namespace lomix::media {

/// Returns whether an OpenEXR file of this picture is to be written by writeExrParts(): its input
/// is OpenEXR too and has further parts, further channels, channels of several types, pixels
/// outside of the display window, or tiles; and the picture still has its input's size.
bool hasExrParts(const Picture& picture);

/// Writes a picture to an OpenEXR file with all parts and channels of its input. Into the channels
/// that were decoded it puts the picture's pixels, within the display window. All others, also
/// those outside of that window, are copied as they are stored, some rows at a time. picture: of
/// depth 32, its colours multiplied by alpha. output: not opened; closed by the caller. Returns
/// false where the library fails to write, with its message in output. Throws MediaError when the
/// input cannot be read any more.
bool writeExrParts(const Picture& picture, OIIO::ImageOutput& output,
                   const std::filesystem::path& file);

/// Returns whether an OpenEXR file has the first and the last rows of all its parts.
bool isWholeExr(const std::filesystem::path& file);

}  // namespace lomix::media
