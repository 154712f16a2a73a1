#include "support/NewFile.h"

#include <system_error>

#include "support/MediaError.h"

namespace lomix {

namespace fs = std::filesystem;

std::string cannotRead(const fs::path& file) { return "cannot read '" + file.string() + "': "; }

std::string cannotWrite(const fs::path& file) { return "cannot write '" + file.string() + "': "; }

bool fileExists(const fs::path& file) {
  std::error_code ignored;
  return fs::exists(file, ignored);
}

void throwFileExists(const fs::path& file) {
  throw AvoidableError(Remedy::Overwrite, cannotWrite(file) + "it exists",
                       "choose another name, or replace it");
}

void checkNewFile(const fs::path& file, bool overwrite) {
  std::error_code error;
  const fs::file_type type = fs::status(file, error).type();
  if (type == fs::file_type::directory) {
    throw MediaError(cannotWrite(file) + "it is a folder (name a file in it)");
  }
  if (type == fs::file_type::regular) {
    if (overwrite) return;
    throwFileExists(file);
  }
  if (type == fs::file_type::none) {
    throw MediaError(cannotWrite(file) + error.message() + " (choose another name or folder)");
  }
  if (type != fs::file_type::not_found) {
    throw MediaError(cannotWrite(file) +
                     "something other than a file has this name (choose another name)");
  }
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  if (!fs::is_directory(folder, error)) {
    throw MediaError(cannotWrite(file) + "there is no folder '" + folder.string() +
                     "' (make it first)");
  }
}

}  // namespace lomix
