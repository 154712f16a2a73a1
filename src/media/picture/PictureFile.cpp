// The parts of reading and writing pictures that do not depend on the library behind
// PictureCodec.h.
#include "media/picture/PictureFile.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <system_error>

#include "media/picture/ClaimedSize.h"
#include "media/picture/PictureCodec.h"
#include "support/FileBytes.h"
#include "support/MediaError.h"
#include "support/NewFile.h"
#include "support/QuietStandardError.h"
#include "support/TemporaryFile.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

/// Returns whether a PNG file ends before its last chunk. Checked before decoding, because the
/// image library leaks memory when its PNG decoder meets the end too early.
bool isCutPng(FileBytes& bytes) {
  constexpr std::uint64_t kSignature = 8;
  if (!bytes.has(0, kSignature) || bytes.text(0, 4) != "\x89PNG") return false;
  bytes.setBigEndian(true);
  // A chunk has a length, a name, its content and a checksum.
  for (std::uint64_t at = kSignature; bytes.has(at, 8); at += 12 + bytes.number(at, 4)) {
    if (bytes.text(at + 4, 4) == "IEND") return false;
  }
  return true;
}

/// The values of an entry of a TIFF file's directory.
struct TiffList {
  std::uint64_t count = 0;
  std::uint64_t at = 0;
  std::size_t size = 4;
};

/// word: the size of an offset in the file.
TiffList tiffList(FileBytes& bytes, std::uint64_t entry, std::size_t word) {
  constexpr std::uint64_t kShort = 3;
  constexpr std::uint64_t kLong8 = 16;
  const std::uint64_t type = bytes.number(entry + 2, 2);
  TiffList list;
  list.size = type == kShort ? 2 : type == kLong8 ? 8 : 4;
  list.count = bytes.number(entry + 4, word);
  list.at = entry + 4 + word;
  if (list.count * list.size > word) list.at = bytes.number(list.at, word);
  return list;
}

/// Returns whether a strip or tile of a TIFF file's first picture is beyond the end of the file.
/// The image library reads the missing pixels as black. Throws EndOfFile for a damaged directory.
bool isCutTiff(FileBytes& bytes) {
  bytes.setBigEndian(false);
  const std::uint64_t order = bytes.number(0, 2);
  if (order != 0x4949 && order != 0x4d4d) return false;
  bytes.setBigEndian(order == 0x4d4d);
  const std::uint64_t version = bytes.number(2, 2);
  if (version != 42 && version != 43) return false;
  const bool wide = version == 43;
  const std::size_t word = wide ? 8 : 4;
  const std::uint64_t directory = bytes.number(word, word);
  const std::size_t countSize = wide ? 8 : 2;
  const std::uint64_t entries = bytes.number(directory, countSize);
  TiffList offsets;
  TiffList lengths;
  for (std::uint64_t i = 0; i < entries; ++i) {
    const std::uint64_t entry = directory + countSize + i * (wide ? 20 : 12);
    const std::uint64_t tag = bytes.number(entry, 2);
    if (tag == 273 || tag == 324) offsets = tiffList(bytes, entry, word);
    if (tag == 279 || tag == 325) lengths = tiffList(bytes, entry, word);
  }
  for (std::uint64_t i = 0; i < std::min(offsets.count, lengths.count); ++i) {
    const std::uint64_t offset = bytes.number(offsets.at + i * offsets.size, offsets.size);
    const std::uint64_t length = bytes.number(lengths.at + i * lengths.size, lengths.size);
    if (!bytes.has(offset, length)) return true;
  }
  return false;
}

/// Returns whether an uncompressed BMP file ends before its pixels do. Throws EndOfFile for a
/// damaged header.
bool isCutBmp(FileBytes& bytes) {
  if (bytes.text(0, 2) != "BM") return false;
  bytes.setBigEndian(false);
  constexpr std::uint64_t kBitFields = 3;
  const std::uint64_t headerSize = bytes.number(14, 4);
  const std::uint64_t compression = bytes.number(30, 4);
  if (headerSize < 40 || (compression != 0 && compression != kBitFields)) return false;
  const std::uint64_t rowBits = bytes.number(18, 4) * bytes.number(28, 2);
  // Negative where the first row is the upper one.
  const auto height = static_cast<std::int32_t>(bytes.number(22, 4));
  const auto rows = static_cast<std::uint64_t>(std::abs(std::int64_t{height}));
  return rows > 0 && !bytes.has(bytes.number(10, 4),
                                (rows - 1) * ((rowBits + 31) / 32 * 4) + (rowBits + 7) / 8);
}

/// Returns whether a PNG, TIFF or BMP file ends before its pixels do.
bool isCut(FileBytes& bytes) {
  try {
    return isCutPng(bytes) || isCutTiff(bytes) || isCutBmp(bytes);
  } catch (const EndOfFile&) {
    // Left to the image library, which has an error for it.
    return false;
  }
}

}  // namespace

Picture readPicture(const fs::path& file, const std::string& extension) {
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
  FileBytes bytes(file);
  if (!bytes.isOpen()) {
    throw MediaError(cannotRead(file) +
                     "the system does not let it be read (check its permissions)");
  }
  if (isCut(bytes)) {
    throw MediaError(cannotRead(file) + "it ends too early (copy or make it again)");
  }
  requirePossibleHeader(file, bytes);
  const QuietStandardError quiet;
  try {
    return decodePicture(file, extension);
  } catch (const std::bad_alloc&) {
    throw MediaError(cannotRead(file) + "there is not enough memory (use a smaller picture)");
  }
}

void checkWritable(const fs::path& file, bool overwrite, const std::string& extension) {
  if (extension.empty()) requireWritableFormat(file);
  checkNewFile(file, overwrite);
}

std::vector<std::string> writePicture(const Picture& picture, const fs::path& file,
                                      const PictureOutput& options) {
  checkWritable(file, options.overwrite, options.extension);
  TemporaryFile temporary(file);
  const QuietStandardError quiet;
  std::vector<std::string> losses;
  try {
    losses = encodePicture(picture, file, temporary.path(), options);
  } catch (const std::bad_alloc&) {
    throw MediaError(cannotWrite(file) + "there is not enough memory (use a smaller picture)");
  }
  temporary.publish(options.overwrite);
  return losses;
}

std::vector<std::string> writePicture(const Picture& picture, const fs::path& file,
                                      bool overwrite) {
  PictureOutput options;
  options.overwrite = overwrite;
  return writePicture(picture, file, options);
}

}  // namespace lomix::media
