// Reads and writes picture files: PNG, JPEG, TIFF, OpenEXR and all others that OpenImageIO
// supports.
#pragma once

#include <filesystem>
#include <string>

#include "media/picture/Picture.h"

namespace lomix::media {

/// Reads the first picture of a file.
/// - 8-bit channels give a picture of depth 8; all others, and premultiplied colours, depth 32.
/// - Grey is copied to red, green and blue.
/// - Where the file has a display window (OpenEXR), the picture is that window. Outside the stored
///   pixels it is black and, in files with alpha, transparent.
/// - Where the file has an orientation (cameras), the picture is turned upright, so that the effect
///   shifts the rows that a viewer sees.
/// Throws MediaError when the file is missing, damaged or has no colour channels.
Picture readPicture(const std::filesystem::path& file);

/// Writes a picture in the format of the file's extension. The file appears only when it is
/// complete. Float pictures keep the precision they were read in where the format has it, else they
/// get the format's highest. Alpha is written when both picture and format have it; JPEG has none
/// and stores the colours as they are. Throws MediaError and leaves no file behind when it fails;
/// with overwrite false an existing file is kept and is an error.
void writePicture(const Picture& picture, const std::filesystem::path& file, bool overwrite);

/// Throws MediaError when writePicture() could not write the file: unknown extension, missing
/// folder, or, with overwrite false, an existing file.
void checkWritable(const std::filesystem::path& file, bool overwrite);

/// Returns whether pictures in the format of the file's extension have alpha. Throws MediaError for
/// an extension that checkWritable() refuses.
bool storesAlpha(const std::filesystem::path& file);

/// Returns the name and version of the library behind these functions: "OpenImageIO 2.4.7".
std::string pictureLibrary();

}  // namespace lomix::media
