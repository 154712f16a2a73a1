// An image in memory of its own, anywhere and in any format, whose surroundings are watched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "lomix/lomix.h"

namespace lomix::library_test {

constexpr bool isFloat(std::int32_t format) {
  return format == LOMIX_ARGB32F || format == LOMIX_RGBA32F || format == LOMIX_BGRA32F;
}
constexpr int pixelBytes(std::int32_t format) { return isFloat(format) ? 16 : 4; }

/// For each of alpha, red, green, blue its place in a pixel.
struct ChannelOrder {
  int places[4];
};
constexpr ChannelOrder orderOf(std::int32_t format) {
  switch (format) {
    case LOMIX_RGBA8:
    case LOMIX_RGBA32F:
      return {{3, 0, 1, 2}};
    case LOMIX_BGRA8:
    case LOMIX_BGRA32F:
      return {{3, 2, 1, 0}};
    default:
      return {{0, 1, 2, 3}};
  }
}

/// How rows are placed in memory.
struct Layout {
  int padding = 0;        ///< Bytes between two rows.
  bool bottomUp = false;  ///< Negative row bytes.
  int offset = 0;         ///< Bytes before the first row.
};

class ImageBuffer {
 public:
  ImageBuffer(int width, int height, std::int32_t format, const Layout& layout = {}) {
    const int rowBytes = width * pixelBytes(format) + layout.padding;
    bytes_.assign(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height) +
                      2 * kGuardBytes + static_cast<std::size_t>(layout.offset),
                  kGuard);
    image.format = format;
    image.width = width;
    image.height = height;
    image.row_bytes = layout.bottomUp ? -rowBytes : rowBytes;
    first_ = kGuardBytes + static_cast<std::size_t>(layout.offset);
    if (layout.bottomUp) {
      first_ += static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height - 1);
    }
    image.data = bytes_.data() + first_;
  }
  ImageBuffer(const ImageBuffer&) = delete;
  ImageBuffer& operator=(const ImageBuffer&) = delete;

  lomix_image image = LOMIX_IMAGE_INIT;

  /// A channel of a pixel: 0 alpha, 1 red, 2 green, 3 blue.
  template <typename Value>
  Value get(int x, int y, int channel) const {
    Value value;
    std::memcpy(&value, address<Value>(x, y, channel), sizeof value);
    return value;
  }
  template <typename Value>
  void set(int x, int y, int channel, Value value) {
    std::memcpy(const_cast<std::uint8_t*>(address<Value>(x, y, channel)), &value, sizeof value);
  }

  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

  /// Whether every byte outside the pixels is as it was made.
  bool surroundingsIntact() const {
    std::vector<bool> isPixel(bytes_.size(), false);
    for (int y = 0; y < image.height; ++y) {
      const auto row = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(first_) +
                                                std::ptrdiff_t{y} * image.row_bytes);
      for (std::size_t i = 0; i < std::size_t(image.width * pixelBytes(image.format)); ++i) {
        isPixel[row + i] = true;
      }
    }
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      if (!isPixel[i] && bytes_[i] != kGuard) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kGuardBytes = 64;
  static constexpr std::uint8_t kGuard = 0xA5;

  template <typename Value>
  const std::uint8_t* address(int x, int y, int channel) const {
    const std::ptrdiff_t place = orderOf(image.format).places[channel];
    return bytes_.data() + first_ + std::ptrdiff_t{y} * image.row_bytes +
           std::ptrdiff_t{x} * pixelBytes(image.format) +
           place * static_cast<std::ptrdiff_t>(sizeof(Value));
  }

  std::vector<std::uint8_t> bytes_;
  std::size_t first_ = 0;
};

}  // namespace lomix::library_test
