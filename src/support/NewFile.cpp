#include "support/NewFile.h"

#include <cstdint>
#include <system_error>
#include <unordered_map>
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
  throw FileExistsError(Remedy::Overwrite, cannotWrite(file) + "it exists",
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

namespace {

/// Finds the files that names lead to. Resolves each folder once: the frames of a sequence are many
/// names in one folder.
class LinkResolver {
 public:
  fs::path resolve(const fs::path& name) {
    std::error_code ignored;
    const fs::path last = name.filename();
    if (last.empty() || last == "." || last == ".." || fs::is_symlink(name, ignored)) {
      return linkedFile(name);
    }
    const fs::path folder = name.parent_path();
    const auto [known, isNew] = folders_.try_emplace(folder.native());
    if (isNew) known->second = linkedFile(folder.empty() ? "." : folder);
    return known->second / last;
  }

 private:
  // Comparing paths part by part would take longer than comparing their texts.
  std::unordered_map<fs::path::string_type, fs::path> folders_;
};

}  // namespace

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
  std::unordered_map<fs::path::string_type, const NamedFile*> known;
  std::vector<const NamedFile*> hardLinked;
  LinkResolver links;
  const auto add = [&](const NamedFile& file, const fs::path& resolved, bool linked) {
    known.emplace(resolved.native(), &file);
    if (linked) hardLinked.push_back(&file);
  };
  for (const NamedFile& input : inputs) {
    add(input, links.resolve(input.file), isHardLinked(input.file));
  }
  for (const NamedFile& output : outputs) {
    const fs::path resolved = links.resolve(output.file);
    const auto found = known.find(resolved.native());
    if (found != known.end()) throwShared(output, *found->second);
    const bool linked = isHardLinked(output.file);
    if (linked) {
      for (const NamedFile* other : hardLinked) {
        std::error_code ignored;
        if (fs::equivalent(output.file, other->file, ignored)) throwShared(output, *other);
      }
    }
    add(output, resolved, linked);
  }
}

}  // namespace lomix
