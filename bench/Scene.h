// One frame of the effect and the paths that draw it.
#pragma once

#include <array>
#include <map>
#include <memory>

#include "bench/Pairing.h"
#include "bench/Picture.h"
#include "effect/kernel/Lomix.h"
#include "effect/signal/LomixStruct.h"
#include "engine/SimdTarget.h"
#include "library/WholeFrame.h"

namespace lomix::bench {

/// What a measured frame has beside the geometry: tile mode, scan and signal distortion, both
/// syncs.
struct Look {
  const char* name;
  float bars;  ///< All fractions 0-1; 0 is off.
  float noise;
  float scanlines;
  float effectAmount;  ///< 1: no blend with the original.
};

inline constexpr std::array<Look, 4> kLooks{{
    {"geometry", 0.0f, 0.0f, 0.0f, 1.0f},
    {"overlays", 0.35f, 0.0f, 0.3f, 1.0f},
    {"grain", 0.35f, 0.25f, 0.3f, 1.0f},
    {"everything", 0.35f, 0.25f, 0.3f, 0.8f},
}};

/// Draws a frame by any path. Each function returns the seconds that the whole frame took, without
/// the host's clearing of the output.
class Scene {
 public:
  /// The pictures must outlive the scene and be of the same size and depth.
  /// alphaPlace: of the pictures, for engine(); the other paths take alpha to be first.
  Scene(const Look& look, const Picture& source, Picture& output, const engine::SimdTarget& target,
        Clock clock, engine::AlphaPlace alphaPlace = engine::AlphaPlace::First);
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  /// Copies the source's memory: the least that any effect does.
  double copy();
  /// Draws by the row engine as a context of the library with that number of threads does.
  double engine(int threads);
  // The reference path draws every step-th row from row 0; its time is scaled to all rows.

  /// Calls lomix::distortPixel for each pixel, which reads the record in place.
  double uncopied(int step);
  /// Calls Lomix::Kernel for each pixel, which copies the record; with another heap layout each
  /// time.
  double reference(int step);

 private:
  LomixStruct profiledRecord();
  template <typename DrawPixel>
  double drawPixels(int step, DrawPixel drawPixel);

  PF_InData in_{};
  PF_OutData out_{};
  PF_SmartRenderInput smartInput_{};
  PF_SmartRenderExtra extra_{&smartInput_, nullptr};
  const engine::SimdTarget& target_;
  Clock clock_;
  engine::AlphaPlace alphaPlace_;
  LomixStruct scalars_{};
  const Picture& source_;
  Picture& output_;
  Lomix effect_;
  unsigned referenceFrames_ = 0;
  std::map<int, std::unique_ptr<library::WorkerPool>> pools_;  ///< By number of threads.
};

}  // namespace lomix::bench
