// Helpers for OpenImageIO that reading and writing share. For src/media only: includes its headers.
#pragma once

#include <OpenImageIO/imageio.h>

#include <string>

#include "media/picture/Picture.h"

namespace lomix::media {

/// Attributes of a file that its output inherits, and the origin of its display window.
struct Metadata {
  std::string format;  ///< The library's name of the file's format.
  OIIO::ParamValueList attributes;
  int originX = 0;
  int originY = 0;
};

/// Picks the inheritable attributes of a file that was opened for reading.
Metadata collectMetadata(const std::string& format, const OIIO::ImageSpec& spec);

/// Sets them on a file about to be written. sameStorage: the channels keep their precision.
void applyMetadata(const Metadata& metadata, const std::string& format, bool sameStorage,
                   OIIO::ImageSpec& spec);

/// Returns the first line of a library message that is not empty, without control characters. name:
/// a file name in it that is replaced by shownAs; empty for none.
std::string firstLine(const std::string& message, const std::string& name = {},
                      const std::string& shownAs = {});

}  // namespace lomix::media
