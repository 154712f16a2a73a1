// Helpers of the unit tests: worlds with guarded padding, host records, pixels as arrays of
// numbers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <vector>

#include "hostapi/Commands.h"
#include "hostapi/Records.h"

namespace lomix::unit {

/// Return alpha, red, green and blue as numbers, which compare and print.
inline std::array<int, 4> channels(const PF_Pixel& p) { return {p.alpha, p.red, p.green, p.blue}; }
inline std::array<float, 4> channels(const PF_PixelFloat& p) {
  return {p.alpha, p.red, p.green, p.blue};
}

/// A world whose rows end in padBytes of padding, filled with a pattern that must not be
/// overwritten. Pixels start as zeros. The world must outlive pointers to def.
template <typename Pixel>
class World {
 public:
  PF_LayerDef def{};

  World(int width, int height, int padBytes = 0) {
    const std::size_t pixelBytes = static_cast<std::size_t>(width) * sizeof(Pixel);
    const std::size_t rowBytes = pixelBytes + static_cast<std::size_t>(padBytes);
    bytes_.assign(rowBytes * static_cast<std::size_t>(height) + 1, kGuard);
    def.data = reinterpret_cast<PF_Pixel*>(bytes_.data());
    def.rowbytes = static_cast<A_long>(rowBytes);
    def.width = width;
    def.height = height;
    fill(Pixel{});
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  Pixel& at(int x, int y) {
    return reinterpret_cast<Pixel*>(bytes_.data() + static_cast<std::size_t>(y * def.rowbytes))[x];
  }
  void fill(const Pixel& pixel) {
    for (int y = 0; y < def.height; ++y) {
      for (int x = 0; x < def.width; ++x) at(x, y) = pixel;
    }
  }
  bool paddingIntact() const {
    for (int y = 0; y < def.height; ++y) {
      const std::size_t row = static_cast<std::size_t>(y * def.rowbytes);
      const std::size_t used = static_cast<std::size_t>(def.width) * sizeof(Pixel);
      for (std::size_t i = used; i < static_cast<std::size_t>(def.rowbytes); ++i) {
        if (bytes_[row + i] != kGuard) return false;
      }
    }
    return bytes_.back() == kGuard;
  }

 private:
  static constexpr unsigned char kGuard = 0xA5;
  std::vector<unsigned char> bytes_;
};

/// The records of one host call: Premiere Pro, full resolution, square pixels, 1920 x 1080; and a
/// smart-render record that requests a bit depth.
struct HostCall {
  PF_InData in{};
  PF_OutData out{};
  PF_UtilCallbacks utils{};
  PF_SmartRenderInput smartInput{};
  PF_SmartRenderExtra extra{&smartInput, nullptr};

  explicit HostCall(A_short bitDepth = 8) {
    in.appl_id = kHostIdPremiere;
    in.downsample_x = in.downsample_y = in.pixel_aspect_ratio = {1, 1};
    in.width = 1920;
    in.height = 1080;
    in.time_scale = 1;
    in.utils = &utils;
    utils.ansi.sprintf = &std::sprintf;
    smartInput.bitdepth = bitDepth;
  }
  HostCall(const HostCall&) = delete;
  HostCall& operator=(const HostCall&) = delete;
};

}  // namespace lomix::unit
