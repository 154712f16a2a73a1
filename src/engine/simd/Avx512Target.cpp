// The SIMD target for x86-64 processors with AVX-512 and byte permutations. Every x86-64 build
// contains it; the target pragma below lets it use these instructions, and it is chosen at run
// time.

#include "engine/SimdTarget.h"

#if defined(__x86_64__) || defined(_M_X64)

// GCC 12's header leaves vectors uninitialised where their value does not matter, and GCC warns
// about that in every function that uses them.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

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
#pragma clang attribute push(                                                          \
    __attribute__((target("avx2,fma,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi"))), \
    apply_to = function)
#elif defined(__GNUC__)
#pragma GCC push_options
#pragma GCC target("avx2,fma,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi")
#endif

#include "engine/simd/Avx512.h"
#include "engine/simd/Pixels8.h"
#include "engine/simd/RowSums.h"
#include "engine/simd/Runs.h"

namespace lomix::engine {
namespace {

// 8-bit pixels.

// A look-up table of 256 bytes in registers.
class TableVector {
 public:
  explicit TableVector(const ByteTable& table)
      : quarters_{_mm512_loadu_si512(table.data()), _mm512_loadu_si512(table.data() + 64),
                  _mm512_loadu_si512(table.data() + 128), _mm512_loadu_si512(table.data() + 192)} {}
  // Returns the table of a function of bytes.
  template <typename Function>
  static TableVector of(const Function& function) {
    TableVector table(kIdentityTable);
    for (__m512i& quarter : table.quarters_) quarter = function(quarter);
    return table;
  }

  LOMIX_INLINE __m512i operator()(__m512i bytes) const {
    const __m512i lower = _mm512_permutex2var_epi8(quarters_[0], bytes, quarters_[1]);
    const __m512i upper = _mm512_permutex2var_epi8(quarters_[2], bytes, quarters_[3]);
    return _mm512_mask_mov_epi8(lower, _mm512_movepi8_mask(bytes), upper);
  }

 private:
  __m512i quarters_[4];
};

// 255 * v >> 8 is v - 1, or 0 for 0.
LOMIX_INLINE __m512i premultipliedOpaque(__m512i colours) {
  return _mm512_subs_epu8(colours, _mm512_set1_epi8(1));
}

// Map the colours of opaque pixels to final colours. Overlaid: bars or scanlines, no grain.
// Untouched: no overlay. Grained: grain, with or without the others.
struct Overlaid {
  TableVector colours;
  explicit Overlaid(const Row8& row)
      : colours(TableVector::of([&row](__m512i bytes) {
          const TableVector map(row.colourMap->table());
          return TableVector(*row.finish)(map(premultipliedOpaque(bytes)));
        })) {}
  LOMIX_INLINE __m512i operator()(__m512i source, NoGrain) const { return colours(source); }
};
struct Untouched {
  explicit Untouched(const Row8&) {}
  LOMIX_INLINE __m512i operator()(__m512i source, NoGrain) const {
    return premultipliedOpaque(source);
  }
};
struct Grained {
  TableVector colours;
  TableVector finish;
  explicit Grained(const Row8& row)
      : colours(TableVector::of([&row](__m512i bytes) {
          return TableVector(row.colourMap->table())(premultipliedOpaque(bytes));
        })),
        finish(*row.finish) {}
  LOMIX_INLINE __m512i operator()(__m512i source, __m512i grain) const {
    return finish(_mm512_add_epi8(colours(source), grain));
  }
};

// The blend of effect and original: by look-up tables where they are exact, else computed.
class Blend {
 public:
  explicit Blend(const Row8& row)
      : byTable_(row.blendMap != nullptr),
        formula_(row.effectAmount),
        rise_(byTable_ ? row.blendMap->rise() : kIdentityTable),
        fall_(byTable_ ? row.blendMap->fall() : kIdentityTable),
        limit_(byTable_ ? row.blendMap->limit() : kIdentityTable),
        limitsRise_(byTable_ && row.blendMap->limitsRise()),
        limitsFall_(byTable_ && row.blendMap->limitsFall()) {}

  LOMIX_INLINE __m512i operator()(__m512i original, __m512i effect) const {
    return byTable_ ? lookedUp(original, effect) : formula_(original, effect);
  }

 private:
  LOMIX_INLINE __m512i lookedUp(__m512i original, __m512i effect) const {
    const __m512i above = _mm512_subs_epu8(effect, original);
    const __m512i below = _mm512_subs_epu8(original, effect);
    // One of the two distances is 0, whose tables hold 0.
    const __m512i result = _mm512_sub_epi8(_mm512_add_epi8(original, rise_(above)), fall_(below));
    if (limitsFall_) return limited(result, limit_(below));
    if (limitsRise_) return limited(result, limit_(above));
    return result;
  }
  static LOMIX_INLINE __m512i limited(__m512i result, __m512i limit) {
    const __m512i minusOne = _mm512_movm_epi8(_mm512_cmplt_epu8_mask(result, limit));
    return _mm512_add_epi8(result, minusOne);
  }

  bool byTable_;
  FormulaBlend<Avx512> formula_;
  TableVector rise_, fall_, limit_;
  bool limitsRise_, limitsFall_;
};

// Computes sixteen output pixels of a row from sixteen source pixels. Opaque: Overlaid, Untouched
// or Grained.
template <typename Opaque>
class Pipeline8 {
 public:
  explicit Pipeline8(const Row8& row) : Pipeline8(row, pixelShuffles(row.alphaPlace)) {}

  // grain: the overlay's levels as integers, where kGrain.
  LOMIX_INLINE __m512i operator()(__m512i source, const auto& grain) const {
    const __mmask64 translucent =
        _mm512_mask_cmpneq_epi8_mask(alphaBytes_, source, _mm512_set1_epi8(-1));
    if (translucent == 0) {
      return _mm512_mask_mov_epi8(opaque_(source, overlay(grain)), alphaBytes_, opaqueAlpha_);
    }
    __m512i colours = premultiply_(source);
    if constexpr (kOverlaid) colours = colours_(colours);
    if constexpr (kGrain) colours = _mm512_add_epi8(colours, overlay(grain));
    if (darkAfterGrain_) colours = productsBy256<Avx512>(colours, darkLeft_, darkLeft_);
    return unmultiply_(colours, source);
  }

  LOMIX_INLINE __m512i blended(__m512i original, __m512i effect) const {
    return blend_(original, effect);
  }

 private:
  static constexpr bool kGrain = std::is_same_v<Opaque, Grained>;
  static constexpr bool kOverlaid = !std::is_same_v<Opaque, Untouched>;

  Pipeline8(const Row8& row, const PixelShuffles& shuffles)
      : opaque_(row),
        alphaBytes_(row.alphaPlace == AlphaPlace::First ? 0x1111111111111111u
                                                        : 0x8888888888888888u),
        opaqueAlpha_(_mm512_set1_epi8(static_cast<char>(row.opaqueAlpha))),
        colours_(kOverlaid ? row.colourMap->table() : kIdentityTable),
        darkAfterGrain_(kGrain && row.dark),
        darkLeft_(_mm512_set1_epi16(static_cast<short>(255 - row.darkPixel.alpha))),
        greys_(Avx512::repeated(shuffles.greys)),
        premultiply_(shuffles),
        unmultiply_(row, kGrain, shuffles),
        blend_(row) {}

  LOMIX_INLINE auto overlay(const auto& grain) const {
    if constexpr (kGrain) {
      return _mm512_shuffle_epi8(grain, greys_);
    } else {
      return grain;
    }
  }

  Opaque opaque_;
  __mmask64 alphaBytes_;
  __m512i opaqueAlpha_;
  TableVector colours_;  // of premultiplied bytes
  bool darkAfterGrain_;
  __m512i darkLeft_;
  __m512i greys_;
  Premultiply<Avx512> premultiply_;
  Unmultiply<Avx512> unmultiply_;
  Blend blend_;
};

void run8(const Row8& row, const Run<PF_Pixel>& run) {
  if (row.grain && !row.grainRow.reducible) return portableTarget().run8(row, run);
  // A row with grain always has a map: the weight that grain leaves of the picture.
  if (row.colourMap == nullptr) return run8By<Avx512, false>(row, run, Pipeline8<Untouched>(row));
  if (row.grain) return run8By<Avx512, true>(row, run, Pipeline8<Grained>(row));
  run8By<Avx512, false>(row, run, Pipeline8<Overlaid>(row));
}

// Float pixels.

// Computes four output pixels of a row from four source pixels. The place of alpha is in mask
// registers, which cost nothing over constants.
template <bool kBars, bool kGrain, bool kDark>
class Pipeline32 {
 public:
  explicit Pipeline32(const Row32& row)
      : alphaLanes_(row.alphaPlace == AlphaPlace::First ? 0x1111 : 0x8888),
        colourLanes_(row.alphaPlace == AlphaPlace::First ? 0xEEEE : 0x7777),
        alphaChannel_(_mm512_set1_epi32(row.alphaPlace == AlphaPlace::First ? 0 : 3)),
        barsAlpha_(_mm512_set1_ps(row.barsPixel.alpha)),
        barsLeft_(_mm512_set1_ps(1.0f - row.barsPixel.alpha)),
        wideBarsAlpha_(_mm512_set1_pd(row.barsPixel.alpha)),
        twiceBars_(_mm512_set1_pd(static_cast<double>(row.barsPixel.red) + row.barsPixel.red)),
        twiceRest_(_mm512_set1_pd(2.0 * (1.0 - static_cast<double>(row.barsPixel.red)))),
        grainAmount_(_mm512_set1_ps(row.grainRow.amount)),
        grainLeft_(_mm512_set1_ps(1.0f - row.grainRow.amount)),
        darkPixel_(_mm512_mask_mov_ps(_mm512_set1_ps(row.darkPixel.red), alphaLanes_,
                                      _mm512_set1_ps(row.darkPixel.alpha))),
        darkLeft_(_mm512_set1_ps(1.0f - row.darkPixel.alpha)),
        effectAmount_(_mm512_set1_ps(row.effectAmount)) {}

  // grain: each pixel's level in all its lanes, where kGrain.
  LOMIX_INLINE __m512 operator()(__m512 source, const auto& grain) const {
    __m512 pixels = source;
    // 1 * v and v / 1 are v: opaque pixels need no premultiply, and pixels that stay opaque no
    // unmultiply.
    if (translucent(source)) {
      const __m512 alpha = alphaOf(source);
      pixels = visible(alpha, _mm512_mask_mul_ps(source, colourLanes_, alpha, source));
    } else if constexpr (!kBars && !kGrain && !kDark) {
      return source;
    }
    if constexpr (kBars) pixels = hardLight(pixels);
    if constexpr (kGrain) {
      const __m512 overlay = _mm512_mask_mov_ps(grain, alphaLanes_, grainAmount_);
      pixels = _mm512_add_ps(_mm512_mul_ps(grainLeft_, pixels), overlay);
    }
    if constexpr (kDark) pixels = _mm512_add_ps(_mm512_mul_ps(darkLeft_, pixels), darkPixel_);
    if (!translucent(pixels)) return pixels;
    const __m512 alpha = alphaOf(pixels);
    return visible(alpha, _mm512_mask_div_ps(pixels, colourLanes_, pixels, alpha));
  }

  LOMIX_INLINE __m512 blended(__m512 original, __m512 effect) const {
    return _mm512_fmadd_ps(effectAmount_, _mm512_sub_ps(effect, original), original);
  }

 private:
  LOMIX_INLINE bool translucent(__m512 pixels) const {
    return _mm512_mask_cmp_ps_mask(alphaLanes_, pixels, _mm512_set1_ps(1.0f), _CMP_NEQ_UQ) != 0;
  }
  // Returns each pixel's alpha in all its lanes.
  LOMIX_INLINE __m512 alphaOf(__m512 pixels) const {
    return _mm512_permutevar_ps(pixels, alphaChannel_);
  }
  // Returns the pixels with colours 0 where alpha is 0.
  LOMIX_INLINE __m512 visible(__m512 alpha, __m512 pixels) const {
    const __mmask16 transparent =
        _mm512_mask_cmp_ps_mask(colourLanes_, alpha, _mm512_setzero_ps(), _CMP_EQ_OQ);
    return _mm512_mask_mov_ps(pixels, transparent, _mm512_setzero_ps());
  }

  LOMIX_INLINE __m512 hardLight(__m512 pixels) const {
    const __m512 left = _mm512_mul_ps(barsLeft_, pixels);
    const __m256 lower =
        hardLightColours(_mm512_castps512_ps256(pixels), _mm512_castps512_ps256(left));
    const __m256 upper =
        hardLightColours(_mm512_extractf32x8_ps(pixels, 1), _mm512_extractf32x8_ps(left, 1));
    const __m512 colours = _mm512_insertf32x8(_mm512_castps256_ps512(lower), upper, 1);
    // max returns its second operand where neither is larger: -0.0 and NaN stay.
    const __m512 notNegative = _mm512_max_ps(_mm512_setzero_ps(), colours);
    return _mm512_mask_add_ps(notNegative, alphaLanes_, left, barsAlpha_);
  }

  LOMIX_INLINE __m256 hardLightColours(__m256 pixel, __m256 left) const {
    const __m512d one = _mm512_set1_pd(1.0);
    const __m512d d = _mm512_cvtps_pd(pixel);
    const __m512d screened = _mm512_sub_pd(one, _mm512_mul_pd(twiceRest_, _mm512_sub_pd(one, d)));
    const __mmask8 below = _mm512_cmp_pd_mask(d, _mm512_set1_pd(0.5), _CMP_LT_OQ);
    const __m512d h = _mm512_mask_mul_pd(screened, below, twiceBars_, d);
    return _mm512_cvtpd_ps(_mm512_add_pd(_mm512_mul_pd(h, wideBarsAlpha_), _mm512_cvtps_pd(left)));
  }

  __mmask16 alphaLanes_, colourLanes_;
  __m512i alphaChannel_;
  __m512 barsAlpha_, barsLeft_;
  __m512d wideBarsAlpha_, twiceBars_, twiceRest_;
  __m512 grainAmount_, grainLeft_;
  __m512 darkPixel_, darkLeft_;
  __m512 effectAmount_;
};

void finishStreaming() { _mm_sfence(); }

}  // namespace
}  // namespace lomix::engine

#if defined(__clang__)
#pragma clang attribute pop
#elif defined(__GNUC__)
#pragma GCC pop_options
#endif

namespace lomix::engine {

const SimdTarget* avx512Target() {
  static constexpr SimdTarget kTarget{
      "avx512", run8, run32By<Avx512, Pipeline32>, rowSums<Avx512>, finishStreaming, true};
  return processorHasAvx512() ? &kTarget : nullptr;
}

}  // namespace lomix::engine

#else

namespace lomix::engine {

const SimdTarget* avx512Target() { return nullptr; }

}  // namespace lomix::engine

#endif
