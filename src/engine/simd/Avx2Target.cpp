// The SIMD target for x86-64 processors with AVX2 and FMA. Every x86-64 build contains it; the
// target pragma below lets it use these instructions, and it is chosen at run time.

#include "engine/SimdTarget.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

// Everything that the headers below the pragma include. The linker keeps one copy of a library's
// inline function for the whole program; it must not be one compiled for these processors only.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <type_traits>
#include <utility>

#include "effect/kernel/Grain.h"
#include "effect/numeric/Truncate.h"
#include "effect/signal/RowProfile.h"
#include "engine/Processor.h"

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,fma"))), apply_to = function)
#elif defined(__GNUC__)
#pragma GCC push_options
#pragma GCC target("avx2,fma")
#endif

#include "engine/simd/Avx2.h"
#include "engine/simd/Pixels8.h"
#include "engine/simd/RowSums.h"
#include "engine/simd/Runs.h"

namespace lomix::engine {
namespace {

// 8-bit pixels.

// A ByteMap in registers. kBitSets: its bitSets().
template <int kBitSets>
class MapVector {
 public:
  explicit MapVector(const ByteMap& map)
      : factor_(_mm256_set1_epi16(static_cast<short>(map.factor(0)))),
        factorChange_(_mm256_set1_epi16(static_cast<short>(map.factor(0) ^ map.factor(1)))),
        offset_(_mm256_set1_epi16(map.offset(0))),
        offsetChange_(_mm256_set1_epi16(static_cast<short>(map.offset(0) ^ map.offset(1)))),
        ones_{Avx2::repeated(map.ones()[0].data()), Avx2::repeated(map.ones()[1].data())},
        twos_{Avx2::repeated(map.twos()[0].data()), Avx2::repeated(map.twos()[1].data())} {}

  LOMIX_INLINE __m256i operator()(__m256i bytes) const {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i line = _mm256_packus_epi16(onLine(_mm256_unpacklo_epi8(zero, bytes)),
                                             onLine(_mm256_unpackhi_epi8(zero, bytes)));
    if constexpr (kBitSets == 0) return line;
    const __m256i nibble = _mm256_set1_epi8(15);
    const __m256i low = _mm256_and_si256(bytes, nibble);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble);
    const __m256i bits =
        _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16,
                         32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
    const __m256i bit = _mm256_shuffle_epi8(bits, high);
    __m256i result = _mm256_sub_epi8(line, inSet(ones_, bytes, low, bit));
    if constexpr (kBitSets == 2) {
      const __m256i twos = inSet(twos_, bytes, low, bit);
      result = _mm256_sub_epi8(result, _mm256_add_epi8(twos, twos));
    }
    return result;
  }

 private:
  // Returns -1 in the bytes that are in the set, 0 in the others.
  static LOMIX_INLINE __m256i inSet(const __m256i (&set)[2], __m256i bytes, __m256i low,
                                    __m256i bit) {
    const __m256i entry = _mm256_blendv_epi8(_mm256_shuffle_epi8(set[0], low),
                                             _mm256_shuffle_epi8(set[1], low), bytes);
    return _mm256_cmpeq_epi8(_mm256_and_si256(entry, bit), bit);
  }
  // words: bytes * 256; the high bit says which half a byte is in.
  LOMIX_INLINE __m256i onLine(__m256i words) const {
    const __m256i upper = _mm256_srai_epi16(words, 15);
    const __m256i factor = _mm256_xor_si256(factor_, _mm256_and_si256(upper, factorChange_));
    const __m256i offset = _mm256_xor_si256(offset_, _mm256_and_si256(upper, offsetChange_));
    return _mm256_srai_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(words, factor), offset), 6);
  }

  __m256i factor_, factorChange_, offset_, offsetChange_;
  __m256i ones_[2];
  __m256i twos_[2];
};

struct NoMap {
  LOMIX_INLINE __m256i operator()(__m256i bytes) const { return bytes; }
};

// Computes eight output pixels of a row from eight source pixels.
template <typename Map, bool kGrain>
class Pipeline8 {
 public:
  Pipeline8(const Row8& row, const Map& map)
      : Pipeline8(row, map, pixelShuffles(row.alphaPlace),
                  row.alphaPlace == AlphaPlace::First ? 0 : 3) {}

  // grain: the overlay's levels as integers, where kGrain.
  LOMIX_INLINE __m256i operator()(__m256i source, const auto& grain) const {
    const __m256i full = _mm256_cmpeq_epi8(source, _mm256_set1_epi8(-1));
    if ((_mm256_movemask_epi8(full) & alphaBits_) == alphaBits_) {
      // 255 * v >> 8 is v - 1, or 0 for 0. The alphas are replaced below.
      const __m256i one = _mm256_set1_epi8(1);
      return unmultiplyOpaque(overlaid(_mm256_subs_epu8(source, one), grain));
    }
    return unmultiply_(overlaid(premultiply_(source), grain), source);
  }

  LOMIX_INLINE __m256i blended(__m256i original, __m256i effect) const {
    return blend_(original, effect);
  }

 private:
  // alphaByte: which of a pixel's four bytes is alpha.
  Pipeline8(const Row8& row, const Map& map, const PixelShuffles& shuffles, int alphaByte)
      : map_(map),
        greys_(Avx2::repeated(shuffles.greys)),
        darkAfterGrain_(kGrain && row.dark),
        darkLeft_(_mm256_set1_epi16(static_cast<short>(255 - row.darkPixel.alpha))),
        alphaBits_(0x11111111 << alphaByte),
        alphaBytes_(_mm256_set1_epi32(255 << 8 * alphaByte)),
        opaqueAlpha_(_mm256_set1_epi32(row.opaqueAlpha << 8 * alphaByte)),
        unmult_(row.unmultFactor != 0),
        unmultFactor_(_mm256_set1_epi16(static_cast<short>(row.unmultFactor))),
        premultiply_(shuffles),
        unmultiply_(row, kGrain, shuffles),
        blend_(row.effectAmount) {}

  LOMIX_INLINE __m256i overlaid(__m256i colours, const auto& grain) const {
    colours = map_(colours);
    if constexpr (kGrain) {
      colours = _mm256_add_epi8(colours, _mm256_shuffle_epi8(grain, greys_));
      if (darkAfterGrain_) colours = productsBy256<Avx2>(colours, darkLeft_, darkLeft_);
    }
    return colours;
  }

  LOMIX_INLINE __m256i unmultiplyOpaque(__m256i colours) const {
    if (unmult_) {
      const __m256i zero = _mm256_setzero_si256();
      const __m256i low = _mm256_mulhi_epu16(_mm256_unpacklo_epi8(colours, zero), unmultFactor_);
      const __m256i high = _mm256_mulhi_epu16(_mm256_unpackhi_epi8(colours, zero), unmultFactor_);
      colours = _mm256_adds_epu8(colours, _mm256_packus_epi16(low, high));
    }
    return _mm256_or_si256(_mm256_andnot_si256(alphaBytes_, colours), opaqueAlpha_);
  }

  Map map_;
  __m256i greys_;
  bool darkAfterGrain_;
  __m256i darkLeft_;
  int alphaBits_;  // of a byte mask
  __m256i alphaBytes_;
  __m256i opaqueAlpha_;
  bool unmult_;
  __m256i unmultFactor_;
  Premultiply<Avx2> premultiply_;
  Unmultiply<Avx2> unmultiply_;
  FormulaBlend<Avx2> blend_;
};

template <typename Map, bool kGrain>
void run8WithMap(const Row8& row, const Run<PF_Pixel>& run, const Map& map) {
  run8By<Avx2, kGrain>(row, run, Pipeline8<Map, kGrain>(row, map));
}

template <typename Map>
void run8WithMap(const Row8& row, const Run<PF_Pixel>& run, const Map& map) {
  if (row.grain) return run8WithMap<Map, true>(row, run, map);
  run8WithMap<Map, false>(row, run, map);
}

void run8(const Row8& row, const Run<PF_Pixel>& run) {
  if (!row.vectorSafe || (row.grain && !row.grainRow.reducible)) {
    return portableTarget().run8(row, run);
  }
  // A row with grain always has a map: the weight that grain leaves of the picture.
  if (row.colourMap == nullptr) return run8WithMap<NoMap, false>(row, run, NoMap{});
  switch (row.colourMap->bitSets()) {
    case 0:
      return run8WithMap(row, run, MapVector<0>(*row.colourMap));
    case 1:
      return run8WithMap(row, run, MapVector<1>(*row.colourMap));
    default:
      return run8WithMap(row, run, MapVector<2>(*row.colourMap));
  }
}

// Float pixels.

// Computes two output pixels of a row from two source pixels. The place of alpha is a template
// argument: a blend by a mask known at compile time is one operation, by any other two or three.
template <AlphaPlace kAlphaPlace, bool kBars, bool kGrain, bool kDark>
class Pipeline32 {
  static constexpr bool kAlphaFirst = kAlphaPlace == AlphaPlace::First;
  static constexpr int kAlphaLanes = kAlphaFirst ? 0x11 : 0x88;  // of the eight

 public:
  explicit Pipeline32(const Row32& row)
      : barsAlpha_(_mm256_set1_ps(row.barsPixel.alpha)),
        barsLeft_(_mm256_set1_ps(1.0f - row.barsPixel.alpha)),
        wideBarsAlpha_(_mm256_set1_pd(row.barsPixel.alpha)),
        twiceBars_(_mm256_set1_pd(static_cast<double>(row.barsPixel.red) + row.barsPixel.red)),
        twiceRest_(_mm256_set1_pd(2.0 * (1.0 - static_cast<double>(row.barsPixel.red)))),
        grainAmount_(_mm256_set1_ps(row.grainRow.amount)),
        grainLeft_(_mm256_set1_ps(1.0f - row.grainRow.amount)),
        darkPixel_(alphaAndColour(row.darkPixel.alpha, row.darkPixel.red)),
        darkLeft_(_mm256_set1_ps(1.0f - row.darkPixel.alpha)),
        effectAmount_(_mm256_set1_ps(row.effectAmount)) {}

  // grain: each pixel's level in all its lanes, where kGrain.
  LOMIX_INLINE __m256 operator()(__m256 source, const auto& grain) const {
    const __m256 ones = _mm256_set1_ps(1.0f);
    const __m256 full = _mm256_cmp_ps(source, ones, _CMP_EQ_OQ);
    __m256 pixels = source;
    // 1 * v and v / 1 are v: opaque pixels need no premultiply, and pixels that stay opaque no
    // unmultiply.
    if ((_mm256_movemask_ps(full) & kAlphaLanes) != kAlphaLanes) {
      const __m256 alpha = alphaOf(source);
      pixels = visible(alpha, _mm256_mul_ps(colourLanes(ones, alpha), source));
    } else if constexpr (!kBars && !kGrain && !kDark) {
      return source;
    }
    if constexpr (kBars) pixels = hardLight(pixels);
    if constexpr (kGrain) {
      pixels = _mm256_add_ps(_mm256_mul_ps(grainLeft_, pixels), colourLanes(grainAmount_, grain));
    }
    if constexpr (kDark) pixels = _mm256_add_ps(_mm256_mul_ps(darkLeft_, pixels), darkPixel_);
    const __m256 left = _mm256_cmp_ps(pixels, ones, _CMP_EQ_OQ);
    if ((_mm256_movemask_ps(left) & kAlphaLanes) == kAlphaLanes) return pixels;
    const __m256 alpha = alphaOf(pixels);
    return visible(alpha, _mm256_div_ps(pixels, colourLanes(ones, alpha)));
  }

  LOMIX_INLINE __m256 blended(__m256 original, __m256 effect) const {
    return _mm256_fmadd_ps(effectAmount_, _mm256_sub_ps(effect, original), original);
  }

 private:
  static LOMIX_INLINE __m256 alphaAndColour(float alpha, float colour) {
    return colourLanes(_mm256_set1_ps(alpha), _mm256_set1_ps(colour));
  }
  // Returns each pixel's alpha in all its lanes.
  static LOMIX_INLINE __m256 alphaOf(__m256 pixels) {
    return _mm256_permute_ps(pixels, kAlphaFirst ? 0 : 0xFF);
  }
  // Returns the alpha lanes of the first and the colour lanes of the second.
  static LOMIX_INLINE __m256 colourLanes(__m256 alphaLanes, __m256 colours) {
    return _mm256_blend_ps(colours, alphaLanes, kAlphaLanes);
  }
  // Returns the pixels with colours 0 where alpha is 0.
  static LOMIX_INLINE __m256 visible(__m256 alpha, __m256 pixels) {
    const __m256 transparent = _mm256_cmp_ps(alpha, _mm256_setzero_ps(), _CMP_EQ_OQ);
    return _mm256_andnot_ps(colourLanes(_mm256_setzero_ps(), transparent), pixels);
  }

  LOMIX_INLINE __m256 hardLight(__m256 pixels) const {
    const __m256 left = _mm256_mul_ps(barsLeft_, pixels);
    const __m256 colours = _mm256_set_m128(
        hardLightColours(_mm256_extractf128_ps(pixels, 1), _mm256_extractf128_ps(left, 1)),
        hardLightColours(_mm256_castps256_ps128(pixels), _mm256_castps256_ps128(left)));
    // max returns its second operand where neither is larger: -0.0 and NaN stay.
    const __m256 notNegative = _mm256_max_ps(_mm256_setzero_ps(), colours);
    return colourLanes(_mm256_add_ps(left, barsAlpha_), notNegative);
  }

  LOMIX_INLINE __m128 hardLightColours(__m128 pixel, __m128 left) const {
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d d = _mm256_cvtps_pd(pixel);
    const __m256d multiplied = _mm256_mul_pd(twiceBars_, d);
    const __m256d screened = _mm256_sub_pd(one, _mm256_mul_pd(twiceRest_, _mm256_sub_pd(one, d)));
    const __m256d below = _mm256_cmp_pd(d, _mm256_set1_pd(0.5), _CMP_LT_OQ);
    const __m256d h = _mm256_blendv_pd(screened, multiplied, below);
    return _mm256_cvtpd_ps(_mm256_add_pd(_mm256_mul_pd(h, wideBarsAlpha_), _mm256_cvtps_pd(left)));
  }

  __m256 barsAlpha_, barsLeft_;
  __m256d wideBarsAlpha_, twiceBars_, twiceRest_;
  __m256 grainAmount_, grainLeft_;
  __m256 darkPixel_, darkLeft_;
  __m256 effectAmount_;
};

template <bool kBars, bool kGrain, bool kDark>
using AlphaFirst32 = Pipeline32<AlphaPlace::First, kBars, kGrain, kDark>;
template <bool kBars, bool kGrain, bool kDark>
using AlphaLast32 = Pipeline32<AlphaPlace::Last, kBars, kGrain, kDark>;

void run32(const Row32& row, const Run<PF_PixelFloat>& run) {
  if (row.alphaPlace == AlphaPlace::Last) return run32By<Avx2, AlphaLast32>(row, run);
  run32By<Avx2, AlphaFirst32>(row, run);
}

void finishStreaming() { _mm_sfence(); }

}  // namespace
}  // namespace lomix::engine

#if defined(__clang__)
#pragma clang attribute pop
#elif defined(__GNUC__)
#pragma GCC pop_options
#endif

namespace lomix::engine {

const SimdTarget* avx2Target() {
  static constexpr SimdTarget kTarget{"avx2", run8, run32, rowSums<Avx2>, finishStreaming};
  return processorHasAvx2() ? &kTarget : nullptr;
}

}  // namespace lomix::engine

#else

namespace lomix::engine {

const SimdTarget* avx2Target() { return nullptr; }

}  // namespace lomix::engine

#endif
