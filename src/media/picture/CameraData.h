// Exif, IPTC and XMP data, and comments, that cameras and photo programs put into pictures.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace lomix::media {

/// Returns whether files of a format can have such data. format: the name that OpenImageIO has for
/// it.
bool holdsCameraData(std::string_view format);

/// What the data is to say of the colours.
enum class CameraColours { AsTheyWere, Srgb, Other };

/// Copies the data of one file to another, whose own it replaces. Changed are only the orientation,
/// to upright, the size, to width and height of the picture, and the colour space; the thumbnail is
/// removed, for it shows another picture. Both files must be of such formats. Returns what could
/// not be copied: "Exif", "GPS", "IPTC", "XMP", "the comment". Throws MediaError, which names
/// shownAs, where not all could be written. Any thread.
std::vector<std::string> copyCameraData(const std::filesystem::path& from,
                                        const std::filesystem::path& to,
                                        const std::filesystem::path& shownAs, int width, int height,
                                        CameraColours colours);

/// Returns which of them a file has.
std::vector<std::string> cameraDataOf(const std::filesystem::path& file);

}  // namespace lomix::media
