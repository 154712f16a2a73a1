#include "media/picture/ClaimedSize.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

#include "media/picture/Picture.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {
namespace {

/// Every block of 8 x 8 pixels takes a bit or more in a JPEG file with Huffman codes.
constexpr std::uint64_t kPixelsOfJpegByte = 8 * 8 * 8;

/// Pictures of at most this many pixels cost little memory, whatever their headers claim.
constexpr std::uint64_t kSmallPicture = 1 << 22;

[[noreturn]] void refuse(const std::filesystem::path& file, const std::string& claim) {
  throw MediaError(cannotRead(file) + "it is too short for " + claim +
                   ", which its header claims (copy or make it again)");
}

std::string sizeText(std::uint64_t width, std::uint64_t height) {
  return "a picture of " + std::to_string(width) + "x" + std::to_string(height);
}

void requirePossibleJpeg(const std::filesystem::path& file, FileBytes& bytes) {
  bytes.setBigEndian(true);
  for (std::uint64_t at = 2;;) {
    const std::uint64_t marker = bytes.number(at, 2);
    if (marker == 0xffff) {
      ++at;  // A byte that fills.
      continue;
    }
    // The markers of frames with Huffman codes; arithmetic codes begin at C9, and C4 is a table.
    if (marker >= 0xffc0 && marker <= 0xffc7 && marker != 0xffc4) {
      const std::uint64_t height = bytes.number(at + 5, 2);
      const std::uint64_t width = bytes.number(at + 7, 2);
      const std::uint64_t pixels = width * height;
      if (pixels > kSmallPicture && !bytes.has(0, pixels / kPixelsOfJpegByte)) {
        refuse(file, sizeText(width, height));
      }
      return;
    }
    const bool isHeader = marker >= 0xffc4 && marker <= 0xfffe && marker != 0xffda;
    if (!isHeader) return;
    at += 2 + bytes.number(at + 2, 2);
  }
}

void requirePossibleDpx(const std::filesystem::path& file, FileBytes& bytes, bool bigEndian) {
  constexpr std::uint64_t kUnknown = 0xffffffff;
  bytes.setBigEndian(bigEndian);
  const std::uint64_t userData = bytes.number(32, 4);
  if (userData == kUnknown || bytes.has(0, userData)) return;
  refuse(file, std::to_string(userData) + " bytes of user data");
}

void requirePossiblePng(const std::filesystem::path& file, FileBytes& bytes) {
  // Channels of the types of colour: grey, none, RGB, palette, grey with alpha, none, RGBA.
  constexpr std::array<std::uint64_t, 7> kChannels{1, 1, 3, 1, 2, 1, 4};
  bytes.setBigEndian(true);
  const auto width = static_cast<std::int64_t>(bytes.number(16, 4));
  const auto height = static_cast<std::int64_t>(bytes.number(20, 4));
  requirePossibleSize(file, width, height);
  const std::uint64_t bits = bytes.number(24, 1);
  const std::uint64_t type = std::min<std::uint64_t>(bytes.number(25, 1), kChannels.size() - 1);
  const std::uint64_t pixels =
      static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  requireBytesFor(file, "png", "", width, height, pixels * bits * kChannels.at(type) / 8);
}

/// The greatest factor by which decoding enlarges a file of a format. compression: "" for every one
/// that has no entry of its own.
struct Expansion {
  std::string_view format;
  std::string_view compression;
  double most;
};

// Deflate decodes two bits to at most 258 bytes; LZW a code of 12 bits to at most 4094 bytes; run
// lengths two bytes to at most 128 pixels, here of 4 bytes. Pixels of one bit that become bytes, or
// numbers in a palette that become colours, take up to 32 times their size.
constexpr double kUnpacked = 32.0;
constexpr double kDeflate = 1032.0;
constexpr double kUnpackedDeflate = 32.0 * kDeflate;
constexpr double kUnpackedLzw = 32.0 * 4094.0 / 1.5;
constexpr double kRuns = 4.0 * 64.0;
constexpr std::array kExpansions{
    Expansion{"png", "", kUnpackedDeflate},
    Expansion{"psd", "", kUnpackedDeflate},
    Expansion{"tiff", "none", kUnpacked},
    Expansion{"tiff", "packbits", 32.0 * 64.0},
    Expansion{"tiff", "lzw", kUnpackedLzw},
    Expansion{"tiff", "zip", kUnpackedDeflate},
    // Channels may have fewer pixels than the picture.
    Expansion{"openexr", "none", 4.0},
    Expansion{"openexr", "rle", kRuns},
    Expansion{"openexr", "zip", 4.0 * kDeflate},
    Expansion{"openexr", "zips", 4.0 * kDeflate},
    Expansion{"openexr", "pxr24", 4.0 * kDeflate},
    Expansion{"openexr", "b44", 4.0 * 4.0},
    Expansion{"openexr", "b44a", 4.0 * 16.0},
    Expansion{"dpx", "", 16.0},
    Expansion{"cineon", "", 16.0},
    Expansion{"bmp", "", 2.0 * kRuns},
    Expansion{"targa", "", kRuns},
    Expansion{"sgi", "", kRuns},
    Expansion{"pnm", "", 8.0},
    Expansion{"fits", "", 8.0},
};

/// Returns the most bytes of pixels that one byte of a file is decoded to; infinity where there is
/// no limit.
double mostExpansion(std::string_view format, std::string_view compression) {
  for (const Expansion& expansion : kExpansions) {
    if (format != expansion.format) continue;
    const bool any = expansion.compression.empty();
    if (any || compression == expansion.compression) return expansion.most;
  }
  return std::numeric_limits<double>::infinity();
}

}  // namespace

void requirePossibleHeader(const std::filesystem::path& file, FileBytes& bytes) {
  try {
    const std::string start = bytes.text(0, 4);
    if (start.starts_with("\xff\xd8")) return requirePossibleJpeg(file, bytes);
    if (start == "\x89PNG") return requirePossiblePng(file, bytes);
    if (start == "SDPX" || start == "XPDS") requirePossibleDpx(file, bytes, start == "SDPX");
  } catch (const EndOfFile&) {
    // Left to the decoder, which has an error for it.
  }
}

void requirePossibleSize(const std::filesystem::path& file, std::int64_t width,
                         std::int64_t height) {
  constexpr auto kMostPixels = static_cast<std::int64_t>(Picture::kMaxPixels);
  if (width >= 1 && height >= 1 && width <= Picture::kMaxSide && height <= Picture::kMaxSide &&
      width * height <= kMostPixels) {
    return;
  }
  throw MediaError(cannotRead(file) + "a size of " + std::to_string(width) + "x" +
                   std::to_string(height) + " is not possible (use at most " +
                   std::to_string(kMostPixels) + " pixels)");
}

void requireBytesFor(const std::filesystem::path& file, std::string_view format,
                     std::string_view compression, std::int64_t width, std::int64_t height,
                     std::uint64_t pixelBytes) {
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(file, unknown);
  const auto columns = static_cast<std::uint64_t>(width);
  const auto rows = static_cast<std::uint64_t>(height);
  if (unknown || columns * rows <= kSmallPicture) return;
  const double most = static_cast<double>(size) * mostExpansion(format, compression);
  if (static_cast<double>(pixelBytes) > most) refuse(file, sizeText(columns, rows));
}

}  // namespace lomix::media
