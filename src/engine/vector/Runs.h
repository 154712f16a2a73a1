// Goes along a run of pixels in vectors.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "engine/RowKernels.h"
#include "engine/vector/Grain.h"
#include "engine/vector/Inline.h"

namespace lomix::engine {
// Of each file's own: the same code compiled for two processors must never be taken for one.
namespace {

// Pixels before the first boundary of a whole vector of output that whole pixels reach, at most
// count; -1 where they reach none, as in a misaligned world.
inline int pixelsToBoundary(const void* output, std::size_t vectorBytes, std::size_t pixelBytes,
                            int count) {
  const std::size_t past = reinterpret_cast<std::uintptr_t>(output) % vectorBytes;
  if (past % pixelBytes != 0) return -1;
  return std::min(count, static_cast<int>((vectorBytes - past) % vectorBytes / pixelBytes));
}

// Draws a run by a pipeline: pipeline(source pixels, their grain) and, where kBlend,
// pipeline.blended(original pixels, effect). The grain is that of an 8-bit world as overlay pixels,
// that of a float world as levels.
template <typename V, bool kGrain, bool kBlend, typename Row, typename Pixel, typename Pipeline>
void drawRun(const Row& row, const Run<Pixel>& run, const Pipeline& pipeline) {
  constexpr bool k8Bit = std::is_same_v<Pixel, PF_Pixel>;
  constexpr int kPixels = k8Bit ? V::kPixels8 : V::kPixels32;
  using Grain = std::conditional_t<k8Bit, std::uint32_t, float>;
  // Hardware fetches ahead within a page only.
  constexpr std::size_t kFetchAhead = 2048;
  const Pixel* const source = run.source;
  const Pixel* const original = run.original;
  Pixel* const output = run.output;
  // With a vector's room behind them, because fewer pixels take a whole vector of grain.
  alignas(64) Grain grain[kGrain ? kGrainChunk + kPixels : 1];
  if constexpr (kGrain) std::fill_n(grain + kGrainChunk, kPixels, Grain{});

  const auto pixelsAt = [&, source, original](int at, int level) LOMIX_INLINE_LAMBDA {
    const auto pixels = pipeline(V::load(source + at), grain + level);
    if constexpr (!kBlend) return pixels;
    return pipeline.blended(V::load(original + at), pixels);
  };
  // Masked, not by way of a buffer: a load from a buffer just filled would wait for all the
  // streaming stores before it.
  const auto drawFew = [&](int at, int count, int level) {
    auto pixels = pipeline(V::loadFew(source + at, count), grain + level);
    if constexpr (kBlend) pixels = pipeline.blended(V::loadFew(original + at, count), pixels);
    V::storeFew(output + at, count, pixels);
  };

  int done = 0;
  while (done < run.count) {
    // With grain in chunks that its buffer holds, else all at once.
    const int chunk = kGrain ? std::min(run.count - done, kGrainChunk) : run.count - done;
    if constexpr (kGrain) makeGrain<V>(row.grainRow, run.firstColumn + done, chunk, grain);
    const int few = run.streaming ? pixelsToBoundary(output + done, kPixels * sizeof(Pixel),
                                                     sizeof(Pixel), chunk)
                                  : -1;
    if (few > 0) drawFew(done, few, 0);
    int i = std::max(few, 0);
    if (few >= 0) {
      for (; i + kPixels <= chunk; i += kPixels) {
        _mm_prefetch(reinterpret_cast<const char*>(source + done + i) + kFetchAhead, _MM_HINT_T0);
        V::stream(output + done + i, pixelsAt(done + i, i));
      }
    } else {
      for (; i + kPixels <= chunk; i += kPixels) {
        V::store(output + done + i, pixelsAt(done + i, i));
      }
    }
    if (i < chunk) drawFew(done + i, chunk - i, i);
    done += chunk;
  }
}

template <typename V, template <bool, bool, bool> class Pipeline, bool kBars, bool kGrain,
          bool kDark, bool kBlend>
void run32With(const Row32& row, const Run<PF_PixelFloat>& run) {
  drawRun<V, kGrain, kBlend>(row, run, Pipeline<kBars, kGrain, kDark>(row));
}

// Turns a row's flags into template arguments, one after the other.
template <typename V, template <bool, bool, bool> class Pipeline, bool... kFlags>
void run32Chosen(const Row32& row, const Run<PF_PixelFloat>& run, const bool* flags) {
  if constexpr (sizeof...(kFlags) == 4) {
    run32With<V, Pipeline, kFlags...>(row, run);
  } else if (flags[sizeof...(kFlags)]) {
    run32Chosen<V, Pipeline, kFlags..., true>(row, run, flags);
  } else {
    run32Chosen<V, Pipeline, kFlags..., false>(row, run, flags);
  }
}

// A float run by a pipeline for what the row has switched on: Pipeline<bars, grain, dark>(row).
template <typename V, template <bool, bool, bool> class Pipeline>
void run32(const Row32& row, const Run<PF_PixelFloat>& run) {
  const bool flags[] = {row.bars, row.grain, row.dark, row.blend && run.original != nullptr};
  run32Chosen<V, Pipeline>(row, run, flags);
}

}  // namespace
}  // namespace lomix::engine
