// Text in PNG files.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lomix::media {

/// Copies all text of a PNG file to another, as it is stored: keyword, language, compression. Not
/// Exif, IPTC and XMP data, which copyCameraData() copies. Throws MediaError when the file cannot
/// be written; shownAs: its name in the message.
void copyPngText(const std::filesystem::path& from, const std::filesystem::path& to,
                 const std::filesystem::path& shownAs);

/// Stores the text of a PNG file that is UTF-8 but not ASCII as such. The image library stores it
/// as if it were Latin-1. Errors as above.
void markUtf8PngText(const std::filesystem::path& file, const std::filesystem::path& shownAs);

/// Returns a text of a PNG file, which is either UTF-8 or Latin-1, as UTF-8.
std::string utf8OfPngText(std::string_view text);

}  // namespace lomix::media
