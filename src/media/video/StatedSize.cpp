#include "media/video/StatedSize.h"

#include <algorithm>
#include <string>
#include <utility>

#include "support/FileBytes.h"

namespace lomix::media {
namespace {

std::uint64_t beyond(const FileBytes& bytes, std::uint64_t end) {
  return end > bytes.size() ? end - bytes.size() : 0;
}

/// An AVI file is one RIFF chunk or several, one after the other.
std::uint64_t missingOfAvi(FileBytes& bytes) {
  constexpr std::uint64_t kHeader = 8;
  std::uint64_t end = 0;
  while (bytes.has(end, kHeader) && bytes.text(end, 4) == "RIFF") {
    const std::uint64_t length = bytes.number(end + 4, 4);
    // A recorder that did not end properly has not written it.
    if (length == 0 || length == 0xffffffff) return 0;
    end += kHeader + length + length % 2;
  }
  // The byte that fills an odd chunk may be left out.
  const std::uint64_t missing = beyond(bytes, end);
  return missing > 1 ? missing : 0;
}

std::uint64_t missingOfAsf(FileBytes& bytes) {
  const std::string fileProperties(
      "\xa1\xdc\xab\x8c\x47\xa9\xcf\x11\x8e\xe4\x00\xc0\x0c\x20\x53\x65", 16);
  constexpr std::uint64_t kIdentifier = 16;
  const std::uint64_t header = bytes.number(kIdentifier, 8);
  for (std::uint64_t at = 30; at < header;) {
    if (bytes.text(at, kIdentifier) == fileProperties) {
      const bool isBroadcast = (bytes.number(at + 88, 4) & 1U) != 0;
      return isBroadcast ? 0 : beyond(bytes, bytes.number(at + 40, 8));
    }
    const std::uint64_t length = bytes.number(at + kIdentifier, 8);
    if (length < kIdentifier + 8) return 0;
    at += length;
  }
  return 0;
}

std::uint64_t missingOfOgg(FileBytes& bytes) {
  // A page has 27 bytes, up to 255 lengths of segments, and segments of up to 255 bytes.
  constexpr std::uint64_t kHeader = 27;
  constexpr std::uint64_t kLongestPage = kHeader + 255 + 255 * 255;
  const std::uint64_t count = std::min(bytes.size(), kLongestPage);
  const std::uint64_t begin = bytes.size() - count;
  const std::size_t last = bytes.text(begin, static_cast<std::size_t>(count)).rfind("OggS");
  if (last == std::string::npos) return 0;
  const std::uint64_t page = begin + last;
  if (!bytes.has(page, kHeader)) return beyond(bytes, page + kHeader);
  const std::uint64_t segments = bytes.number(page + kHeader - 1, 1);
  std::uint64_t end = page + kHeader + segments;
  if (!bytes.has(page, kHeader + segments)) return beyond(bytes, end);
  for (std::uint64_t i = 0; i < segments; ++i) end += bytes.number(page + kHeader + i, 1);
  return beyond(bytes, end);
}

/// Returns the value of the number at an offset, and its length. EBML numbers begin with as many
/// zero bits as they have further bytes. All further bits 1: unknown, 0 here.
std::pair<std::uint64_t, std::uint64_t> ebmlNumber(FileBytes& bytes, std::uint64_t at) {
  std::uint64_t length = 1;
  for (std::uint64_t first = bytes.number(at, 1); length < 8 && (first & 0x80U) == 0; first <<= 1) {
    ++length;
  }
  const std::uint64_t mask = (std::uint64_t{1} << (7 * length)) - 1;
  const std::uint64_t value = bytes.number(at, static_cast<std::size_t>(length)) & mask;
  return {value == mask ? 0 : value, length};
}

/// After a header, everything is in one element, the segment.
std::uint64_t missingOfMatroska(FileBytes& bytes) {
  constexpr std::uint64_t kIdentifier = 4;
  constexpr std::uint64_t kSegment = 0x18538067;
  bytes.setBigEndian(true);
  const auto [header, headerLength] = ebmlNumber(bytes, kIdentifier);
  const std::uint64_t segment = kIdentifier + headerLength + header;
  if (bytes.number(segment, kIdentifier) != kSegment) return 0;
  const auto [size, length] = ebmlNumber(bytes, segment + kIdentifier);
  return size == 0 ? 0 : beyond(bytes, segment + kIdentifier + length + size);
}

bool lacksIndexOfNut(FileBytes& bytes) {
  bytes.setBigEndian(true);
  // The main header: the file's identifier, a code and the length of what follows, of which the
  // first is the version. Later versions may be streams without an index.
  constexpr std::uint64_t kIdentifier = 25;
  std::uint64_t version = kIdentifier + 8;
  while ((bytes.number(version, 1) & 0x80U) != 0) ++version;
  if (bytes.number(version + 1, 1) > 3) return false;
  // The index ends with its length and a checksum.
  constexpr std::uint64_t kIndexCode = 0x4e58dd672f23e64e;
  constexpr std::uint64_t kEnd = 12;
  bytes.require(0, kEnd);
  const std::uint64_t length = bytes.number(bytes.size() - kEnd, 8);
  return length < kEnd || length > bytes.size() ||
         bytes.number(bytes.size() - length, 8) != kIndexCode;
}

/// A GIF is a header, blocks of data in pieces of up to 255 bytes, and a last block of one byte.
bool lacksEndOfGif(FileBytes& bytes) {
  const auto paletteLength = [](std::uint64_t flags) -> std::uint64_t {
    return (flags & 0x80U) != 0 ? std::uint64_t{6} << (flags & 7U) : 0;
  };
  std::uint64_t at = 13 + paletteLength(bytes.number(10, 1));
  while (bytes.has(at, 1)) {
    const std::uint64_t block = bytes.number(at, 1);
    if (block == 0x3b) return false;
    if (block == 0x21) {
      at += 2;  // An extension: its kind.
    } else if (block == 0x2c) {
      if (!bytes.has(at, 10)) return true;
      at += 11 + paletteLength(bytes.number(at + 9, 1));  // A picture: its place, its code size.
    } else {
      return false;  // Unknown.
    }
    for (std::uint64_t piece = 1; piece != 0; at += 1 + piece) {
      if (!bytes.has(at, 1)) return true;
      piece = bytes.number(at, 1);
    }
  }
  return true;
}

}  // namespace

std::uint64_t missingBytes(const std::filesystem::path& file, std::string_view format) {
  FileBytes bytes(file);
  if (format == "avi") return missingOfAvi(bytes);
  if (format == "asf") return missingOfAsf(bytes);
  if (format == "ogg") return missingOfOgg(bytes);
  if (format.starts_with("matroska")) return missingOfMatroska(bytes);
  return 0;
}

bool lacksEnd(const std::filesystem::path& file, std::string_view format) {
  FileBytes bytes(file);
  if (format == "nut") return lacksIndexOfNut(bytes);
  return format == "gif" && lacksEndOfGif(bytes);
}

}  // namespace lomix::media
