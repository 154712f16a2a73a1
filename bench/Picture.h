// Pictures to measure on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostapi/Records.h"

namespace lomix::bench {

enum class Alpha { kOpaque, kMixed };

/// A world that owns its pixels. Rows have no padding; the first starts at a cache line.
class Picture {
 public:
  PF_LayerDef world{};

  /// Makes a picture of zeros. depth: bits per channel, 8 or 32.
  Picture(int depth, int width, int height);
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  int depth() const { return depth_; }
  std::size_t byteCount() const;

  /// Fills the picture with random colours, always the same ones; in float a few outside 0-1,
  /// infinite or not a number. Mixed alpha is transparent, opaque or anything, changing from pixel
  /// to pixel. The first and the last channel are both filled as alphas, so that one picture serves
  /// either place of alpha.
  void fillWithNoise(Alpha alpha);
  /// Moves the last channel of every pixel to the front: alpha from last to first. backward: moves
  /// the first one to the end.
  void rotateChannels(bool backward = false);
  /// Fills the picture with a byte pattern that no path draws.
  void fillWithGuard();

 private:
  struct alignas(64) CacheLine {
    std::byte bytes[64];
  };
  int depth_;
  std::vector<CacheLine> lines_;
};

/// Returns a world of one row of another world.
PF_LayerDef rowOf(const PF_LayerDef& world, int y);

/// Returns the column of the first pixel that differs in row y of two pictures of one size, or -1.
/// Any NaN equals any other; other values are equal only with the same bits.
int firstDifference(const Picture& a, const Picture& b, int y);

}  // namespace lomix::bench
