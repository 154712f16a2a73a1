// Draws a run of pixels in vectors.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "engine/SimdTarget.h"
#include "engine/simd/Grain.h"
#include "engine/simd/Inline.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Returns the pixels before the first vector-aligned address of output, at most count; -1 where no
// pixel starts at one, as in a misaligned world.
inline int pixelsToBoundary(const void* output, std::size_t vectorBytes, std::size_t pixelBytes,
                            int count) {
  const std::size_t past = reinterpret_cast<std::uintptr_t>(output) % vectorBytes;
  if (past % pixelBytes != 0) return -1;
  return std::min(count, static_cast<int>((vectorBytes - past) % vectorBytes / pixelBytes));
}

// Computes grain one step ahead of its use: two independent chains of operations overlap in the
// processor.
template <typename Grain>
class Ahead {
 public:
  LOMIX_INLINE Ahead(const GrainRow& row, int x) : grain_(row, x), made_(grain_.next()) {}
  LOMIX_INLINE auto next() {
    const auto now = made_;
    made_ = grain_.next();
    return now;
  }

 private:
  Grain grain_;
  decltype(std::declval<Grain&>().next()) made_;
};

// Draws a run with a pipeline: calls pipeline(source pixels, their grain) and, where kBlend,
// pipeline.blended(original pixels, effect).
//
// Stores are aligned to the output whatever the spans are. A vector across a span boundary gathers
// its pixels with masked loads. That costs less than partial vectors at both ends of every span,
// and streaming stores write whole cache lines.
template <typename V, typename Grain, bool kBlend, typename Row, typename Pixel, typename Pipeline>
void drawRun(const Row& row, const Run<Pixel>& run, const Pipeline& pipeline) {
  constexpr int kPixels = std::is_same_v<Pixel, PF_Pixel> ? V::kFloats : V::kPixels32;
  constexpr int kColumns = Grain::kColumns;
  constexpr auto kParts = std::make_integer_sequence<int, kColumns / kPixels>{};
  static_assert(kColumns % kPixels == 0);
  Pixel* const output = run.output;
  const Pixel* const original = run.original;
  const int head = pixelsToBoundary(output + run.first, kPixels * sizeof(Pixel), sizeof(Pixel),
                                    run.end - run.first);
  const bool streaming = run.streaming && head >= 0;

  const Span* span = run.spans;
  alignas(64) Pixel repeated[kPixels];
  // Column x of the span reads source[offset + step * x].
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

  // Draws count <= kPixels columns of any number of spans. Masked loads, no buffer: loading from a
  // buffer just filled would wait for all earlier streaming stores.
  const auto drawFew = [&](int x, int count, const auto& grain) {
    auto pixels = V::loadLanes(source, 0, 0);
    for (int lane = 0; lane < count;) {
      enterSpanOf(x + lane);
      const int last = std::min(span->end() - x, count);
      pixels = V::either(pixels, V::loadLanes(source + (offset + step * x), lane, last));
      lane = last;
    }
    auto effect = pipeline(pixels, grain);
    if constexpr (kBlend) {
      effect = pipeline.blended(V::loadLanes(original + x, 0, count), effect);
    }
    if (streaming && count == kPixels) return V::stream(output + x, effect);
    V::storeFew(output + x, count, effect);
  };
  const auto drawSome = [&]<int... kPart>(int x, int end, const auto& grain,
                                          std::integer_sequence<int, kPart...>) {
    const auto drawPart = [&](int at, const auto& part) {
      if (at < end) drawFew(at, std::min(kPixels, end - at), part);
    };
    (drawPart(x + kPart * kPixels, Grain::template part<kPart>(grain)), ...);
  };
  // Draws kColumns columns within one span.
  const auto drawAll = [&]<bool kStream, int... kPart>(
      int x, const auto& grain, std::bool_constant<kStream>, std::integer_sequence<int, kPart...>)
      LOMIX_INLINE_LAMBDA {
    const auto drawPart = [&](int at, const auto& part) LOMIX_INLINE_LAMBDA {
      const Pixel* const from = source + (offset + step * at);
      auto effect = pipeline(V::load(from), part);
      if constexpr (kBlend) effect = pipeline.blended(V::load(original + at), effect);
      // The next row reads other spans: hardware prefetching loses track at every span boundary.
      V::prefetch(reinterpret_cast<const char*>(from) + run.toNextRow);
      if constexpr (kStream) {
        V::stream(output + at, effect);
      } else {
        V::store(output + at, effect);
      }
    };
    (drawPart(x + kPart * kPixels, Grain::template part<kPart>(grain)), ...);
  };

  int x = run.first;
  while (x < run.end) {
    const int most = x == run.first && head > 0 ? head : Grain::kMostColumns;
    const int end = run.end - x > most ? x + most : run.end;
    Ahead<Grain> grain(row.grainRow, x);
    while (x < end) {
      enterSpanOf(x);
      const int last = std::min(end, span->end()) - kColumns;
      if (streaming) {
        for (; x <= last; x += kColumns) drawAll(x, grain.next(), std::true_type{}, kParts);
      } else {
        for (; x <= last; x += kColumns) drawAll(x, grain.next(), std::false_type{}, kParts);
      }
      if (x == end) break;
      drawSome(x, end, grain.next(), kParts);
      x += kColumns;
    }
    x = end;
  }
}

}  // namespace
}  // namespace lomix::engine
