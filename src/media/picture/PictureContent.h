// Tells pictures by their content.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace lomix::media {

/// The number of first bytes that contentFormat() looks at.
inline constexpr std::size_t kContentBytes = 12;

/// Returns the name of the format that a file's first bytes tell, as formatOf(); empty where they
/// tell none.
std::string contentFormat(std::string_view start);
/// Does the same for a file. Empty too for one that cannot be read.
std::string contentFormatOf(const std::filesystem::path& file);

/// Returns whether all files of a format begin so that contentFormat() tells it.
bool hasSignature(std::string_view format);

/// Returns an extension of a format that contentFormat() tells: ".jpg" for "jpeg".
std::string extensionOf(std::string_view format);

/// Returns the length of the first picture in the bytes of a stream of pictures: PNG, JPEG or BMP.
/// Nothing where it has not ended yet, or where the format does not tell its end.
std::optional<std::size_t> firstPictureLength(std::string_view bytes);

}  // namespace lomix::media
