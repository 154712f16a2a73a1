// Makes random frames: usual ones, and ones with values that no panel gives.
#pragma once

#include <cstdint>
#include <string>

#include "effect/signal/LomixStruct.h"
#include "engine/Random.h"
#include "engine/TestWorld.h"
#include "hostapi/Records.h"

namespace lomix::differential {

struct RandomFrame {
  int depth;           ///< 8 or 32.
  bool emptyProfiles;  ///< The record has none: they are to be made from time and height.
  bool rowByRow;       ///< Too tall for memory: all rows share the memory of one; draw them singly.
  PF_RationalScale downsampleX;
  PF_RationalScale downsampleY;
  LomixStruct record;
  TestWorld source;
  int outputWidth;
  int outputHeight;
  Layout outputLayout;
  std::string pixels;  ///< Describes the source's pixels.

  /// Returns the frame's sizes and parameters as text.
  std::string describe() const;
};

/// Returns the same frame for the same two numbers.
RandomFrame makeFrame(std::uint64_t seed, std::uint64_t number);

}  // namespace lomix::differential
