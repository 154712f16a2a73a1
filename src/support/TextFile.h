// Reads and writes small text files, such as presets and reports.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace lomix {

/// Returns the content of a file. Throws MediaError when it cannot be read or has more than
/// maxBytes.
std::string readText(const std::filesystem::path& file, std::size_t maxBytes);

/// Writes a file, which appears under its name only when it is complete. Does nothing when the file
/// has this very content already. With overwrite false any other existing file is kept and an
/// error. Throws MediaError.
void writeText(const std::string& text, const std::filesystem::path& file, bool overwrite);

}  // namespace lomix
