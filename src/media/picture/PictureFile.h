// Pictures in files: PNG, JPEG, TIFF, OpenEXR and whatever else OpenImageIO knows.
#pragma once

#include <filesystem>
#include <string>

#include "media/picture/Picture.h"

namespace lomix::media {

/// Reads the first picture of a file. 8-bit channels give a picture of depth 8, all others and
/// premultiplied colours one of depth 32; grey is spread over red, green and blue. Where the file
/// names a frame other than its pixels (OpenEXR), the picture is that frame and its rest is empty.
/// Where it says how it is to be turned (cameras), it is turned: the effect's rows are those that
/// the eye sees.
/// Throws MediaError when the file is missing, damaged or holds no picture of colours.
Picture readPicture(const std::filesystem::path& file);

/// Writes a picture in the format of the file's extension; the file appears only when it is whole.
/// Float pictures keep the precision they were read in where the format has it, else take the
/// format's highest. Alpha is written when the picture has one and the format knows one (JPEG does
/// not: the colours are written as they are). Throws MediaError and leaves no file behind when it
/// fails; with overwrite false an existing file is kept and is an error.
void writePicture(const Picture& picture, const std::filesystem::path& file, bool overwrite);

/// Throws the MediaError that writePicture would throw before it looks at a pixel: unknown
/// extension, missing folder, a file that is in the way.
void checkWritable(const std::filesystem::path& file, bool overwrite);

}  // namespace lomix::media
