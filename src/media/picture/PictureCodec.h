// Interface to the library that decodes and encodes pictures. A build links one implementation:
// OpenImageIO (ReadPicture.cpp, WritePicture.cpp) or stb (BasicCodec.cpp). For src/media only. All
// functions throw MediaError, and std::bad_alloc when memory runs out.
#pragma once

#include <filesystem>

#include "media/picture/Picture.h"

namespace lomix::media {

/// Reads the picture of a file that exists and is not empty.
Picture decodePicture(const std::filesystem::path& file);

/// Throws unless the extension names a format that can be written.
void requireWritableFormat(const std::filesystem::path& file);

/// Writes a picture to temporary in the format of file's extension; messages name file.
void encodePicture(const Picture& picture, const std::filesystem::path& file,
                   const std::filesystem::path& temporary);

}  // namespace lomix::media
