#include "media/video/StatedSize.h"

#include <algorithm>
#include <string>

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

}  // namespace

std::uint64_t missingBytes(const std::filesystem::path& file, std::string_view format) {
  FileBytes bytes(file);
  if (format == "avi") return missingOfAvi(bytes);
  if (format == "asf") return missingOfAsf(bytes);
  if (format == "ogg") return missingOfOgg(bytes);
  return 0;
}

}  // namespace lomix::media
