// Measures one cell of the table: a look, depth and size, drawn by every path.
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
  bool allLooks;  ///< Measure all looks; otherwise the one with everything on.
};

struct Plan {
  Clock clock = wallClock;
  const engine::SimdTarget* target = &engine::bestTarget();  ///< The row engine's.
  std::vector<Size> sizes;
  std::vector<int> threads;  ///< Thread counts of the row engine, 1 first.
  Effort engineEffort;       ///< For the row engine and the memory copy.
  Effort plainEffort;        ///< For the reference path and the row engine.
  int uncopiedPixels;        ///< Pixels of a frame to draw without copies, about.
  int referencePixels;       ///< Pixels of a frame to draw by the reference path, about.
};

/// Return the plan of the full measurement and of a smoke test of a few seconds.
Plan fullPlan();
Plan quickPlan();

/// Returns LOOK/DEPTH/SIZE, for example "grain/8-bit/1920x1080".
std::string cellName(const Look& look, int depth, const Size& size);

/// The pictures that the cells of one size and depth share.
struct Pictures {
  Picture opaque;
  Picture mixed;
  Picture output;
  Picture reference;

  Pictures(int depth, const Size& size);
};

/// Compares every path's pixels with the reference path's, then times it. Times in the result are
/// medians in milliseconds per frame, ratios are quartiles. Throws std::runtime_error where a pixel
/// differs.
nlohmann::ordered_json measureCell(const Look& look, Pictures& pictures, const std::string& name,
                                   const Plan& plan);

}  // namespace lomix::bench
