#include "media/picture/PictureContent.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>

namespace lomix::media {
namespace {

using namespace std::string_view_literals;

struct Signature {
  std::string_view bytes;
  const char* format;
};
constexpr std::array kSignatures{
    Signature{"\x89PNG"sv, "png"},
    Signature{"\xff\xd8\xff"sv, "jpeg"},
    Signature{"II*\0"sv, "tiff"},
    Signature{"MM\0*"sv, "tiff"},
    Signature{"II+\0"sv, "tiff"},
    Signature{"MM\0+"sv, "tiff"},
    Signature{"\x76\x2f\x31\x01"sv, "openexr"},
    Signature{"GIF8"sv, "gif"},
    Signature{"SDPX"sv, "dpx"},
    Signature{"XPDS"sv, "dpx"},
    Signature{"8BPS"sv, "psd"},
    Signature{"#?RADIANCE"sv, "hdr"},
    Signature{"\0\0\0\x0cjP  "sv, "jpeg2000"},
    Signature{"BM"sv, "bmp"},
};

std::size_t bigEndian(std::string_view bytes, std::size_t at, std::size_t length) {
  std::size_t value = 0;
  for (std::size_t i = 0; i < length; ++i) {
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  }
  return value;
}

std::optional<std::size_t> pngLength(std::string_view bytes) {
  constexpr std::size_t kSignature = 8;
  constexpr std::size_t kBeside = 12;  // A chunk's length, type and checksum.
  for (std::size_t at = kSignature; at + kBeside <= bytes.size();) {
    const std::size_t next = at + bigEndian(bytes, at, 4) + kBeside;
    if (bytes.substr(at + 4, 4) == "IEND") return next;
    at = next;
  }
  return std::nullopt;
}

std::optional<std::size_t> jpegLength(std::string_view bytes) {
  constexpr std::size_t kMarker = 2;
  for (std::size_t at = kMarker; at + kMarker + 2 <= bytes.size();) {
    const auto code = static_cast<unsigned char>(bytes[at + 1]);
    if (bytes[at] != '\xff') return std::nullopt;
    if (code == 0xff) {
      ++at;
      continue;
    }
    // A file of several pictures says so: those behind the first belong to it.
    if (code == 0xe2 && bytes.substr(at + 4, 4) == "MPF\0"sv) return std::nullopt;
    at += kMarker + bigEndian(bytes, at + kMarker, 2);
    if (code != 0xda) continue;
    // Coded pixels, until a marker other than "no marker" and the restart markers.
    for (;; ++at) {
      at = bytes.find('\xff', at);
      if (at == std::string_view::npos || at + 1 >= bytes.size()) return std::nullopt;
      const auto next = static_cast<unsigned char>(bytes[at + 1]);
      if (next == 0xd9) return at + kMarker;
      if (next != 0 && next != 0xff && (next < 0xd0 || next > 0xd7)) break;
    }
  }
  return std::nullopt;
}

std::optional<std::size_t> bmpLength(std::string_view bytes) {
  if (bytes.size() < 6) return std::nullopt;
  std::size_t length = 0;
  for (std::size_t i = 5; i >= 2; --i) length = length << 8 | static_cast<unsigned char>(bytes[i]);
  return length <= bytes.size() && length > 0 ? std::optional(length) : std::nullopt;
}

}  // namespace

std::string contentFormat(std::string_view start) {
  const std::string_view head = start.substr(0, kContentBytes);
  for (const Signature& signature : kSignatures) {
    if (head.starts_with(signature.bytes)) return signature.format;
  }
  return head.starts_with("RIFF") && head.substr(8) == "WEBP" ? "webp" : "";
}

std::string contentFormatOf(const std::filesystem::path& file) {
  std::array<char, kContentBytes> start{};
  std::ifstream(file, std::ios::binary).read(start.data(), start.size());
  return contentFormat(std::string_view(start.data(), start.size()));
}

bool hasSignature(std::string_view format) {
  const auto named = [format](const Signature& signature) { return signature.format == format; };
  return format == "webp" || std::ranges::any_of(kSignatures, named);
}

std::string extensionOf(std::string_view format) {
  if (format == "jpeg") return ".jpg";
  if (format == "tiff") return ".tif";
  if (format == "openexr") return ".exr";
  if (format == "jpeg2000") return ".jp2";
  return "." + std::string(format);
}

std::optional<std::size_t> firstPictureLength(std::string_view bytes) {
  const std::string format = contentFormat(bytes);
  if (format == "png") return pngLength(bytes);
  if (format == "jpeg") return jpegLength(bytes);
  return format == "bmp" ? bmpLength(bytes) : std::nullopt;
}

}  // namespace lomix::media
