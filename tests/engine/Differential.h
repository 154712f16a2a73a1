// The row engine against the reference path, on random frames.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "engine/SimdTarget.h"

namespace lomix::differential {

/// What to compare; whichever limit is met first ends it.
struct Options {
  std::uint64_t seed = 1;
  std::uint64_t firstFrame = 0;
  std::uint64_t endFrame = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t pixels = std::numeric_limits<std::uint64_t>::max();
  double seconds = std::numeric_limits<double>::infinity();
  /// The first draws every frame, the others one in four.
  std::vector<const engine::SimdTarget*> targets;
};

struct Outcome {
  std::uint64_t frames = 0;
  std::uint64_t pixels = 0;  ///< Compared, each once per target that drew it.
  std::string difference;    ///< The first one and how to repeat it; empty where there is none.
};

/// Compares profiles, pixels and the memory around them, byte for byte, up to the first difference.
Outcome compareFrames(const Options& options);

}  // namespace lomix::differential
