#include "support/TextFile.h"

#include <fstream>
#include <system_error>

#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/TemporaryFile.h"

namespace lomix {
namespace {

namespace fs = std::filesystem;

bool holds(const fs::path& file, const std::string& text) {
  std::error_code error;
  return fs::is_regular_file(file, error) && fs::file_size(file, error) == text.size() &&
         readText(file, text.size()) == text;
}

}  // namespace

std::string readText(const fs::path& file, std::size_t maxBytes) {
  std::error_code error;
  if (!fs::exists(file, error))
    throw MediaError(cannotRead(file) + "no such file (check the name)");
  if (fs::is_directory(file, error)) {
    throw MediaError(cannotRead(file) + "it is a folder (name a file in it)");
  }
  std::ifstream stream(file, std::ios::binary);
  std::string text(maxBytes + 1, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!stream.eof() && !stream.good()) {
    throw MediaError(cannotRead(file) +
                     "the system does not let it be read (check its permissions)");
  }
  text.resize(static_cast<std::size_t>(stream.gcount()));
  if (text.size() > maxBytes) {
    throw MediaError(cannotRead(file) + "it is longer than " + std::to_string(maxBytes) +
                     " bytes (is it the right file?)");
  }
  return text;
}

void writeText(const std::string& text, const fs::path& file, bool overwrite) {
  if (holds(file, text)) return;
  checkNewFile(file, overwrite);
  TemporaryFile temporary(file);
  std::ofstream stream(temporary.path(), std::ios::binary);
  stream << text;
  stream.close();
  if (!stream) {
    throw MediaError(cannotWrite(file) + "the text does not fit (check the free space)");
  }
  temporary.publish(overwrite);
}

}  // namespace lomix
