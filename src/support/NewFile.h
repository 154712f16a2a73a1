// Checks before a file is made, and the beginnings of error messages about files.
#pragma once

#include <filesystem>
#include <string>

namespace lomix {

/// Throws MediaError when no file of that name can be made: its folder is missing, or the name is
/// taken. With overwrite true an existing file, but nothing else, may have the name.
void checkNewFile(const std::filesystem::path& file, bool overwrite);

/// Throws the AvoidableError about a file that exists and may not be replaced.
[[noreturn]] void throwFileExists(const std::filesystem::path& file);

/// Returns whether a file or folder of that name exists; false where that cannot be found out.
bool fileExists(const std::filesystem::path& file);

/// Returns "cannot read 'file': ", the beginning of an error message.
std::string cannotRead(const std::filesystem::path& file);
/// Returns "cannot write 'file': ", the beginning of an error message.
std::string cannotWrite(const std::filesystem::path& file);

}  // namespace lomix
