#include "support/NewFile.h"

#include <cstdint>
#include <map>
#include <system_error>
#include <utility>

#include "support/Errors.h"
#include "support/MediaError.h"

namespace lomix {

namespace fs = std::filesystem;

namespace {

/// Returns whether the file has more names than one.
bool isHardLinked(const fs::path& file) {
  std::error_code ignored;
  const std::uintmax_t links = fs::hard_link_count(file, ignored);
  return !ignored && links > 1 && fs::is_regular_file(file, ignored);
}

[[noreturn]] void throwShared(const NamedFile& output, const NamedFile& other) {
  throw UsageError(
      output.role + ": '" + output.file.string() + "' is the same file as " + other.role +
      (other.file == output.file ? "" : " '" + other.file.string() + "'") + " (name another file)");
}

}  // namespace

std::string cannotRead(const fs::path& file) { return "cannot read '" + file.string() + "': "; }

std::string cannotWrite(const fs::path& file) { return "cannot write '" + file.string() + "': "; }

bool fileExists(const fs::path& file) {
  std::error_code ignored;
  return fs::exists(file, ignored);
}

void makeFolder(const fs::path& folder) {
  if (folder.empty()) return;
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) {
    throw MediaError(cannotWrite(folder) + error.message() + " (choose another folder)");
  }
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

fs::path linkedFile(const fs::path& name) {
  std::error_code error;
  fs::path file = name;
  // weakly_canonical() keeps a link to a file that does not exist.
  constexpr int kMaxLinks = 40;
  for (int i = 0; i < kMaxLinks && fs::is_symlink(file, error); ++i) {
    file = file.parent_path() / fs::read_symlink(file, error);
  }
  fs::path canonical = fs::weakly_canonical(fs::absolute(file, error), error);
  return canonical.empty() ? file : canonical;
}

void requireDistinctFiles(const std::vector<NamedFile>& outputs,
                          const std::vector<NamedFile>& inputs) {
  std::map<fs::path, const NamedFile*> known;
  std::vector<const NamedFile*> hardLinked;
  const auto add = [&](const NamedFile& file) {
    known.emplace(linkedFile(file.file), &file);
    if (isHardLinked(file.file)) hardLinked.push_back(&file);
  };
  for (const NamedFile& input : inputs) add(input);
  for (const NamedFile& output : outputs) {
    const auto found = known.find(linkedFile(output.file));
    if (found != known.end()) throwShared(output, *found->second);
    if (isHardLinked(output.file)) {
      for (const NamedFile* other : hardLinked) {
        std::error_code ignored;
        if (fs::equivalent(output.file, other->file, ignored)) throwShared(output, *other);
      }
    }
    add(output);
  }
}

}  // namespace lomix
