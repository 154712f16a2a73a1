// Reads and writes picture files: PNG, JPEG, TIFF, OpenEXR and all others that OpenImageIO
// supports. Basic builds, for Windows, have the formats of its imaging component instead and keep
// no attributes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "media/picture/Picture.h"

namespace lomix::media {

/// Reads a picture of a file: the first; of OpenEXR the first part with red, green and blue, or
/// where there is none, the first with grey.
/// - 8-bit channels give a picture of depth 8; all others, and premultiplied colours, depth 32.
/// - Grey is copied to red, green and blue.
/// - Where the file has a display window (OpenEXR), the picture is that window. Outside the stored
///   pixels it is black and, in files with alpha, transparent.
/// - Where the file has an orientation (cameras), the picture is turned upright, so that the effect
///   shifts the rows that a viewer sees.
/// The content tells the format. extension: as ".tga", for content that does not; empty: that of
/// the name. Throws MediaError when the file is missing, damaged or deep, or has no colour
/// channels.
Picture readPicture(const std::filesystem::path& file, const std::string& extension = {});

/// The quality of JPEG files, 1 to 100, where none is chosen.
inline constexpr int kJpegQuality = 95;
/// How JPEG files store colours: at full resolution. The effect shifts single rows, which half of
/// it would smear.
inline constexpr const char* kJpegSubsampling = "4:4:4";

/// How to write a picture.
struct PictureOutput {
  bool overwrite = false;      ///< False: an existing file is kept and is an error.
  std::string extension;       ///< Chooses the format: ".png"; empty: that of the file's name.
  int quality = kJpegQuality;  ///< Of JPEG.
};

/// Writes a picture in the format of the extension. The file appears only when it is complete.
/// - Float pictures keep the precision they were read in where the format has it, else they get the
///   format's highest.
/// - Alpha is written when both picture and format have it; JPEG has none and stores the colours as
///   they are.
/// - The file gets what its format can hold of the file that the picture was read from, which must
///   still exist: attributes, Exif, IPTC and XMP data, text; from OpenEXR to OpenEXR, at the same
///   size, also all further parts and channels, and pixels outside the display window.
/// Returns what it cannot hold, each as "... is left out (way out)", and whether programs expect
/// values of another meaning in such a file, see encodingNote(). Throws MediaError and leaves
/// no file behind when it fails.
std::vector<std::string> writePicture(const Picture& picture, const std::filesystem::path& file,
                                      const PictureOutput& options);
/// Does the same in the format of the file's name.
std::vector<std::string> writePicture(const Picture& picture, const std::filesystem::path& file,
                                      bool overwrite);

/// Returns which pixels of the file that a picture was read from a video does not keep: further
/// channels and parts, as writePicture().
std::vector<std::string> lossesInVideo(const Picture& picture);

/// Throws MediaError when writePicture() could not write the file: unknown extension of its name
/// unless another is given, missing folder, or, with overwrite false, an existing file.
void checkWritable(const std::filesystem::path& file, bool overwrite,
                   const std::string& extension = {});

/// Returns the name of the format with an extension such as ".jpg": "jpeg". Empty where pictures
/// cannot be written with this extension.
std::string formatOf(const std::string& extension);

/// Returns whether pictures in the format of the file's extension, or of another one, have alpha.
/// Throws MediaError for an extension that checkWritable() refuses.
bool storesAlpha(const std::filesystem::path& file, const std::string& extension = {});

/// Returns the name and version of the library behind these functions: "OpenImageIO 2.4.7".
std::string pictureLibrary();

}  // namespace lomix::media
