#include "fuzz/Fuzzing.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/StandardErrorCopy.h"

namespace lomix::fuzz {
namespace {

namespace fs = std::filesystem;

// Made before anything can mute standard error.
StandardErrorCopy errors;
fs::path scratchFolder;

}  // namespace

void require(bool good, const std::string& fault) {
  if (good) return;
  errors << "fault: " + fault + "\n" << std::flush;
  std::abort();
}

void requireMessage(std::string_view message) {
  require(message.ends_with(')') && message.find(" (") != std::string_view::npos,
          "message without a way out: '" + std::string(message) + "'");
}

void enterScratchFolder() {
  std::string name = (fs::temp_directory_path() / "lomix-fuzz-XXXXXX").string();
  require(mkdtemp(name.data()) != nullptr, "no scratch folder in " + name);
  scratchFolder = name;
  fs::current_path(scratchFolder);
  std::atexit([] {
    std::error_code ignored;
    fs::current_path(scratchFolder.parent_path(), ignored);
    fs::remove_all(scratchFolder, ignored);
  });
}

}  // namespace lomix::fuzz
