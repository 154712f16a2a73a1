// Pictures in files by the imaging component of Windows. The files that are read are made byte by
// byte, most of them of one row: "2x1" is two columns.
#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <functional>
#include <numeric>
#include <string_view>
#include <thread>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/ScratchFolder.h"

namespace lomix::media {
namespace {

using namespace std::string_literals;
using testing::AllOf;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string bigEndian(std::uint32_t value, int size) {
  std::string bytes;
  for (int i = size - 1; i >= 0; --i) bytes += static_cast<char>(value >> (i * 8));
  return bytes;
}

std::string littleEndian(std::uint32_t value, int size) {
  std::string bytes = bigEndian(value, size);
  std::ranges::reverse(bytes);
  return bytes;
}

std::string floats(const std::vector<float>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float)};
}

std::uint32_t crc32(const std::string& bytes) {
  std::uint32_t crc = 0xffffffff;
  for (const char byte : bytes) {
    crc ^= static_cast<unsigned char>(byte);
    for (int i = 0; i < 8; ++i) crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
  }
  return ~crc;
}

std::string pngChunk(const std::string& name, const std::string& content) {
  const auto size = static_cast<std::uint32_t>(content.size());
  return bigEndian(size, 4) + name + content + bigEndian(crc32(name + content), 4);
}

/// row: the bytes of the only row, which are stored without compression.
std::string png(std::uint32_t width, int bits, int colourType, const std::string& row,
                const std::string& chunks = {}, std::uint32_t height = 1) {
  const std::string data = '\0' + row;
  std::uint32_t a = 1;
  std::uint32_t b = 0;
  for (const char byte : data) {
    a = (a + static_cast<unsigned char>(byte)) % 65521;
    b = (b + a) % 65521;
  }
  const auto size = static_cast<std::uint32_t>(data.size());
  const std::string packed = "\x78\x01\x01" + littleEndian(size, 2) + littleEndian(~size, 2) +
                             data + bigEndian(b << 16U | a, 4);
  const std::string header = bigEndian(width, 4) + bigEndian(height, 4) + static_cast<char>(bits) +
                             static_cast<char>(colourType) + "\0\0\0"s;
  return "\x89PNG\r\n\x1a\n" + pngChunk("IHDR", header) + chunks + pngChunk("IDAT", packed) +
         pngChunk("IEND", "");
}

struct TiffTag {
  std::uint32_t tag;
  std::vector<std::uint32_t> values;  ///< Of 16 bits.
};

constexpr std::uint32_t kFloat = 3;

/// Makes an uncompressed TIFF file of one row. samples: of a pixel.
std::string tiff(std::uint32_t width, std::uint32_t bits, std::uint32_t samples,
                 const std::string& row, const std::vector<TiffTag>& more = {},
                 std::uint32_t height = 1) {
  const std::uint32_t photometric = samples < 3 ? 1 : 2;
  std::vector<TiffTag> tags{
      {256, {width}},   {257, {height}},      {258, std::vector<std::uint32_t>(samples, bits)},
      {259, {1}},       {262, {photometric}}, {273, {8}},
      {277, {samples}}, {278, {height}},      {279, {static_cast<std::uint32_t>(row.size())}}};
  for (const TiffTag& tag : more) {
    const auto same = std::ranges::find(tags, tag.tag, &TiffTag::tag);
    if (same == tags.end()) {
      tags.push_back(tag);
    } else {
      *same = tag;
    }
  }
  std::ranges::sort(tags, {}, &TiffTag::tag);
  const auto directory = static_cast<std::uint32_t>(8 + row.size() + row.size() % 2);
  auto data = static_cast<std::uint32_t>(directory + 2 + tags.size() * 12 + 4);
  std::string entries = littleEndian(static_cast<std::uint32_t>(tags.size()), 2);
  std::string lists;
  for (const TiffTag& tag : tags) {
    const auto count = static_cast<std::uint32_t>(tag.values.size());
    entries += littleEndian(tag.tag, 2) + littleEndian(3, 2) + littleEndian(count, 4);
    std::string values;
    for (const std::uint32_t value : tag.values) values += littleEndian(value, 2);
    if (values.size() <= 4) {
      entries += values + std::string(4 - values.size(), '\0');
    } else {
      entries += littleEndian(data, 4);
      data += static_cast<std::uint32_t>(values.size());
      lists += values;
    }
  }
  return "II*\0"s + littleEndian(directory, 4) + row + std::string(row.size() % 2, '\0') + entries +
         littleEndian(0, 4) + lists;
}

/// colours: of the palette, 4 bytes each: blue, green, red, 0.
std::string bmp(std::uint32_t width, std::uint32_t bits, const std::string& row,
                const std::string& colours = {}, std::uint32_t height = 1) {
  const auto offset = static_cast<std::uint32_t>(54 + colours.size());
  return "BM" + littleEndian(static_cast<std::uint32_t>(offset + row.size()), 4) +
         littleEndian(0, 4) + littleEndian(offset, 4) + littleEndian(40, 4) +
         littleEndian(width, 4) + littleEndian(height, 4) + littleEndian(1, 2) +
         littleEndian(bits, 2) + std::string(16, '\0') +
         littleEndian(static_cast<std::uint32_t>(colours.size() / 4), 4) + littleEndian(0, 4) +
         colours + row;
}

/// Makes a GIF file of one pixel, the first of the colours (1, 2, 3) and (4, 5, 6).
std::string gif(const std::string& blocks) {
  return "GIF89a\1\0\1\0\x80\0\0\1\2\3\4\5\6"s + blocks + ",\0\0\0\0\1\0\1\0\0\2\2\x44\1\0;"s;
}

std::string jpegSegment(char marker, const std::string& content) {
  return "\xff"s + marker + bigEndian(static_cast<std::uint32_t>(content.size() + 2), 2) + content;
}

/// Makes a JPEG file of 8x8 pixels, all channels of which are 128. codes: the counts of codes of 1
/// to 16 bits in the Huffman tables, and what they mean; one code for 0 by default.
std::string flatJpeg(int channels, const std::string& beforeFrame = {}, std::string codes = {},
                     std::uint32_t side = 8) {
  if (codes.empty()) codes = "\1"s + std::string(15, '\0') + "\0"s;
  std::string frame = "\x08" + bigEndian(side, 2) + bigEndian(side, 2);
  frame += static_cast<char>(channels);
  std::string scan(1, static_cast<char>(channels));
  for (int i = 1; i <= channels; ++i) {
    frame += static_cast<char>(i) + "\x11\0"s;
    scan += static_cast<char>(i) + "\0"s;
  }
  return "\xff\xd8" + beforeFrame + jpegSegment('\xdb', '\0' + std::string(64, '\1')) +
         jpegSegment('\xc0', frame) + jpegSegment('\xc4', '\0' + codes) +
         jpegSegment('\xc4', '\x10' + codes) + jpegSegment('\xda', scan + "\0\x3f\0"s) +
         // Two bits for each channel, and ones behind them.
         static_cast<char>(0xffU >> static_cast<unsigned>(channels * 2)) + "\xff\xd9";
}

/// Makes Exif data whose directory has the orientation alone.
std::string exif(int orientation, bool isBig) {
  const auto number = isBig ? bigEndian : littleEndian;
  return "Exif\0\0"s + (isBig ? "MM" : "II") + number(42, 2) + number(8, 4) + number(1, 2) +
         number(274, 2) + number(3, 2) + number(1, 4) +
         number(static_cast<std::uint32_t>(orientation), 2) + "\0\0\0\0\0\0"s;
}

/// Returns the channels of a picture, row by row: 0 to 255 at depth 8.
std::vector<double> channelsOf(const Picture& picture) {
  std::vector<double> values;
  for (int y = 0; y < picture.height(); ++y) {
    if (picture.depth() == 8) {
      std::ranges::copy(picture.row8(y), std::back_inserter(values));
    } else {
      std::ranges::copy(picture.row32(y), std::back_inserter(values));
    }
  }
  return values;
}

/// Returns values of 16 bits as channels of depth 32.
std::vector<double> words(const std::vector<int>& values) {
  std::vector<double> channels;
  for (const int value : values) channels.push_back(static_cast<float>(value) / 65535.0f);
  return channels;
}

class WindowsPicture : public ScratchFolder {
 protected:
  Picture readBytes(const std::string& name, const std::string& bytes) {
    write(path(name), bytes);
    return readPicture(path(name));
  }

  /// Returns the message of the error that a file's bytes lead to.
  std::string refusal(const std::string& name, const std::string& bytes) {
    try {
      readBytes(name, bytes);
    } catch (const MediaError& error) {
      return error.what();
    }
    return "it was read";
  }
};

struct Content {
  const char* name;
  std::string bytes;
  int depth;
  bool hasAlpha;
  Storage storage;
  std::vector<double> channels;
};

TEST_F(WindowsPicture, ReadsEveryKindOfPixel) {
  const std::string palette = pngChunk("PLTE", "\1\2\3\4\5\6");
  const std::string clear = pngChunk("tRNS", "\x50");
  const std::vector<double> grey{255, 10, 10, 10, 255, 200, 200, 200};
  const std::vector<double> rgb{255, 1, 2, 3, 255, 4, 5, 6};
  const std::vector<double> rgba{4, 1, 2, 3, 0, 5, 6, 7};
  const std::string longRow = "\1\0\2\0\3\0\4\0\xff\xff\xfe\xff\0\0\1\0"s;
  const std::vector<Content> contents{
      {"grey.png", png(2, 8, 0, "\x0a\xc8"), 8, false, Storage::UInt8, grey},
      {"1-bit.png",
       png(2, 1, 0, "\x40"),
       8,
       false,
       Storage::UInt8,
       {255, 0, 0, 0, 255, 255, 255, 255}},
      {"2-bit.png",
       png(2, 2, 0, "\x60"),
       8,
       false,
       Storage::UInt8,
       {255, 85, 85, 85, 255, 170, 170, 170}},
      {"4-bit.png",
       png(2, 4, 0, "\x1e"),
       8,
       false,
       Storage::UInt8,
       {255, 17, 17, 17, 255, 238, 238, 238}},
      {"16-bit.png", png(2, 16, 0, "\1\2\xff\xfe"), 32, false, Storage::UInt16,
       words({65535, 258, 258, 258, 65535, 65534, 65534, 65534})},
      {"grey+alpha.png",
       png(2, 8, 4, "\x0a\x80\xc8\0"s),
       8,
       true,
       Storage::UInt8,
       {128, 10, 10, 10, 0, 200, 200, 200}},
      {"grey+alpha-16.png", png(1, 16, 4, "\1\2\3\4"), 32, true, Storage::UInt16,
       words({772, 258, 258, 258})},
      {"palette.png", png(2, 8, 3, "\0\1"s, palette), 8, false, Storage::UInt8, rgb},
      {"palette+alpha.png",
       png(2, 8, 3, "\0\1"s, palette + clear),
       8,
       true,
       Storage::UInt8,
       {80, 1, 2, 3, 255, 4, 5, 6}},
      {"rgb.png", png(2, 8, 2, "\1\2\3\4\5\6"), 8, false, Storage::UInt8, rgb},
      {"rgba.png", png(2, 8, 6, "\1\2\3\4\5\6\7\0"s), 8, true, Storage::UInt8, rgba},
      {"rgb-16.png", png(1, 16, 2, "\1\2\3\4\5\6"), 32, false, Storage::UInt16,
       words({65535, 258, 772, 1286})},
      {"rgba-16.png", png(1, 16, 6, "\1\2\3\4\5\6\0\1"s), 32, true, Storage::UInt16,
       words({1, 258, 772, 1286})},
      {"grey.tif", tiff(2, 8, 1, "\x0a\xc8"), 8, false, Storage::UInt8, grey},
      {"rgb.tif", tiff(2, 8, 3, "\1\2\3\4\5\6"), 8, false, Storage::UInt8, rgb},
      {"rgba.tif", tiff(2, 8, 4, "\1\2\3\4\5\6\7\0"s, {{338, {2}}}), 8, true, Storage::UInt8, rgba},
      {"rgb-16.tif", tiff(1, 16, 3, "\2\1\4\3\6\5"), 32, false, Storage::UInt16,
       words({65535, 258, 772, 1286})},
      {"rgba-16.tif", tiff(2, 16, 4, longRow, {{338, {2}}}), 32, true, Storage::UInt16,
       words({4, 1, 2, 3, 1, 65535, 65534, 0})},
      {"float.tif",
       tiff(2, 32, 1, floats({0.25f, -1.5f}), {{339, {kFloat}}}),
       32,
       false,
       Storage::Float,
       {1, 0.25, 0.25, 0.25, 1, -1.5, -1.5, -1.5}},
      {"rgb.bmp", bmp(2, 24, "\3\2\1\6\5\4\0\0"s), 8, false, Storage::UInt8, rgb},
      {"alpha.bmp", bmp(2, 32, "\3\2\1\4\7\6\5\0"s), 8, true, Storage::UInt8, rgba},
      {"filled.bmp", bmp(2, 32, "\3\2\1\0\6\5\4\0"s), 8, false, Storage::UInt8, rgb},
      {"palette.bmp", bmp(2, 8, "\0\1\0\0"s, "\3\2\1\0\6\5\4\0"s), 8, false, Storage::UInt8, rgb},
      {"16-bit.bmp",
       bmp(2, 16, "\x1f\0\0\x7c"s),
       8,
       false,
       Storage::UInt8,
       {255, 0, 0, 255, 255, 255, 0, 0}},
      {"clear.gif", gif("!\xf9\4\1\0\0\0\0"s), 8, true, Storage::UInt8, {0, 1, 2, 3}},
      {"key.png",
       png(2, 8, 2, "\1\2\3\4\5\6", pngChunk("tRNS", "\0\1\0\2\0\3"s)),
       8,
       true,
       Storage::UInt8,
       {0, 1, 2, 3, 255, 4, 5, 6}},
      {"1-bit.tif",
       tiff(2, 1, 1, "\x40"),
       8,
       false,
       Storage::UInt8,
       {255, 0, 0, 0, 255, 255, 255, 255}},
      {"grey-16.tif", tiff(1, 16, 1, "\2\1"), 32, false, Storage::UInt16,
       words({65535, 258, 258, 258})},
      {"rgb-float.tif",
       tiff(1, 32, 3, floats({0.25f, 0.5f, 2.0f}), {{339, {3, 3, 3}}}),
       32,
       false,
       Storage::Float,
       {1, 0.25, 0.5, 2}},
      {"rgba-float.tif",
       tiff(1, 32, 4, floats({0.25f, 0.5f, 2.0f, 0.5f}), {{338, {2}}, {339, {3, 3, 3, 3}}}),
       32,
       true,
       Storage::Float,
       {0.5, 0.25, 0.5, 2}},
      {"one.gif", gif(""), 8, false, Storage::UInt8, {255, 1, 2, 3}},
  };
  for (const Content& content : contents) {
    SCOPED_TRACE(content.name);
    Picture picture;
    ASSERT_NO_THROW(picture = readBytes(content.name, content.bytes));
    EXPECT_EQ(picture.depth(), content.depth);
    EXPECT_EQ(picture.info.hasAlpha, content.hasAlpha);
    EXPECT_EQ(picture.info.storage, content.storage);
    EXPECT_EQ(picture.info.encoding,
              content.storage == Storage::Float ? Encoding::Linear : Encoding::Display);
    EXPECT_THAT(channelsOf(picture), ElementsAreArray(content.channels));
  }
}

TEST_F(WindowsPicture, DividesPremultipliedColoursByAlpha) {
  const Picture picture =
      readBytes("a.tif", tiff(2, 8, 4, "\x10\x20\x30\x40\1\2\3\0"s, {{338, {1}}}));
  EXPECT_TRUE(picture.info.storedPremultiplied);
  ASSERT_EQ(picture.depth(), 32);
  const float alpha = 64 / 255.0f;
  EXPECT_THAT(channelsOf(picture),
              testing::Pointwise(testing::FloatEq(),
                                 std::vector<float>{alpha, 0.25f, 0.5f, 0.75f, 0.0f, 1 / 255.0f,
                                                    2 / 255.0f, 3 / 255.0f}));
}

TEST_F(WindowsPicture, ReadsJpegOfOneThreeAndFourChannels) {
  for (const int channels : {1, 3, 4}) {
    SCOPED_TRACE(channels);
    const Picture picture = readBytes("a.jpg", flatJpeg(channels));
    ASSERT_EQ(picture.depth(), 8);
    EXPECT_FALSE(picture.info.hasAlpha);
    // Half of each ink and half of black leave a quarter of the light.
    const double colour = channels == 4 ? 64 : 128;
    for (int x = 0; x < 8; ++x) {
      EXPECT_EQ(picture.row8(7)[static_cast<std::size_t>(x) * 4], 255);
      EXPECT_NEAR(picture.row8(7)[static_cast<std::size_t>(x) * 4 + 1], colour, 1);
    }
  }
}

TEST_F(WindowsPicture, TurnsPicturesAsCamerasSay) {
  Picture picture(3, 1, 8);
  std::iota(picture.row8(0).begin(), picture.row8(0).end(), std::uint8_t{40});
  for (const std::size_t i : {0U, 4U, 8U}) picture.row8(0)[i] = 255;
  const std::string row = "\x29\x2a\x2b\x2d\x2e\x2f\x31\x32\x33";
  Picture wide(40, 8, 8);
  for (int y = 0; y < 8; ++y) {
    std::ranges::fill(wide.row8(y), std::uint8_t{255});
    for (std::size_t x = 0; x < 160; ++x) wide.row8(y)[x] = x % 4 == 0 ? 255 : x < 80 ? 9 : 240;
  }
  writePicture(wide, path("wide.jpg"), false);
  const std::string jpeg = read(path("wide.jpg"));
  const Picture upright1 = readPicture(path("wide.jpg"));
  for (std::uint32_t orientation = 0; orientation <= 9; ++orientation) {
    SCOPED_TRACE(orientation);
    const int number = static_cast<int>(orientation);
    const Picture turned = readBytes("a.tif", tiff(3, 8, 3, row, {{274, {orientation}}}));
    EXPECT_EQ(turned.height(), number >= 5 && number <= 8 ? 3 : 1);
    EXPECT_THAT(channelsOf(turned), ElementsAreArray(channelsOf(upright(picture, number))));
    for (const bool isBig : {false, true}) {
      const std::string segment = jpegSegment('\xe1', exif(number, isBig));
      const Picture photo = readBytes("a.jpg", jpeg.substr(0, 2) + segment + jpeg.substr(2));
      EXPECT_THAT(channelsOf(photo), ElementsAreArray(channelsOf(upright(upright1, number))));
    }
  }
}

/// Returns a picture with many colours for every alpha, 0 included.
Picture colourful(int depth, bool hasAlpha) {
  Picture picture(37, 130, depth);
  picture.info.hasAlpha = hasAlpha;
  picture.info.storage = depth == 8 ? Storage::UInt8 : Storage::UInt16;
  unsigned next = 0;
  for (int y = 0; y < picture.height(); ++y) {
    for (std::size_t i = 0; i < 37 * 4; ++i, next += 7919) {
      const bool isOpaque = i % 4 == 0 && !hasAlpha;
      if (depth == 8) {
        picture.row8(y)[i] = static_cast<std::uint8_t>(isOpaque ? 255U : next % 256);
      } else {
        picture.row32(y)[i] = static_cast<float>(isOpaque ? 65535U : next % 65536) / 65535.0f;
      }
    }
  }
  return picture;
}

TEST_F(WindowsPicture, KeepsEveryBitThatAFormatCanHold) {
  struct Case {
    const char* name;
    int depth;
  };
  for (const Case& each : {Case{"a.png", 8}, Case{"a.tif", 8}, Case{"a.TIFF", 8}, Case{"a.bmp", 8},
                           Case{"a.png", 32}, Case{"a.tif", 32}}) {
    for (const bool hasAlpha : {false, true}) {
      SCOPED_TRACE(each.name + " "s + std::to_string(each.depth) + (hasAlpha ? " alpha" : ""));
      const Picture picture = colourful(each.depth, hasAlpha);
      EXPECT_THAT(writePicture(picture, path(each.name), true), testing::IsEmpty());
      const Picture back = readPicture(path(each.name));
      EXPECT_EQ(back.depth(), each.depth);
      EXPECT_EQ(back.info.hasAlpha, hasAlpha);
      EXPECT_EQ(back.info.storage, picture.info.storage);
      EXPECT_TRUE(channelsOf(back) == channelsOf(picture));
    }
  }
}

TEST_F(WindowsPicture, RoundsToEightBitsWhereAFormatHasNoMore) {
  Picture picture(2, 1, 32);
  picture.info.hasAlpha = true;
  const std::array<float, 8> values{0.5f, -1.0f, 0.25f, 2.0f, 1.0f, 0.0f, 0.1f, 0.7f};
  std::ranges::copy(values, picture.row32(0).begin());
  writePicture(picture, path("a.bmp"), false);
  EXPECT_THAT(channelsOf(readPicture(path("a.bmp"))),
              ElementsAreArray(channelsOf(toDepth(picture, 8))));
}

TEST_F(WindowsPicture, JpegTakesTheColoursAndDropsTheAlpha) {
  Picture picture(16, 16, 8);
  picture.info.hasAlpha = true;
  for (int y = 0; y < 16; ++y) std::ranges::fill(picture.row8(y), std::uint8_t{120});
  EXPECT_FALSE(storesAlpha("a.jpg"));
  writePicture(picture, path("a.jpg"), false);
  const Picture back = readPicture(path("a.jpg"));
  EXPECT_FALSE(back.info.hasAlpha);
  EXPECT_EQ(back.row8(3)[8], 255);
  EXPECT_NEAR(back.row8(3)[9], 120, 2);
}

TEST_F(WindowsPicture, WarnsOfLinearLightInAPictureForADisplay) {
  Picture picture = readBytes("in.tif", tiff(1, 32, 1, floats({0.25f}), {{339, {kFloat}}}));
  const auto notes = writePicture(picture, path("out.tif"), false);
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_THAT(notes.front(), AllOf(HasSubstr("linear light"), EndsWith(")")));
  picture.info.isEncodingChosen = true;
  EXPECT_THAT(writePicture(picture, path("out.tif"), true), testing::IsEmpty());
}

TEST_F(WindowsPicture, RefusesDamagedFilesInOneLine) {
  const Picture picture = colourful(8, true);
  std::vector<std::pair<std::string, std::string>> files{
      {"text.png", "no picture at all"},
      {"text.tga", std::string(100, 'x')},
      {"vast.png", png(60000, 8, 6, "\1\2\3\4", {}, 60000)},
      {"vast-grey.png", png(16000, 1, 0, "\1", {}, 16000)},
      {"vast.jpg", flatJpeg(3, {}, {}, 60000)},
      {"vast.tif", tiff(60000, 8, 3, "\1\2\3", {}, 60000)},
      {"vast-packed.tif", tiff(16000, 8, 3, "\1\2\3", {{259, {5}}}, 16000)},
      {"vast.gif", gif("").replace(24, 4, std::string(4, '\x3f'))},
      {"part.gif", gif("").replace(6, 1, "\5")},
      {"vast.bmp", bmp(60000, 24, "\1\2\3\0"s, {}, 60000)},
      // More codes than a table holds, and more of one bit than there are.
      {"codes.jpg", flatJpeg(3, {}, std::string(16, '\xff') + std::string(16 * 255, '\0'))},
      {"one-bit.jpg", flatJpeg(3, {}, "\x10"s + std::string(15, '\0') + std::string(16, '\0'))},
      {"only-a-marker.jpg", "\xff\xd8\xff\xd9"},
  };
  for (const std::string name : {"a.png", "a.tif", "a.bmp", "a.jpg"}) {
    writePicture(picture, path(name), false);
    const std::string bytes = read(path(name));
    for (const std::size_t length : {bytes.size() / 2, bytes.size() / 10, std::size_t{20}}) {
      files.emplace_back("cut-" + std::to_string(length) + name, bytes.substr(0, length));
    }
  }
  // The small picture in the header has the mark of the end that the file lacks.
  const std::string photo = read(path("a.jpg"));
  const std::string small = jpegSegment('\xe1', "Exif\0\0"s + flatJpeg(3));
  files.emplace_back("photo.jpg", photo.substr(0, 2) + small + photo.substr(2, photo.size() - 60));
  for (const auto& [name, bytes] : files) {
    SCOPED_TRACE(name);
    const std::string message = refusal(name, bytes);
    EXPECT_THAT(message, StartsWith("cannot read '" + path(name).string() + "': "));
    EXPECT_THAT(message, EndsWith(")"));
    EXPECT_THAT(message, testing::Not(HasSubstr("\n")));
  }
  EXPECT_THAT(refusal("vast.png", files[2].second), HasSubstr("60000x60000 is not possible"));
  EXPECT_THAT(refusal("vast-grey.png", files[3].second), HasSubstr("too short"));
}

TEST_F(WindowsPicture, SurvivesEveryChangeOfBytes) {
  const Picture picture = colourful(8, true);
  std::vector<std::string> seeds{gif(""), flatJpeg(4), tiff(2, 8, 3, "\1\2\3\4\5\6"),
                                 png(2, 8, 3, "\0\1"s, pngChunk("PLTE", "\1\2\3\4\5\6"))};
  for (const std::string name : {"a.png", "a.tif", "a.bmp", "a.jpg"}) {
    writePicture(picture, path(name), false);
    seeds.push_back(read(path(name)));
  }
  std::uint32_t random = 1;
  const auto next = [&](std::size_t below) {
    random = random * 1664525 + 1013904223;
    return static_cast<std::size_t>(random >> 8U) % below;
  };
  int reads = 0;
  int refusals = 0;
  for (const std::string& seed : seeds) {
    for (int i = 0; i < 150; ++i) {
      std::string bytes = seed;
      // Most faults are in headers.
      const std::size_t reach =
          i % 2 == 0 ? bytes.size() : std::min<std::size_t>(300, bytes.size());
      for (int change = 0; change <= i % 4; ++change) {
        bytes[next(reach)] = static_cast<char>(next(256));
      }
      ++(refusal("changed", bytes) == "it was read" ? reads : refusals);
    }
  }
  EXPECT_GT(reads, 100);
  EXPECT_GT(refusals, 100);
}

TEST_F(WindowsPicture, NeverTouchesAFileThatItMayNotReplace) {
  const Picture picture = colourful(8, false);
  write(path("old.png"), "old");
  EXPECT_THROW(writePicture(picture, path("old.png"), false), FileExistsError);
  EXPECT_THROW(writePicture(picture, path("missing/a.png"), false), MediaError);
  EXPECT_THROW(writePicture(picture, path("old.png/a.png"), false), MediaError);
  for (const char* name : {"a", "a.exr", "a.tga", "a.gif"}) {
    EXPECT_THROW(writePicture(picture, path(name), false), MediaError) << name;
  }
  EXPECT_EQ(read(path("old.png")), "old");
  EXPECT_EQ(names(), std::set<std::string>{"old.png"});
  writePicture(picture, path("old.png"), true);
  EXPECT_TRUE(channelsOf(readPicture(path("old.png"))) == channelsOf(picture));
  EXPECT_EQ(names(), std::set<std::string>{"old.png"});
}

TEST_F(WindowsPicture, TakesNamesInEveryScript) {
  const std::filesystem::path file = folder_ / u8"Prüfbild 試験.png";
  const Picture picture = colourful(32, true);
  writePicture(picture, file, false);
  EXPECT_TRUE(channelsOf(readPicture(file)) == channelsOf(picture));
}

TEST_F(WindowsPicture, ServesThreadsAtTheSameTime) {
  std::array<bool, 4> isSame{};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < isSame.size(); ++i) {
    threads.emplace_back([&, i] {
      const Picture picture = colourful(i % 2 == 0 ? 8 : 32, i < 2);
      bool same = true;
      for (int round = 0; round < 10; ++round) {
        const auto file = path(std::to_string(i) + (round % 2 == 0 ? ".png" : ".tif"));
        writePicture(picture, file, true);
        same = same && channelsOf(readPicture(file)) == channelsOf(picture);
      }
      isSame.at(i) = same;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(isSame, testing::Each(true));
}

}  // namespace
}  // namespace lomix::media
