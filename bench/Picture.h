// Worlds with pixels of their own, to measure on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hostapi/Records.h"

namespace lomix::bench {

enum class Alpha { kOpaque, kMixed };

/// A world whose rows follow each other without padding, from the start of a cache line on.
class Picture {
 public:
  PF_LayerDef world{};

  /// depth: bits per channel, 8 or 32. All bytes are zero.
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
  /// Moves the channels of every pixel on by one, the last one to the front: a picture whose alpha
  /// is last then has it first. `backward` undoes it.
  void rotateChannels(bool backward = false);
  /// A byte pattern that shows what was not drawn.
  void fillWithGuard();

 private:
  struct alignas(64) CacheLine {
    std::byte bytes[64];
  };
  int depth_;
  std::vector<CacheLine> lines_;
};

/// One row of a world as a world of its own.
PF_LayerDef rowOf(const PF_LayerDef& world, int y);

/// Column of the first pixel in which row y of two pictures of the same size differs, or -1. The
/// bits must be the same, but any NaN equals any other.
int firstDifference(const Picture& a, const Picture& b, int y);

}  // namespace lomix::bench
