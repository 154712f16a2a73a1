// Compares the row engine with the reference path on random frames.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "engine/SimdTarget.h"

namespace lomix::differential {

/// What to compare. The comparison ends at whichever limit is reached first.
struct Options {
  std::uint64_t seed = 1;
  std::uint64_t firstFrame = 0;
  std::uint64_t endFrame = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t pixels = std::numeric_limits<std::uint64_t>::max();
  double seconds = std::numeric_limits<double>::infinity();
  /// The targets to compare. The last, where there are several, draws one frame in four.
  std::vector<const engine::SimdTarget*> targets;
};

struct Outcome {
  std::uint64_t frames = 0;
  std::uint64_t pixels = 0;  ///< Compared pixels, counted for each target and place of alpha.
  std::string difference;    ///< The first difference and its seed and frame, or empty.
};

/// Compares profiles, pixels and the memory around them byte by byte, up to the first difference.
/// Each frame is drawn with alpha first and with alpha last.
Outcome compareFrames(const Options& options);

}  // namespace lomix::differential
