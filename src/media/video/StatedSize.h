// Compares the end of a file with what its container says. For src/media/video only.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace lomix::media {

/// Returns how many bytes the file lacks of those that its container states: by its headers for
/// AVI, ASF (WMV) and Matroska, by its last page for Ogg. 0 where none is lacking, or nothing is
/// stated. format: FFmpeg's name of it. Throws EndOfFile where the file cannot be read.
std::uint64_t missingBytes(const std::filesystem::path& file, std::string_view format);

/// Returns whether a file lacks what ends every whole file of its format: the index of NUT, the
/// last block of GIF. format and errors as above.
bool lacksEnd(const std::filesystem::path& file, std::string_view format);

}  // namespace lomix::media
