#include "media/picture/TiffDirectory.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace lomix::media {
namespace {

using namespace std::string_view_literals;

/// Returns where the TIFF structure of a JPEG file's Exif data begins; nothing where it has none.
std::optional<std::uint64_t> findExif(FileBytes& bytes) {
  constexpr std::string_view kName = "Exif\0\0"sv;
  bytes.setBigEndian(true);
  for (std::uint64_t at = 2;;) {
    const std::uint64_t marker = bytes.number(at, 2);
    const bool isData = marker == 0xffe1;
    if (isData && bytes.has(at + 4, kName.size()) && bytes.text(at + 4, kName.size()) == kName) {
      return at + 4 + kName.size();
    }
    // Up to the pixels, which follow the marker DA.
    if (marker < 0xffc0 || marker >= 0xffff || marker == 0xffda) return std::nullopt;
    at += 2 + bytes.number(at + 2, 2);
  }
}

/// Returns the number of 16 bits that a tag of the first directory has. start: of the TIFF
/// structure, from which its offsets count.
std::optional<std::uint64_t> findNumber(FileBytes& bytes, std::uint64_t start, std::uint64_t tag) {
  const std::uint64_t order = bytes.number(start, 2);
  if (order != 0x4949 && order != 0x4d4d) return std::nullopt;
  bytes.setBigEndian(order == 0x4d4d);
  if (bytes.number(start + 2, 2) != 42) return std::nullopt;
  const std::uint64_t directory = start + bytes.number(start + 4, 4);
  const std::uint64_t entries = bytes.number(directory, 2);
  for (std::uint64_t i = 0; i < entries; ++i) {
    const std::uint64_t entry = directory + 2 + i * 12;
    if (bytes.number(entry, 2) == tag) return bytes.number(entry + 8, 2);
  }
  return std::nullopt;
}

}  // namespace

int orientationOf(FileBytes& bytes) {
  constexpr std::uint64_t kOrientation = 274;
  try {
    const bool isJpeg = bytes.text(0, 2) == "\xff\xd8";
    const std::optional<std::uint64_t> start = isJpeg ? findExif(bytes) : 0;
    if (!start) return 1;
    const std::uint64_t number = findNumber(bytes, *start, kOrientation).value_or(1);
    return number <= 8 ? static_cast<int>(number) : 1;
  } catch (const EndOfFile&) {
    // Damaged data say nothing.
    return 1;
  }
}

std::string_view compressionOf(FileBytes& bytes) {
  constexpr std::uint64_t kCompression = 259;
  try {
    switch (findNumber(bytes, 0, kCompression).value_or(0)) {
      case 1:
        return "none";
      case 5:
        return "lzw";
      case 8:
      case 32946:
        return "zip";
      case 32773:
        return "packbits";
      default:
        return {};
    }
  } catch (const EndOfFile&) {
    return {};
  }
}

}  // namespace lomix::media
