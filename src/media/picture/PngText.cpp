#include "media/picture/PngText.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <functional>

#include "media/picture/WholeFile.h"

namespace lomix::media {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSignature = 8;
constexpr std::size_t kBeside = 12;  // A chunk's length, type and checksum.

std::uint32_t numberAt(std::string_view bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

std::string bytesOf(std::uint32_t value) {
  std::string bytes;
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift & 255U);
  return bytes;
}

/// A chunk of a PNG file.
struct Chunk {
  std::string_view all;  ///< With its length, type and checksum.
  std::string_view type() const { return all.substr(4, 4); }
  std::string_view data() const { return all.substr(8, all.size() - kBeside); }
  bool isText() const { return type() == "tEXt" || type() == "zTXt" || type() == "iTXt"; }
  std::string_view keyword() const { return data().substr(0, data().find('\0')); }
};

std::string makeChunk(const std::string& type, const std::string& data) {
  const std::string checked = type + data;
  const auto sum =
      crc32(0, reinterpret_cast<const Bytef*>(checked.data()), static_cast<uInt>(checked.size()));
  return bytesOf(static_cast<std::uint32_t>(data.size())) + checked +
         bytesOf(static_cast<std::uint32_t>(sum));
}

/// Calls a function for each whole chunk.
void forEachChunk(std::string_view png, const std::function<void(const Chunk&)>& call) {
  for (std::size_t at = kSignature; at + kBeside <= png.size();) {
    const std::size_t size = std::size_t{numberAt(png, at)} + kBeside;
    if (size > png.size() - at) return;
    call({png.substr(at, size)});
    at += size;
  }
}

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i++]);
    const int more = byte < 0x80                   ? 0
                     : byte >= 0xc2 && byte < 0xe0 ? 1
                     : byte >= 0xe0 && byte < 0xf0 ? 2
                     : byte >= 0xf0 && byte < 0xf5 ? 3
                                                   : -1;
    if (more < 0) return false;
    for (int k = 0; k < more; ++k, ++i) {
      if (i >= text.size() || (static_cast<unsigned char>(text[i]) & 0xc0U) != 0x80) return false;
    }
  }
  return true;
}

}  // namespace

void copyPngText(const fs::path& from, const fs::path& to, const fs::path& shownAs) {
  const std::string source = readWhole(from);
  std::string texts;
  forEachChunk(source, [&](const Chunk& chunk) {
    // The library writes the colour space itself, which may have changed.
    if (!chunk.isText() || chunk.keyword() == "XML:com.adobe.xmp" ||
        chunk.keyword() == "oiio:ColorSpace" || chunk.keyword().starts_with("Raw profile type ")) {
      return;
    }
    texts += chunk.all;
  });
  if (texts.empty()) return;
  std::string target = readWhole(to);
  // Before the pixels: some readers ignore text behind them.
  std::size_t at = target.size();
  forEachChunk(target, [&](const Chunk& chunk) {
    const auto place = static_cast<std::size_t>(chunk.all.data() - target.data());
    if (chunk.type() == "IDAT") at = std::min(at, place);
  });
  target.insert(at, texts);
  writeWhole(target, to, shownAs);
}

void markUtf8PngText(const fs::path& file, const fs::path& shownAs) {
  const std::string png = readWhole(file);
  std::string marked = png.substr(0, kSignature);
  forEachChunk(png, [&](const Chunk& chunk) {
    const std::string keyword(chunk.keyword());
    if (chunk.type() == "tEXt" && keyword.size() < chunk.data().size()) {
      const std::string text(chunk.data().substr(keyword.size() + 1));
      if (!isAscii(text) && isUtf8(text) && isAscii(keyword)) {
        // Not compressed, of no language, without a translated keyword.
        marked += makeChunk("iTXt", keyword + std::string(5, '\0') + text);
        return;
      }
    }
    marked += chunk.all;
  });
  if (marked != png) writeWhole(marked, file, shownAs);
}

std::string utf8OfPngText(std::string_view text) {
  if (isUtf8(text)) return std::string(text);
  std::string utf8;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xc0U | byte >> 6);
      utf8 += static_cast<char>(0x80U | (byte & 0x3fU));
    }
  }
  return utf8;
}

}  // namespace lomix::media
