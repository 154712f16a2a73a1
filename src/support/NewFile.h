// What reading and writing files of all kinds have in common.
#pragma once

#include <filesystem>
#include <string>

namespace lomix {

/// Throws MediaError when no file of that name can be made: missing folder, a file that is in the
/// way.
void checkNewFile(const std::filesystem::path& file, bool overwrite);

/// "cannot read 'file': ", the beginning of messages about it.
std::string cannotRead(const std::filesystem::path& file);
/// "cannot write 'file': ", the beginning of messages about it.
std::string cannotWrite(const std::filesystem::path& file);

}  // namespace lomix
