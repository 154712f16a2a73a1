// Checks before a file is made, and the beginnings of error messages about files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lomix {

/// Throws MediaError when no file of that name can be made: its folder is missing, or the name is
/// taken. With overwrite true an existing file, but nothing else, may have the name; else it is a
/// FileExistsError.
void checkNewFile(const std::filesystem::path& file, bool overwrite);

/// Throws the FileExistsError about a file that exists and may not be replaced.
[[noreturn]] void throwFileExists(const std::filesystem::path& file);

/// Makes a folder and those that it is in, where they are missing. Does nothing for an empty name.
/// Throws MediaError.
void makeFolder(const std::filesystem::path& folder);

/// Returns whether a file or folder of that name exists; false where that cannot be found out.
bool fileExists(const std::filesystem::path& file);

/// Returns the file that a name leads to: an absolute path with all links resolved, also one to a
/// file that does not exist yet.
std::filesystem::path linkedFile(const std::filesystem::path& name);

/// A file of a command, with the argument or option that names it: "OUTPUT", "--report".
struct NamedFile {
  std::string role;
  std::filesystem::path file;
};

/// Throws UsageError when an output is the same file as an input or another output, also through
/// symbolic or hard links. Reads no file.
void requireDistinctFiles(const std::vector<NamedFile>& outputs,
                          const std::vector<NamedFile>& inputs);

/// Returns "cannot read 'file': ", the beginning of an error message.
std::string cannotRead(const std::filesystem::path& file);
/// Returns "cannot write 'file': ", the beginning of an error message.
std::string cannotWrite(const std::filesystem::path& file);

}  // namespace lomix
