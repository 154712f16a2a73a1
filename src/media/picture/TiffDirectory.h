// Single numbers of the directory that a TIFF file, or the Exif data of a JPEG file, begins with.
// For src/media only.
#pragma once

#include <string_view>

#include "support/FileBytes.h"

namespace lomix::media {

/// Returns how the camera of a TIFF or JPEG file was turned, as upright() takes it; 1 where the
/// file does not say.
int orientationOf(FileBytes& bytes);

/// Returns the name of a TIFF file's compression, as requireBytesFor() takes it; empty for others.
std::string_view compressionOf(FileBytes& bytes);

}  // namespace lomix::media
