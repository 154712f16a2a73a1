// Interface to the library that decodes and encodes pictures. A build links one implementation:
// OpenImageIO (ReadPicture.cpp, WritePicture.cpp) or the imaging component of Windows
// (WindowsRead.cpp, WindowsWrite.cpp). For src/media only. All functions throw MediaError, and
// std::bad_alloc when memory runs out.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "media/picture/Picture.h"
#include "media/picture/PictureFile.h"

namespace lomix::media {

/// Reads the picture of a file that exists and is not empty. extension: of its format where its
/// content does not tell; empty: that of its name.
Picture decodePicture(const std::filesystem::path& file, const std::string& extension);

/// Throws unless the extension names a format that can be written.
void requireWritableFormat(const std::filesystem::path& file);

/// Writes a picture to temporary; messages name file. Returns what the file does not keep of the
/// picture's input.
std::vector<std::string> encodePicture(const Picture& picture, const std::filesystem::path& file,
                                       const std::filesystem::path& temporary,
                                       const PictureOutput& options);

}  // namespace lomix::media
