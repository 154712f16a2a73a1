// Small files of text.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace lomix {

/// The content of a file. Throws MediaError when it cannot be read or has more than maxBytes.
std::string readText(const std::filesystem::path& file, std::size_t maxBytes);

/// Writes a file, which appears only when it is whole. With overwrite false a file that exists is
/// kept, and is an error unless it has just this content. Throws MediaError.
void writeText(const std::string& text, const std::filesystem::path& file, bool overwrite);

}  // namespace lomix
