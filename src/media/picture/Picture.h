// A picture in memory. Alpha is straight; colours have the values of the file, without conversion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "media/picture/Encoding.h"

namespace lomix::media {

struct Metadata;

/// How a file stores one channel.
enum class Storage { UInt8, UInt16, Half, Float };

/// Properties of a picture's file besides the pixels. Carried from input to output.
struct PictureInfo {
  bool hasAlpha = false;                  ///< False: every alpha is opaque, and none is written.
  bool storedPremultiplied = false;       ///< The file's colours were multiplied by alpha.
  Storage storage = Storage::UInt8;       ///< The precision of the file's channels.
  double pixelAspect = 1.0;               ///< Width of a pixel over its height; finite, above 0.
  Encoding encoding = Encoding::Display;  ///< Of the values, as the file says or implies.
  bool isEncodingChosen = false;          ///< The user has said what the values mean.
  /// The colour space that ColourConversion has converted to, as OpenImageIO names it in files;
  /// empty: the values are those of the file.
  std::string convertedTo;
  bool hasNewPrimaries = false;              ///< The conversion may have changed the primaries.
  std::shared_ptr<const Metadata> metadata;  ///< Null when there is none.
};

/// A picture of 8-bit (0-255) or float (nominally 0-1) channels, four to a pixel in the order
/// alpha, red, green, blue. Rows run top to bottom without padding.
class Picture {
 public:
  static constexpr int kChannels = 4;
  /// The longest side a picture may have.
  static constexpr int kMaxSide = 65535;
  /// The most pixels a picture may have: a damaged header must not ask for all the memory.
  static constexpr std::size_t kMaxPixels = std::size_t{1} << 28;

  Picture() = default;
  /// Makes a transparent black picture. width, height: 1 to kMaxSide, kMaxPixels in total at most;
  /// depth: 8 or 32 bits per channel. Throws MediaError for other sizes and depths, std::bad_alloc
  /// when memory runs out.
  Picture(int width, int height, int depth);

  /// Changes size and depth, with the constructor's limits and errors. Reuses the memory where it
  /// fits; the pixels are then unspecified. info is kept.
  void reset(int width, int height, int depth);

  int width() const { return width_; }
  int height() const { return height_; }
  int depth() const { return depth_; }

  /// Returns row y, 0 <= y < height(): width() * kChannels values. row8() only for depth 8, row32()
  /// only for depth 32.
  std::span<std::uint8_t> row8(int y) { return {bytes_.data() + offset(y), rowLength()}; }
  std::span<const std::uint8_t> row8(int y) const {
    return {bytes_.data() + offset(y), rowLength()};
  }
  std::span<float> row32(int y) { return {floats_.data() + offset(y), rowLength()}; }
  std::span<const float> row32(int y) const { return {floats_.data() + offset(y), rowLength()}; }

  PictureInfo info;

 private:
  std::size_t rowLength() const { return static_cast<std::size_t>(width_) * kChannels; }
  std::size_t offset(int y) const { return static_cast<std::size_t>(y) * rowLength(); }

  int width_ = 0;
  int height_ = 0;
  int depth_ = 8;
  std::vector<std::uint8_t> bytes_;
  std::vector<float> floats_;
};

/// Returns the nearest whole value from 0 to max for a channel of nominal range 0 to 1; 0 for NaN.
unsigned quantize(float value, unsigned max);

/// Converts a picture to depth 8 or 32. 8 to 32: value / 255. 32 to 8: clamped to 0-1 and rounded
/// to nearest; NaN gives 0.
Picture toDepth(Picture picture, int depth);

/// Returns whether a pixel has an alpha other than opaque.
bool isTranslucent(const Picture& picture);

/// Divides the colours of a picture of depth 32 by alpha, where that is neither 0 nor 1.
void unpremultiply(Picture& picture);

/// Returns the picture at 1/factorX by 1/factorY of its size, rounded up. Each pixel is the average
/// of a block, colours weighted by alpha. Factors are from 1. Unequal factors change the pixel
/// aspect.
Picture reduced(Picture picture, int factorX, int factorY);

/// Turns a picture upright. orientation: as cameras store it (Exif); 1 is upright already, 2 to 8
/// are mirrored or turned. Any other number leaves the picture unchanged.
Picture upright(Picture picture, int orientation);

}  // namespace lomix::media
