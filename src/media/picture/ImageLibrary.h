// What reading and writing share of the image library. For src/media only: brings its headers in.
#pragma once

#include <OpenImageIO/imageio.h>

#include <string>

#include "media/picture/Picture.h"

namespace lomix::media {

/// The attributes of a file that its output inherits, and where its frame stood.
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

/// The first line of a message of the library that says something, one file name in it
/// replaced by another.
std::string firstLine(const std::string& message, const std::string& name = {},
                      const std::string& shownAs = {});

}  // namespace lomix::media
