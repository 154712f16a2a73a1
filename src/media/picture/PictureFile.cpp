// The parts of reading and writing pictures that do not depend on the library behind
// PictureCodec.h.
#include "media/picture/PictureFile.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <new>
#include <string_view>
#include <system_error>

#include "media/picture/PictureCodec.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/QuietStandardError.h"
#include "support/TemporaryFile.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

/// Returns whether a PNG file ends before its last chunk. Checked before decoding, because the
/// image library leaks memory when its PNG decoder meets the end too early.
bool isCutPng(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::array<char, 8> head{};
  stream.read(head.data(), head.size());
  if (!stream || std::string_view(head.data(), 4) != "\x89PNG") return false;
  while (stream.read(head.data(), head.size())) {
    if (std::string_view(head.data() + 4, 4) == "IEND") return false;
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < 4; ++i) length = length << 8 | static_cast<unsigned char>(head[i]);
    stream.seekg(std::int64_t{length} + 4, std::ios::cur);
  }
  return true;
}

}  // namespace

Picture readPicture(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (status.type() == fs::file_type::not_found) {
    throw MediaError(cannotRead(file) + "there is no such file (check the name)");
  }
  if (status.type() == fs::file_type::none) {
    throw MediaError(cannotRead(file) + error.message() + " (check the name and its folder)");
  }
  if (status.type() == fs::file_type::directory) {
    throw MediaError(cannotRead(file) + "it is a folder (name a picture in it)");
  }
  if (status.type() != fs::file_type::regular) {
    throw MediaError(cannotRead(file) + "it is not a file on a disk (save the picture first)");
  }
  if (fs::file_size(file, error) == 0) {
    throw MediaError(cannotRead(file) + "it is empty (check how it was made)");
  }
  if (isCutPng(file)) {
    throw MediaError(cannotRead(file) + "it ends too early (copy or make it again)");
  }
  const QuietStandardError quiet;
  try {
    return decodePicture(file);
  } catch (const std::bad_alloc&) {
    throw MediaError(cannotRead(file) + "there is not enough memory (use a smaller picture)");
  }
}

void checkWritable(const fs::path& file, bool overwrite) {
  requireWritableFormat(file);
  checkNewFile(file, overwrite);
}

void writePicture(const Picture& picture, const fs::path& file, bool overwrite) {
  checkWritable(file, overwrite);
  TemporaryFile temporary(file);
  const QuietStandardError quiet;
  try {
    encodePicture(picture, file, temporary.path());
  } catch (const std::bad_alloc&) {
    throw MediaError(cannotWrite(file) + "there is not enough memory (use a smaller picture)");
  }
  temporary.publish(overwrite);
}

}  // namespace lomix::media
