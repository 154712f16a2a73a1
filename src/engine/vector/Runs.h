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
//
// The vectors lie at the output's boundaries, whatever the spans: one that takes pixels of several
// spans is put together from masked loads. That is cheaper than partial vectors at both ends of
// every span, and lets a streamed row be written in whole lines.
template <typename V, bool kGrain, bool kBlend, typename Row, typename Pixel, typename Pipeline>
void drawRun(const Row& row, const Run<Pixel>& run, const Pipeline& pipeline) {
  constexpr bool k8Bit = std::is_same_v<Pixel, PF_Pixel>;
  constexpr int kPixels = k8Bit ? V::kPixels8 : V::kPixels32;
  using Grain = std::conditional_t<k8Bit, std::uint32_t, float>;
  // Hardware fetches ahead within a page only.
  constexpr std::size_t kFetchAhead = 2048;
  Pixel* const output = run.output;
  const Pixel* const original = run.original;
  // With a vector's room behind them, because fewer pixels take a whole vector of grain.
  constexpr int kGrainColumns = kGrainChunk<V>;
  alignas(64) Grain grain[kGrain ? kGrainColumns + kPixels : 1];
  if constexpr (kGrain) std::fill_n(grain + kGrainColumns, kPixels, Grain{});
  alignas(64) Pixel repeated[kPixels];

  const Span* span = run.spans;
  // Column x of the span comes from source[offset + step * x].
  const Pixel* source = run.source;
  std::ptrdiff_t offset = 0;
  std::ptrdiff_t step = 1;
  const auto enterSpanOf = [&](int x) {
    while (span->end() <= x) ++span;
    if (span->repeat) std::fill_n(repeated, kPixels, run.source[span->source]);
    source = span->repeat ? repeated : run.source;
    offset = span->repeat ? 0 : span->source - span->first;
    step = span->repeat ? 0 : 1;
  };
  const auto effectOn = [&](const auto& pixels, int x, int level) LOMIX_INLINE_LAMBDA {
    const auto effect = pipeline(pixels, grain + level);
    if constexpr (!kBlend) return effect;
    return pipeline.blended(V::load(original + x), effect);
  };
  // Count <= kPixels columns, of any number of spans. Masked, not by way of a buffer: a load from a
  // buffer just filled would wait for all the streaming stores before it.
  const auto drawFew = [&](int x, int count, int level, bool streaming) {
    auto pixels = V::template none<Pixel>();
    for (int lane = 0; lane < count;) {
      enterSpanOf(x + lane);
      const int last = std::min(span->end() - x, count);
      pixels = V::either(pixels, V::loadLanes(source + (offset + step * x), lane, last));
      lane = last;
    }
    auto effect = pipeline(pixels, grain + level);
    if constexpr (kBlend) {
      effect = pipeline.blended(V::loadLanes(original + x, 0, count), effect);
    }
    if (streaming && count == kPixels) return V::stream(output + x, effect);
    V::storeFew(output + x, count, effect);
  };

  const int head = pixelsToBoundary(output + run.first, kPixels * sizeof(Pixel), sizeof(Pixel),
                                    run.end - run.first);
  const bool streaming = run.streaming && head >= 0;
  int x = run.first;
  while (x < run.end) {
    // With grain in chunks that its buffer holds, else all at once.
    const int most = kGrain ? kGrainColumns : run.end - x;
    const int chunk = x;
    const int end = x == run.first && head > 0 ? x + head : std::min(run.end, x + most);
    if constexpr (kGrain) makeGrain<V>(row.grainRow, chunk, end - chunk, grain);
    while (x < end) {
      enterSpanOf(x);
      const int whole = std::min(end, span->end()) - kPixels;
      if (streaming) {
        for (; x <= whole; x += kPixels) {
          const Pixel* const from = source + (offset + step * x);
          _mm_prefetch(reinterpret_cast<const char*>(from) + kFetchAhead, _MM_HINT_T0);
          V::stream(output + x, effectOn(V::load(from), x, x - chunk));
        }
      } else {
        for (; x <= whole; x += kPixels) {
          V::store(output + x, effectOn(V::load(source + (offset + step * x)), x, x - chunk));
        }
      }
      if (x == end) break;
      const int few = std::min(kPixels, end - x);
      drawFew(x, few, x - chunk, streaming);
      x += few;
    }
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
