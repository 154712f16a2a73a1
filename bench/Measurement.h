// What is measured, and the measuring of one cell of the table.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "bench/Pairing.h"
#include "bench/Picture.h"
#include "bench/Scene.h"
#include "engine/SimdTarget.h"

namespace lomix::bench {

struct Size {
  int width;
  int height;
  bool allLooks;  ///< Or the one with everything on alone.
};

struct Plan {
  Clock clock = wallClock;
  const engine::SimdTarget* target = &engine::bestTarget();  ///< The row engine's.
  std::vector<Size> sizes;
  std::vector<int> threads;  ///< Counts that the row engine is run with, 1 first.
  Effort engineEffort;       ///< For the row engine against the memory copy,
  Effort plainEffort;        ///< and for the pixel-by-pixel paths against the row engine.
  int uncopiedPixels;        ///< How many pixels these draw of a frame,
  int referencePixels;       ///< about.
};

/// The whole measurement, or that of a smoke test that takes a few seconds.
Plan fullPlan();
Plan quickPlan();

/// LOOK/DEPTH/SIZE, as "grain/8-bit/1920x1080".
std::string cellName(const Look& look, int depth, const Size& size);

/// The pictures that the cells of one size and depth share.
struct Pictures {
  Picture opaque;
  Picture mixed;
  Picture output;
  Picture reference;

  Pictures(int depth, const Size& size);
};

/// Checks every path's pixels against the reference path's, then times it. Times in the result are
/// medians, in milliseconds a frame, and ratios quartiles. Throws std::runtime_error where a pixel
/// differs.
nlohmann::ordered_json measureCell(const Look& look, Pictures& pictures, const std::string& name,
                                   const Plan& plan);

}  // namespace lomix::bench
