// Names what a picture's file does not keep of its input. For src/media only: includes
// OpenImageIO's headers.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "media/picture/ImageLibrary.h"

namespace lomix::media {

/// How a picture was written.
struct WrittenFile {
  std::string_view format;                  ///< The library's name of the format.
  std::string extension;                    ///< For messages: ".png".
  OIIO::ImageSpec spec;                     ///< The file as the library reads it.
  bool keepsParts = false;                  ///< Written by writeExrParts().
  std::vector<std::string> lostCameraData;  ///< Of copyCameraData(); empty where it was not called.
};

/// Returns what the file has not of the picture's input, each as "... is left out (way out)".
std::vector<std::string> lossesOf(const Picture& picture, const WrittenFile& written);

}  // namespace lomix::media
