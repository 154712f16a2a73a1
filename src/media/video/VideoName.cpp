// Names of videos and codecs. Part of builds without video too.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "media/video/Video.h"
#include "support/Errors.h"
#include "support/FileBytes.h"
#include "support/Text.h"

namespace lomix::media {
namespace {

constexpr std::array<std::string_view, 36> kExtensions{
    ".mp4",  ".m4v", ".mov", ".qt",   ".mkv",  ".webm", ".avi",  ".mpg",  ".mpeg",
    ".m2v",  ".ts",  ".mts", ".m2ts", ".vob",  ".mxf",  ".wmv",  ".asf",  ".flv",
    ".ogv",  ".3gp", ".nut", ".dv",   ".y4m",  ".h264", ".hevc", ".ivf",  ".h265",
    ".apng", ".3g2", ".f4v", ".m2t",  ".divx", ".ogm",  ".rm",   ".rmvb", ".mjpeg"};

constexpr std::array<std::string_view, 14> kSoundExtensions{
    ".wav", ".mp3",  ".m4a", ".m4b", ".aac",  ".flac", ".ogg",
    ".oga", ".opus", ".wma", ".aif", ".aiff", ".mka",  ".ac3"};

constexpr std::array<std::string_view, 4> kPlaylistExtensions{".m3u8", ".m3u", ".mpd", ".ffconcat"};

/// Returns whether a GIF file has two pictures or more. Throws EndOfFile where it ends too early.
bool isAnimatedGif(FileBytes& bytes) {
  std::uint64_t at = 13;  // Behind the signature and the description of the screen.
  const auto skipColours = [&](std::uint64_t flags) {
    if ((flags & 0x80U) != 0) at += 3U << ((flags & 7U) + 1);
  };
  const auto skipBlocks = [&] {
    while (const std::uint64_t length = bytes.number(at++, 1)) at += length;
  };
  skipColours(bytes.number(10, 1));
  for (int pictures = 0;;) {
    switch (bytes.number(at, 1)) {
      case 0x21:
        at += 2;
        skipBlocks();
        break;
      case 0x2c: {
        if (++pictures == 2) return true;
        const std::uint64_t flags = bytes.number(at + 9, 1);
        at += 10;
        skipColours(flags);
        ++at;
        skipBlocks();
        break;
      }
      default:
        return false;
    }
  }
}

/// Returns whether a PNG file says that it has two pictures or more. Throws EndOfFile.
bool isAnimatedPng(FileBytes& bytes) {
  bytes.setBigEndian(true);
  for (std::uint64_t at = 8;; at += 12 + bytes.number(at, 4)) {
    const std::string chunk = bytes.text(at + 4, 4);
    if (chunk == "acTL") return bytes.number(at + 8, 4) > 1;
    if (chunk == "IDAT") return false;
  }
}

/// Returns whether a WebP file has two pictures or more. Throws EndOfFile where it has not.
bool isAnimatedWebpContent(FileBytes& bytes) {
  int pictures = 0;
  for (std::uint64_t at = 12;;) {
    if (bytes.text(at, 4) == "ANMF" && ++pictures == 2) return true;
    const std::uint64_t length = bytes.number(at + 4, 4);
    at += 8 + length + length % 2;
  }
}

/// The formats of pictures that may have several frames.
enum class Content { Other, Gif, Png, Webp };

/// Returns what a file's first bytes say. Throws EndOfFile.
Content contentOf(FileBytes& bytes) {
  const std::string start = bytes.text(0, 6);
  if (start == "GIF87a" || start == "GIF89a") return Content::Gif;
  if (bytes.text(0, 8) == "\x89PNG\r\n\x1a\n") return Content::Png;
  if (start.starts_with("RIFF") && bytes.text(8, 4) == "WEBP") return Content::Webp;
  return Content::Other;
}

/// Returns the format of a file that has two pictures or more; Other for any other file.
Content animationOf(const std::filesystem::path& file) {
  FileBytes bytes(file);
  try {
    const Content content = contentOf(bytes);
    if ((content == Content::Gif && isAnimatedGif(bytes)) ||
        (content == Content::Png && isAnimatedPng(bytes)) ||
        (content == Content::Webp && isAnimatedWebpContent(bytes))) {
      return content;
    }
  } catch (const EndOfFile&) {
  }
  return Content::Other;
}

std::string extensionOf(const std::filesystem::path& file) {
  return lowerCase(file.extension().string());
}

}  // namespace

bool isReadOnce(const std::string& name) {
  if (name == kStandardStream) return true;
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(name, ignored);
  return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
         !std::filesystem::is_directory(status);
}

bool isVideoFile(const std::filesystem::path& file) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored)) return false;
  const auto isAmong = [extension = extensionOf(file)](const auto& names) {
    return std::ranges::find(names, extension) != names.end();
  };
  if (isAmong(kSoundExtensions) || isAmong(kPlaylistExtensions)) return true;
  return animationOf(file) != Content::Other;
}

bool isAnimatedWebp(const std::filesystem::path& file) {
  return animationOf(file) == Content::Webp;
}

void requireVideoCodec(const std::string& name, const std::string& subject) {
  if (std::ranges::find(kVideoCodecNames, name) != kVideoCodecNames.end()) return;
  throw UsageError(subject + ": there is no codec '" + name + "' (use one of " +
                   joined(kVideoCodecNames, ", ") + ")");
}

bool isVideoName(const std::string& name) {
  if (name == kStandardStream) return true;
  const std::string extension = extensionOf(name);
  return std::ranges::find(kExtensions, extension) != kExtensions.end();
}

}  // namespace lomix::media
