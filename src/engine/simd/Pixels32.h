// Draws runs of float pixels in vectors.
#pragma once

#include "engine/SimdTarget.h"
#include "engine/simd/Grain.h"
#include "engine/simd/Inline.h"
#include "engine/simd/Runs.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Computes output pixels of a row from source pixels.
template <typename V, bool kBars, bool kGrain, bool kDark>
class Pipeline32 {
  using Channels = typename V::Channels;
  using Doubles = typename V::Doubles;

 public:
  explicit Pipeline32(const Row32& row)
      : alphas_(row.alphaPlace == AlphaPlace::First ? 0 : 3),
        barsAlpha_(V::channels(row.barsPixel.alpha)),
        barsLeft_(V::channels(1.0f - row.barsPixel.alpha)),
        wideBarsAlpha_(V::doubles(row.barsPixel.alpha)),
        twiceBars_(V::doubles(static_cast<double>(row.barsPixel.red) + row.barsPixel.red)),
        twiceRest_(V::doubles(2.0 * (1.0 - static_cast<double>(row.barsPixel.red)))),
        grainAmount_(V::channels(row.grainRow.amount)),
        grainLeft_(V::channels(1.0f - row.grainRow.amount)),
        darkPixel_(alphas_.with(V::channels(row.darkPixel.alpha), V::channels(row.darkPixel.red))),
        darkLeft_(V::channels(1.0f - row.darkPixel.alpha)),
        effectAmount_(V::channels(row.effectAmount)) {}

  // grain: each pixel's level in all its channels, where kGrain.
  LOMIX_INLINE Channels operator()(Channels source, const auto& grain) const {
    Channels pixels = source;
    // 1 * v and v / 1 are v: opaque pixels need no premultiply, and pixels that stay opaque no
    // unmultiply.
    if (!alphas_.allOne(source)) {
      const Channels alpha = alphas_.spread(source);
      pixels = alphas_.with(source, V::zeroedBy(alpha, V::mul(alpha, source)));
    } else if constexpr (!kBars && !kGrain && !kDark) {
      return source;
    }
    if constexpr (kBars) pixels = hardLight(pixels);
    if constexpr (kGrain) {
      pixels = V::add(V::mul(grainLeft_, pixels), alphas_.with(grainAmount_, grain));
    }
    if constexpr (kDark) pixels = V::add(V::mul(darkLeft_, pixels), darkPixel_);
    // Without overlays the pixels are as translucent as the source.
    if constexpr (kBars || kGrain || kDark) {
      if (alphas_.allOne(pixels)) return pixels;
    }
    const Channels alpha = alphas_.spread(pixels);
    return alphas_.with(pixels, V::zeroedBy(alpha, V::div(pixels, alpha)));
  }

  LOMIX_INLINE Channels blended(Channels original, Channels effect) const {
    return V::fma(effectAmount_, V::sub(effect, original), original);
  }

 private:
  LOMIX_INLINE Channels hardLight(Channels pixels) const {
    const Channels left = V::mul(barsLeft_, pixels);
    const Channels colours =
        V::inDoubles(pixels, left, [this](Doubles d, Doubles rest) LOMIX_INLINE_LAMBDA {
          const Doubles one = V::doubles(1.0);
          const Doubles multiplied = V::mul(twiceBars_, d);
          const Doubles screened = V::sub(one, V::mul(twiceRest_, V::sub(one, d)));
          const Doubles h = V::selected(V::below(d, V::doubles(0.5)), multiplied, screened);
          return V::add(V::mul(h, wideBarsAlpha_), rest);
        });
    return alphas_.with(V::add(left, barsAlpha_), V::notNegative(colours));
  }

  typename V::AlphaChannels alphas_;
  Channels barsAlpha_, barsLeft_;
  Doubles wideBarsAlpha_, twiceBars_, twiceRest_;
  Channels grainAmount_, grainLeft_;
  Channels darkPixel_, darkLeft_;
  Channels effectAmount_;
};

// Draws a run with the pipeline and grain of kFlags: bars, grain, dark, blend. Fewer flags: turns
// the next one of the row's into a template argument.
template <typename V, bool... kFlags>
void run32With(const Row32& row, const Run<PF_PixelFloat>& run, const bool* flags) {
  if constexpr (sizeof...(kFlags) == 4) {
    [&]<bool kBars, bool kGrain, bool kDark, bool kBlend>(
        std::integer_sequence<bool, kBars, kGrain, kDark, kBlend>) {
      using Grain = std::conditional_t<kGrain, LevelGrain<V>, Ungrained<V::kPixels32>>;
      drawRun<V, Grain, kBlend>(row, run, Pipeline32<V, kBars, kGrain, kDark>(row));
    }(std::integer_sequence<bool, kFlags...>{});
  } else if (flags[sizeof...(kFlags)]) {
    run32With<V, kFlags..., true>(row, run, flags);
  } else {
    run32With<V, kFlags..., false>(row, run, flags);
  }
}

// Draws a float run: SimdTarget's run32.
template <typename V>
void run32(const Row32& row, const Run<PF_PixelFloat>& run) {
  if (row.grain && !row.grainRow.reducible) return formulaTarget().run32(row, run);
  const bool flags[] = {row.bars, row.grain, row.dark, row.blend && run.original != nullptr};
  run32With<V>(row, run, flags);
}

}  // namespace
}  // namespace lomix::engine
