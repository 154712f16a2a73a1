// The parts of reading and writing pictures that do not depend on the library behind
// PictureCodec.h.
#include "media/picture/PictureFile.h"

#include <algorithm>
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

/// The bytes of a TIFF file as numbers.
class TiffBytes {
 public:
  TiffBytes(const fs::path& file, std::uint64_t size)
      : stream_(file, std::ios::binary), size_(size) {
    const std::uint64_t order = number(0, 2);
    bigEndian_ = order == 0x4d4d;
    const std::uint64_t version = order == 0x4949 || bigEndian_ ? number(2, 2) : 0;
    isTiff_ = version == 42 || version == 43;
    wide_ = version == 43;
  }

  bool isTiff() const { return isTiff_; }
  /// Returns whether a strip or tile of the first picture is beyond the end of the file.
  bool isCut() {
    const std::size_t word = wide_ ? 8 : 4;
    const std::uint64_t directory = number(word, word);
    const std::size_t countSize = wide_ ? 8 : 2;
    const std::uint64_t entries = number(directory, countSize);
    List offsets;
    List lengths;
    for (std::uint64_t i = 0; i < entries && good_; ++i) {
      const std::uint64_t entry = directory + countSize + i * (wide_ ? 20 : 12);
      const std::uint64_t tag = number(entry, 2);
      if (tag == 273 || tag == 324) offsets = listAt(entry);
      if (tag == 279 || tag == 325) lengths = listAt(entry);
    }
    for (std::uint64_t i = 0; good_ && i < std::min(offsets.count, lengths.count); ++i) {
      const std::uint64_t offset = element(offsets, i);
      const std::uint64_t length = element(lengths, i);
      if (offset > size_ || length > size_ - offset) return true;
    }
    // Damaged directories are left to the image library, which has an error for them.
    return false;
  }

 private:
  /// The values of a directory's entry.
  struct List {
    std::uint64_t count = 0;
    std::uint64_t at = 0;
    std::size_t size = 4;
  };

  List listAt(std::uint64_t entry) {
    constexpr std::uint64_t kShort = 3;
    constexpr std::uint64_t kLong8 = 16;
    const std::size_t word = wide_ ? 8 : 4;
    const std::uint64_t type = number(entry + 2, 2);
    List list;
    list.size = type == kShort ? 2 : type == kLong8 ? 8 : 4;
    list.count = number(entry + 4, word);
    list.at = entry + 4 + word;
    if (list.count * list.size > word) list.at = number(list.at, word);
    return list;
  }
  std::uint64_t element(const List& list, std::uint64_t i) {
    return number(list.at + i * list.size, list.size);
  }
  std::uint64_t number(std::uint64_t at, std::size_t length) {
    std::array<char, 8> bytes{};
    if (at > size_ || length > size_ - at) good_ = false;
    if (!good_) return 0;
    stream_.seekg(static_cast<std::streamoff>(at));
    stream_.read(bytes.data(), static_cast<std::streamsize>(length));
    good_ = stream_.good();
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i) {
      value = value << 8 | static_cast<unsigned char>(bytes.at(bigEndian_ ? i : length - 1 - i));
    }
    return value;
  }

  std::ifstream stream_;
  std::uint64_t size_;
  bool good_ = true;
  bool bigEndian_ = false;
  bool wide_ = false;
  bool isTiff_ = false;
};

/// Returns whether a TIFF file ends before its pixels do. The image library reads the missing ones
/// as black.
bool isCutTiff(const fs::path& file, std::uint64_t size) {
  TiffBytes bytes(file, size);
  return bytes.isTiff() && bytes.isCut();
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
  if (!std::ifstream(file)) {
    throw MediaError(cannotRead(file) +
                     "the system does not let it be read (check its permissions)");
  }
  if (isCutPng(file) || isCutTiff(file, fs::file_size(file, error))) {
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
