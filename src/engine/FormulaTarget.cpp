// The target that calls the reference path's pixel functions for one pixel after the other. The
// others fall back on it where their shortcuts are not proved.

#include "effect/framework/AERender.h"
#include "effect/kernel/Grain.h"
#include "effect/kernel/PixelFunctions.h"
#include "effect/signal/RowProfile.h"
#include "engine/SimdTarget.h"

namespace lomix::engine {
namespace {

// The pixel operations of one depth.
struct Depth8 {
  using Pixel = PF_Pixel;
  static constexpr auto kPremultiply = AERender::PixelPremult8;
  static constexpr auto kUnmultiply = AERender::PixelUnmult8;
  static constexpr auto kLerp = AERender::PixelLerp8;
  static constexpr auto kBars = hardLightBlend8Void;
  static constexpr auto kOver = alphaBlendPixel8;
  static constexpr auto kPixelOf = GetPixel8;
};

struct Depth32 {
  using Pixel = PF_PixelFloat;
  static constexpr auto kPremultiply = AERender::PixelPremult32;
  static constexpr auto kUnmultiply = AERender::PixelUnmult32;
  static constexpr auto kLerp = AERender::PixelLerp32;
  static constexpr auto kBars = hardLightBlend32Void;
  static constexpr auto kOver = alphaBlendPixel32;
  static constexpr auto kPixelOf = GetPixel32;
};

// Calls the reference path's pixel functions with what is constant along a row computed once.
template <typename Depth, AlphaPlace kAlphaPlace>
void runInPlace(const Overlays<typename Depth::Pixel>& row, const Run<typename Depth::Pixel>& run) {
  using Pixel = typename Depth::Pixel;
  // Returns a pixel of a world with its alpha first.
  const auto load = [](const Pixel& p) -> Pixel {
    if constexpr (kAlphaPlace == AlphaPlace::Last) return {p.blue, p.alpha, p.red, p.green};
    return p;
  };
  Pixel bars = row.barsPixel;
  Pixel dark = row.darkPixel;
  const Span* span = run.spans;
  for (int x = run.first; x < run.end; ++x) {
    while (span->end() <= x) ++span;
    Pixel pixel = load(run.source[span->source + (span->repeat ? 0 : x - span->first)]);
    Depth::kPremultiply(&pixel);
    if (row.bars) Depth::kBars(&pixel, &bars);
    if (row.grain) {
      const double v = row.grainRow.levelAt(x);
      Pixel grain = Depth::kPixelOf({v, v, v, row.grainRow.amount});
      Depth::kOver(&pixel, &grain);
    }
    if (row.dark) Depth::kOver(&pixel, &dark);
    Depth::kUnmultiply(&pixel);
    if (row.blend && run.original != nullptr) {
      Pixel original = load(run.original[x]);
      Depth::kLerp(&original, &pixel, row.effectAmount);
    }
    if constexpr (kAlphaPlace == AlphaPlace::Last) {
      pixel = {pixel.red, pixel.green, pixel.blue, pixel.alpha};
    }
    run.output[x] = pixel;
  }
}

template <typename Depth>
void runByPlace(const Overlays<typename Depth::Pixel>& row, const Run<typename Depth::Pixel>& run) {
  if (row.alphaPlace == AlphaPlace::Last) return runInPlace<Depth, AlphaPlace::Last>(row, run);
  runInPlace<Depth, AlphaPlace::First>(row, run);
}

void run8(const Row8& row, const Run<PF_Pixel>& run) { runByPlace<Depth8>(row, run); }

void rowSums(const ProfileFrame& frame, int first, int count, float* scanSums, float* barSums) {
  for (int i = 0; i < count; ++i) {
    const float row = static_cast<float>((first + i) * frame.invYDown);
    scanSums[i] = scanSum(row, frame.height, frame.p);
    barSums[i] = barSum(row, frame.height, frame.p);
  }
}

// Ordinary stores need no fence.
void finishStreaming() {}

}  // namespace

void runFormulas32(const Row32& row, const Run<PF_PixelFloat>& run) {
  runByPlace<Depth32>(row, run);
}

float GrainRow::levelAt(int x) const {
  return grainLevel(*source, invXDown, invYDown, time, x, y) * amount;
}

const SimdTarget& formulaTarget() {
  static constexpr SimdTarget kTarget{"formula", run8, runFormulas32, rowSums, finishStreaming};
  return kTarget;
}

}  // namespace lomix::engine
