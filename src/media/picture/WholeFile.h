// Reads and writes picture files as a whole, to change what the picture library does not. For
// src/media only.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lomix::media {

/// Returns the bytes of a file; none where it cannot be read.
std::string readWhole(const std::filesystem::path& file);

/// Replaces the bytes of a file. Throws MediaError, which names shownAs, unless all are written.
void writeWhole(std::string_view bytes, const std::filesystem::path& file,
                const std::filesystem::path& shownAs);

}  // namespace lomix::media
