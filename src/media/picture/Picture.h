// Pictures in memory: straight alpha, the values as the file stores them, no colour conversion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace lomix::media {

struct Metadata;

/// How a file stores one channel.
enum class Storage { UInt8, UInt16, Half, Float };

/// What a file says about its picture besides the pixels. Carried from input to output.
struct PictureInfo {
  bool hasAlpha = false;                     ///< False: every alpha is opaque, and none is written.
  bool storedPremultiplied = false;          ///< The file's colours were multiplied by alpha.
  Storage storage = Storage::UInt8;          ///< The file's own precision.
  double pixelAspect = 1.0;                  ///< Width of a pixel over its height; finite, above 0.
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
  /// A transparent black picture. width, height: 1 to kMaxSide, together kMaxPixels at most; depth:
  /// 8 or 32 bits per channel. Throws MediaError for any other, std::bad_alloc when memory runs
  /// out.
  Picture(int width, int height, int depth);

  /// Makes it a picture of that size and depth, as the constructor does, but leaves the pixels as
  /// they come; memory is used again where it fits. info is kept.
  void reset(int width, int height, int depth);

  int width() const { return width_; }
  int height() const { return height_; }
  int depth() const { return depth_; }

  /// Row y, width() * kChannels values. Only for pictures of the depth in the name.
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

/// The nearest whole value from 0 to max for a channel of nominal range 0 to 1; NaN gives 0.
unsigned quantize(float value, unsigned max);

/// The picture at the given depth (8 or 32). 8 to 32: value / 255; 32 to 8: clamped to 0-1 and
/// rounded to nearest, NaN gives 0.
Picture toDepth(Picture picture, int depth);

/// The picture at 1/factorX by 1/factorY of its size, sizes rounded up: each pixel is the average
/// of its block weighted by alpha. Factors from 1. The pixel aspect follows unequal factors.
Picture reduced(Picture picture, int factorX, int factorY);

/// The picture as it is to be looked at, by the orientation number that cameras store: 1 upright
/// as it is, 2 to 8 mirrored or turned. Any other number leaves it as it is.
Picture upright(Picture picture, int orientation);

}  // namespace lomix::media
