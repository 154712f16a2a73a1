// Frames as hosts and users make them, and as they should not but could.
#pragma once

#include <cstdint>
#include <string>

#include "effect/signal/LomixStruct.h"
#include "engine/Random.h"
#include "engine/TestWorld.h"
#include "hostapi/Records.h"

namespace lomix::differential {

struct RandomFrame {
  int depth;          ///< 8 or 32.
  bool toldProfiles;  ///< The record's profiles are empty, to be made from time and height.
  bool rowByRow;      ///< Taller than memory: all output rows share one, draw and compare each.
  PF_RationalScale downsampleX;
  PF_RationalScale downsampleY;
  LomixStruct record;
  TestWorld source;
  int outputWidth;
  int outputHeight;
  Layout outputLayout;
  std::string pixels;  ///< What fills the source.

  /// All that tells this frame from others.
  std::string describe() const;
};

/// The same frame for the same two numbers.
RandomFrame makeFrame(std::uint64_t seed, std::uint64_t number);

}  // namespace lomix::differential
