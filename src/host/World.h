// Pictures in the form that plug-ins get, with guards around their rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostapi/Records.h"

namespace lomix::host {

/// Memory layout of a world. By default rows run top to bottom without padding.
struct WorldLayout {
  /// Padding after each row, in bytes; need not be a multiple of the pixel's bytes.
  int extraRowBytes = 0;
  /// Shift of the first pixel from a 64-byte boundary, in bytes.
  int misalignmentBytes = 0;
  /// Row 0 is last in memory and the row stride is negative.
  bool bottomUp = false;
};

/// A picture in memory with guard bytes before it, after it and between its rows. Its pixels are
/// transparent black at first.
class World {
 public:
  /// width, height: pixels, from 0; depth: 8, 16 or 32 bits per channel. Throws HostError for any
  /// other size or depth, for a row stride above 31 bits, and for a layout that would take the
  /// channels off their natural alignment.
  World(int width, int height, int depth, WorldLayout layout = {});
  World(World&&) noexcept = default;
  World& operator=(World&&) noexcept = default;
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Returns the record that the plug-in gets. Tests may break it on purpose (null data, sizes).
  PF_LayerDef& layer() { return layer_; }
  const PF_LayerDef& layer() const { return layer_; }

  int width() const { return width_; }
  int height() const { return height_; }
  int depth() const { return depth_; }
  /// Returns the bytes from a row to the one below it; negative for a bottom-up world.
  int rowBytes() const { return stride_; }

  /// Returns the first byte of row y, 0 <= y < height.
  std::byte* row(int y);
  const std::byte* row(int y) const;
  /// Returns row y of an 8-bit world.
  PF_Pixel* row8(int y) { return reinterpret_cast<PF_Pixel*>(row(y)); }
  const PF_Pixel* row8(int y) const { return reinterpret_cast<const PF_Pixel*>(row(y)); }
  /// Returns row y of a float world.
  PF_PixelFloat* row32(int y) { return reinterpret_cast<PF_PixelFloat*>(row(y)); }
  const PF_PixelFloat* row32(int y) const { return reinterpret_cast<const PF_PixelFloat*>(row(y)); }

  /// Returns whether every guard byte is unchanged.
  bool guardsIntact() const;
  /// Returns a hash of the pixels, without the guards.
  std::uint64_t pixelHash() const;

 private:
  int width_;
  int height_;
  int depth_;
  int stride_;
  std::size_t rowPixelBytes_;
  std::size_t firstByte_;  ///< Index in storage_ of the row that is first in memory.
  std::vector<std::byte> storage_;
  PF_LayerDef layer_{};
};

/// Returns the bytes of one pixel of four channels. depth: 8, 16 or 32 bits per channel.
constexpr int bytesPerPixel(int depth) { return depth / 2; }

/// Returns the depth of a World's record, or of a copy of it; 0 for any other record.
int depthOf(const PF_LayerDef& layer);

}  // namespace lomix::host
