// Tells videos from pictures by their names. Part of builds without video too.
#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>

#include "media/video/Video.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr std::array<std::string_view, 28> kExtensions{
    ".mp4", ".m4v", ".mov",  ".qt",   ".mkv",  ".webm", ".avi",  ".mpg", ".mpeg", ".m2v",
    ".ts",  ".mts", ".m2ts", ".vob",  ".mxf",  ".wmv",  ".asf",  ".flv", ".ogv",  ".3gp",
    ".nut", ".dv",  ".y4m",  ".h264", ".hevc", ".ivf",  ".h265", ".apng"};

constexpr std::array<std::string_view, 14> kSoundExtensions{
    ".wav", ".mp3",  ".m4a", ".m4b", ".aac",  ".flac", ".ogg",
    ".oga", ".opus", ".wma", ".aif", ".aiff", ".mka",  ".ac3"};

/// Reads numbers and skips bytes of a file; fails at its end.
class Bytes {
 public:
  explicit Bytes(const std::filesystem::path& file) : stream_(file, std::ios::binary) {}

  bool good() const { return stream_.good(); }
  std::string text(std::size_t length) {
    std::string bytes(length, '\0');
    stream_.read(bytes.data(), static_cast<std::streamsize>(length));
    return stream_ ? bytes : std::string();
  }
  std::uint32_t number(std::size_t length, bool big) {
    const std::string bytes = text(length);
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      value = value << 8 | static_cast<unsigned char>(bytes[big ? i : bytes.size() - 1 - i]);
    }
    return value;
  }
  void skip(std::uint32_t length) { stream_.seekg(std::streamoff{length}, std::ios::cur); }

 private:
  std::ifstream stream_;
};

/// Returns whether a GIF file has two pictures or more. The signature is read already.
bool isAnimatedGif(Bytes& bytes) {
  const auto skipColours = [&](std::uint32_t flags) {
    if ((flags & 0x80U) != 0) bytes.skip(3U << ((flags & 7U) + 1));
  };
  const auto skipBlocks = [&] {
    while (bytes.good()) {
      const std::uint32_t length = bytes.number(1, false);
      if (length == 0) return;
      bytes.skip(length);
    }
  };
  bytes.skip(4);
  const std::uint32_t flags = bytes.number(1, false);
  bytes.skip(2);
  skipColours(flags);
  for (int pictures = 0; bytes.good();) {
    switch (bytes.number(1, false)) {
      case 0x21:
        bytes.skip(1);
        skipBlocks();
        break;
      case 0x2c:
        if (++pictures == 2) return true;
        bytes.skip(8);
        skipColours(bytes.number(1, false));
        bytes.skip(1);
        skipBlocks();
        break;
      default:
        return false;
    }
  }
  return false;
}

/// Returns whether a PNG file says that it has two pictures or more. The signature is read already.
bool isAnimatedPng(Bytes& bytes) {
  while (bytes.good()) {
    const std::uint32_t length = bytes.number(4, true);
    const std::string chunk = bytes.text(4);
    if (chunk == "acTL") return bytes.number(4, true) > 1;
    if (chunk == "IDAT" || chunk.empty()) return false;
    bytes.skip(length);
    bytes.skip(4);
  }
  return false;
}

/// Returns whether a WebP file has two pictures or more. The signature is read already.
bool isAnimatedWebpContent(Bytes& bytes) {
  for (int pictures = 0; bytes.good();) {
    const std::string chunk = bytes.text(4);
    const std::uint32_t length = bytes.number(4, false);
    if (chunk == "ANMF" && ++pictures == 2) return true;
    if (chunk.empty()) return false;
    bytes.skip(length + length % 2);
  }
  return false;
}

/// What a file's first bytes say.
enum class Content { Other, Gif, Png, Webp };

Content contentOf(Bytes& bytes) {
  const std::string start = bytes.text(6);
  if (start == "GIF87a" || start == "GIF89a") return Content::Gif;
  const std::string more = bytes.text(2);
  if (start + more == "\x89PNG\r\n\x1a\n") return Content::Png;
  if (start.starts_with("RIFF") && bytes.text(4) == "WEBP") return Content::Webp;
  return Content::Other;
}

std::string extensionOf(const std::filesystem::path& file) {
  return lowerCase(file.extension().string());
}

}  // namespace

bool isVideoFile(const std::filesystem::path& file) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return false;
  if (std::ranges::find(kSoundExtensions, extensionOf(file)) != kSoundExtensions.end()) return true;
  Bytes bytes(file);
  switch (contentOf(bytes)) {
    case Content::Gif:
      return isAnimatedGif(bytes);
    case Content::Png:
      return isAnimatedPng(bytes);
    case Content::Webp:
      return isAnimatedWebpContent(bytes);
    case Content::Other:
      return false;
  }
  return false;
}

bool isAnimatedWebp(const std::filesystem::path& file) {
  Bytes bytes(file);
  return contentOf(bytes) == Content::Webp && isAnimatedWebpContent(bytes);
}

std::span<const std::string_view> videoCodecNames() {
  static constexpr std::array<std::string_view, 10> kNames{"h264", "hevc", "vp9",  "prores", "ffv1",
                                                           "png",  "webp", "apng", "raw",    "y4m"};
  return kNames;
}

bool isVideoName(const std::string& name) {
  if (name == kStandardStream) return true;
  const std::string extension = extensionOf(name);
  return std::ranges::find(kExtensions, extension) != kExtensions.end();
}

}  // namespace lomix::media
