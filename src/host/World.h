#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostapi/Records.h"

namespace lomix::host {

/// How a world lies in memory, beyond the tight top-down layout.
struct WorldLayout {
  /// Padding after each row, in bytes; need not be a multiple of the pixel's bytes.
  int extraRowBytes = 0;
  /// Shift of the first pixel from a 64-byte boundary, in bytes.
  int misalignmentBytes = 0;
  /// Row 0 stands last in memory and the row stride is negative.
  bool bottomUp = false;
};

/// A picture in memory with known bytes before it, after it and between its rows. Pixels start as
/// transparent black.
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

  /// The record that the plug-in is given. A caller may spoil it on purpose (null data, sizes).
  PF_LayerDef& layer() { return layer_; }
  const PF_LayerDef& layer() const { return layer_; }

  int width() const { return width_; }
  int height() const { return height_; }
  int depth() const { return depth_; }
  /// Bytes from a row to the one below it; negative for a bottom-up world.
  int rowBytes() const { return stride_; }

  /// First byte of row y, 0 <= y < height.
  std::byte* row(int y);
  const std::byte* row(int y) const;
  /// Row y of an 8-bit world.
  PF_Pixel* row8(int y) { return reinterpret_cast<PF_Pixel*>(row(y)); }
  const PF_Pixel* row8(int y) const { return reinterpret_cast<const PF_Pixel*>(row(y)); }
  /// Row y of a float world.
  PF_PixelFloat* row32(int y) { return reinterpret_cast<PF_PixelFloat*>(row(y)); }
  const PF_PixelFloat* row32(int y) const { return reinterpret_cast<const PF_PixelFloat*>(row(y)); }

  /// Whether every byte before, after and between the rows is as it was made.
  bool guardsIntact() const;
  /// A number that changes when a pixel changes; the guards do not count.
  std::uint64_t pixelHash() const;

 private:
  int width_;
  int height_;
  int depth_;
  int stride_;
  std::size_t rowPixelBytes_;
  std::size_t firstByte_;  ///< Of the row that stands first in memory, within storage_.
  std::vector<std::byte> storage_;
  PF_LayerDef layer_{};
};

/// Bytes of one pixel, four channels. depth: 8, 16 or 32 bits per channel.
constexpr int bytesPerPixel(int depth) { return depth / 2; }

/// The depth that a world record was made with, told by a mark that copies of the record keep;
/// 0 when the record is not of a World.
int depthOf(const PF_LayerDef& layer);

}  // namespace lomix::host
