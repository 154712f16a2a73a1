// Operations on vectors of 256 bits. To be included below the target pragma of the file that uses
// them.
#pragma once

#include "engine/simd/Inline.h"
#include "hostapi/Records.h"

namespace lomix::engine {
namespace {

/// The operations that Scalar.h specifies, in AVX2 and FMA.
struct Avx2 {
  using Doubles = __m256d;
  using Singles = __m128;
  using Floats = __m256;
  using Ints = __m256i;
  using Channels = __m256;
  using DoubleMask = __m256d;
  using SingleMask = __m128;
  using IntMask = __m256i;
  static constexpr int kDoubles = 4;
  static constexpr int kFloats = 8;
  static constexpr int kPixels32 = 2;
  static constexpr int kGroup = 4;
  static constexpr bool kFused = true;
  static constexpr bool kByTable = false;
  static constexpr bool kEstimatesReciprocals = true;

  static LOMIX_INLINE Doubles doubles(double v) { return _mm256_set1_pd(v); }
  static LOMIX_INLINE Doubles add(Doubles a, Doubles b) { return _mm256_add_pd(a, b); }
  static LOMIX_INLINE Doubles sub(Doubles a, Doubles b) { return _mm256_sub_pd(a, b); }
  static LOMIX_INLINE Doubles mul(Doubles a, Doubles b) { return _mm256_mul_pd(a, b); }
  static LOMIX_INLINE Doubles div(Doubles a, Doubles b) { return _mm256_div_pd(a, b); }
  static LOMIX_INLINE Doubles fma(Doubles a, Doubles b, Doubles c) {
    return _mm256_fmadd_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles fnma(Doubles a, Doubles b, Doubles c) {
    return _mm256_fnmadd_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles exclusiveOr(Doubles a, Doubles b) { return _mm256_xor_pd(a, b); }
  static LOMIX_INLINE Doubles lowestAsSign(Doubles v) {
    return _mm256_castsi256_pd(_mm256_slli_epi64(_mm256_castpd_si256(v), 63));
  }
  static LOMIX_INLINE Doubles widen(Singles v) { return _mm256_cvtps_pd(v); }
  static LOMIX_INLINE Singles narrow(Doubles v) { return _mm256_cvtpd_ps(v); }
  static LOMIX_INLINE Doubles countedFrom(int first) {
    return _mm256_cvtepi32_pd(_mm_add_epi32(_mm_set1_epi32(first), _mm_setr_epi32(0, 1, 2, 3)));
  }
  static LOMIX_INLINE Doubles mulAdd(Doubles a, Doubles b, Doubles c) { return fma(a, b, c); }
  static LOMIX_INLINE DoubleMask bitsBelow(Doubles v, long long offset, long long mask,
                                           long long limit) {
    const __m256i bits =
        _mm256_and_si256(_mm256_add_epi64(_mm256_castpd_si256(v), _mm256_set1_epi64x(offset)),
                         _mm256_set1_epi64x(mask));
    return _mm256_castsi256_pd(_mm256_cmpgt_epi64(_mm256_set1_epi64x(limit), bits));
  }
  static LOMIX_INLINE DoubleMask nearZero(Doubles v, double limit) {
    const __m256d magnitude = _mm256_andnot_pd(_mm256_set1_pd(-0.0), v);
    return _mm256_cmp_pd(magnitude, _mm256_set1_pd(limit), _CMP_LT_OQ);
  }
  static LOMIX_INLINE DoubleMask below(Doubles a, Doubles b) {
    return _mm256_cmp_pd(a, b, _CMP_LT_OQ);
  }
  static LOMIX_INLINE Doubles selected(DoubleMask mask, Doubles a, Doubles b) {
    return _mm256_blendv_pd(b, a, mask);
  }
  static LOMIX_INLINE DoubleMask either(DoubleMask a, DoubleMask b) { return _mm256_or_pd(a, b); }
  template <typename Mask>
  static LOMIX_INLINE bool any(Mask mask) {
    return laneBits(mask) != 0;
  }
  static LOMIX_INLINE unsigned laneBits(DoubleMask mask) {
    return static_cast<unsigned>(_mm256_movemask_pd(mask));
  }

  static LOMIX_INLINE Singles singles(float v) { return _mm_set1_ps(v); }
  static LOMIX_INLINE Singles mul(Singles a, Singles b) { return _mm_mul_ps(a, b); }
  static LOMIX_INLINE Singles div(Singles a, Singles b) { return _mm_div_ps(a, b); }
  static LOMIX_INLINE Singles sub(Singles a, Singles b) { return _mm_sub_ps(a, b); }
  static LOMIX_INLINE Singles max(Singles a, Singles b) { return _mm_max_ps(a, b); }
  static LOMIX_INLINE Singles fma(Singles a, Singles b, Singles c) { return _mm_fmadd_ps(a, b, c); }
  static LOMIX_INLINE SingleMask noSingles() { return _mm_setzero_ps(); }
  static LOMIX_INLINE SingleMask differing(Singles a, Singles b) { return _mm_cmpneq_ps(a, b); }
  static LOMIX_INLINE SingleMask either(SingleMask a, SingleMask b) { return _mm_or_ps(a, b); }
  static LOMIX_INLINE unsigned laneBits(SingleMask mask) {
    return static_cast<unsigned>(_mm_movemask_ps(mask));
  }
  static LOMIX_INLINE void store(float* to, Singles v) { _mm_storeu_ps(to, v); }
  static LOMIX_INLINE Singles load(const float* from) { return _mm_loadu_ps(from); }

  static LOMIX_INLINE Floats floats(float v) { return _mm256_set1_ps(v); }
  static LOMIX_INLINE Floats add(Floats a, Floats b) { return _mm256_add_ps(a, b); }
  static LOMIX_INLINE Floats mul(Floats a, Floats b) { return _mm256_mul_ps(a, b); }
  static LOMIX_INLINE Floats sub(Floats a, Floats b) { return _mm256_sub_ps(a, b); }
  static LOMIX_INLINE Floats div(Floats a, Floats b) { return _mm256_div_ps(a, b); }
  static LOMIX_INLINE Floats max(Floats a, Floats b) { return _mm256_max_ps(a, b); }
  static LOMIX_INLINE Floats fma(Floats a, Floats b, Floats c) { return _mm256_fmadd_ps(a, b, c); }
  static LOMIX_INLINE Floats fnma(Floats a, Floats b, Floats c) {
    return _mm256_fnmadd_ps(a, b, c);
  }
  static LOMIX_INLINE Floats mulAdd(Floats a, Floats b, Floats c) { return fma(a, b, c); }
  static LOMIX_INLINE Floats remainder(Floats a, Floats b, Floats product) {
    return _mm256_fmsub_ps(a, b, product);
  }
  static LOMIX_INLINE Floats reciprocalEstimate(Floats v) { return _mm256_rcp_ps(v); }
  static LOMIX_INLINE Floats absolute(Floats v) {
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), v);
  }
  static LOMIX_INLINE Floats counted() { return _mm256_setr_ps(0, 1, 2, 3, 4, 5, 6, 7); }
  static LOMIX_INLINE Floats converted(Ints v) { return _mm256_cvtepi32_ps(v); }

  static LOMIX_INLINE Ints ints(std::uint32_t v) { return _mm256_set1_epi32(static_cast<int>(v)); }
  static LOMIX_INLINE Ints load(const std::uint32_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  }
  static LOMIX_INLINE Ints add(Ints a, Ints b) { return _mm256_add_epi32(a, b); }
  static LOMIX_INLINE Ints sub(Ints a, Ints b) { return _mm256_sub_epi32(a, b); }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedRight(Ints v) {
    return _mm256_srli_epi32(v, kBits);
  }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedLeft(Ints v) {
    return _mm256_slli_epi32(v, kBits);
  }
  static LOMIX_INLINE Ints truncated(Floats v) { return _mm256_cvttps_epi32(v); }
  static LOMIX_INLINE Ints truncated(const Doubles (&v)[2]) {
    return _mm256_set_m128i(_mm256_cvttpd_epi32(v[1]), _mm256_cvttpd_epi32(v[0]));
  }
  static LOMIX_INLINE Ints rounded(Floats v) { return _mm256_cvtps_epi32(v); }
  static LOMIX_INLINE IntMask differing(Ints a, Ints b) {
    return _mm256_xor_si256(_mm256_cmpeq_epi32(a, b), _mm256_set1_epi32(-1));
  }
  static LOMIX_INLINE unsigned laneBits(IntMask mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(mask)));
  }
  static LOMIX_INLINE void store(std::uint32_t* to, Ints v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v);
  }
  static LOMIX_INLINE Ints both(Ints a, Ints b) { return _mm256_and_si256(a, b); }
  static LOMIX_INLINE Ints either(Ints a, Ints b) { return _mm256_or_si256(a, b); }
  static LOMIX_INLINE Ints exclusiveOr(Ints a, Ints b) { return _mm256_xor_si256(a, b); }

  // Bytes.

  static LOMIX_INLINE Ints bytes(std::uint8_t v) { return _mm256_set1_epi8(static_cast<char>(v)); }
  static LOMIX_INLINE Ints repeated(const std::uint8_t* from) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
  }
  static LOMIX_INLINE Ints shuffled(Ints v, Ints control) {
    return _mm256_shuffle_epi8(v, control);
  }
  static LOMIX_INLINE Ints addBytes(Ints a, Ints b) { return _mm256_add_epi8(a, b); }
  static LOMIX_INLINE Ints subBytes(Ints a, Ints b) { return _mm256_sub_epi8(a, b); }
  static LOMIX_INLINE Ints addBytesSaturated(Ints a, Ints b) { return _mm256_adds_epu8(a, b); }
  static LOMIX_INLINE Ints subBytesSaturated(Ints a, Ints b) { return _mm256_subs_epu8(a, b); }
  static LOMIX_INLINE Ints equalBytes(Ints a, Ints b) { return _mm256_cmpeq_epi8(a, b); }
  static LOMIX_INLINE Ints byHighBits(Ints selector, Ints a, Ints b) {
    return _mm256_blendv_epi8(b, a, selector);
  }

  // Words.

  static LOMIX_INLINE Ints words(std::uint16_t v) {
    return _mm256_set1_epi16(static_cast<short>(v));
  }
  static LOMIX_INLINE Ints lowBytes(Ints v) {
    return _mm256_unpacklo_epi8(v, _mm256_setzero_si256());
  }
  static LOMIX_INLINE Ints highBytes(Ints v) {
    return _mm256_unpackhi_epi8(v, _mm256_setzero_si256());
  }
  static LOMIX_INLINE Ints lowBytesBy256(Ints v) {
    return _mm256_unpacklo_epi8(_mm256_setzero_si256(), v);
  }
  static LOMIX_INLINE Ints highBytesBy256(Ints v) {
    return _mm256_unpackhi_epi8(_mm256_setzero_si256(), v);
  }
  static LOMIX_INLINE Ints bytesOf(Ints low, Ints high) { return _mm256_packus_epi16(low, high); }
  static LOMIX_INLINE Ints saturatedBytesOf(Ints low, Ints high) { return bytesOf(low, high); }
  static LOMIX_INLINE Ints productsBy256(Ints a, Ints b) {
    return bytesOf(_mm256_srli_epi16(mulWords(lowBytes(a), lowBytes(b)), 8),
                   _mm256_srli_epi16(mulWords(highBytes(a), highBytes(b)), 8));
  }
  static LOMIX_INLINE Ints lowPairs(Ints a, Ints b) { return _mm256_unpacklo_epi16(a, b); }
  static LOMIX_INLINE Ints highPairs(Ints a, Ints b) { return _mm256_unpackhi_epi16(a, b); }
  static LOMIX_INLINE Ints wordsOf(Ints low, Ints high) { return _mm256_packus_epi32(low, high); }
  static LOMIX_INLINE Ints saturatedBytesOf(Ints a, Ints b, Ints c, Ints d) {
    return bytesOf(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
  }
  static LOMIX_INLINE Ints addWords(Ints a, Ints b) { return _mm256_add_epi16(a, b); }
  static LOMIX_INLINE Ints subWords(Ints a, Ints b) { return _mm256_sub_epi16(a, b); }
  static LOMIX_INLINE Ints mulWords(Ints a, Ints b) { return _mm256_mullo_epi16(a, b); }
  static LOMIX_INLINE Ints mulWordsHigh(Ints a, Ints b) { return _mm256_mulhi_epu16(a, b); }
  template <int kBits>
  static LOMIX_INLINE Ints wordsShiftedRightSigned(Ints v) {
    return _mm256_srai_epi16(v, kBits);
  }

  // 8-bit pixels.

  static LOMIX_INLINE Ints load(const PF_Pixel* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  }
  static LOMIX_INLINE Ints loadLanes(const PF_Pixel* from, int first, int end) {
    return _mm256_maskload_epi32(reinterpret_cast<const int*>(from), lanes(first, end));
  }
  static LOMIX_INLINE void store(PF_Pixel* to, Ints v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v);
  }
  static LOMIX_INLINE void storeFew(PF_Pixel* to, int count, Ints v) {
    _mm256_maskstore_epi32(reinterpret_cast<int*>(to), lanes(0, count), v);
  }
  static LOMIX_INLINE void stream(PF_Pixel* to, Ints v) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(to), v);
  }

  class AlphaBytes {
   public:
    explicit AlphaBytes(int channel)
        : bits_(0x11111111 << channel), bytes_(_mm256_set1_epi32(255 << 8 * channel)) {}
    LOMIX_INLINE bool allFull(Ints pixels) const {
      const __m256i full = _mm256_cmpeq_epi8(pixels, _mm256_set1_epi8(-1));
      return (_mm256_movemask_epi8(full) & bits_) == bits_;
    }
    LOMIX_INLINE Ints with(Ints alphas, Ints colours) const {
      return _mm256_or_si256(_mm256_andnot_si256(bytes_, colours), alphas);
    }

   private:
    int bits_;  // of a byte mask
    Ints bytes_;
  };

  // Float pixels.

  static LOMIX_INLINE Channels channels(float v) { return _mm256_set1_ps(v); }
  template <int kPart>
  static LOMIX_INLINE Channels eachPixel(Singles v) {
    constexpr int kFirst = kPart * kPixels32;
    return _mm256_permutevar8x32_ps(_mm256_castps128_ps256(v),
                                    _mm256_setr_epi32(kFirst, kFirst, kFirst, kFirst, kFirst + 1,
                                                      kFirst + 1, kFirst + 1, kFirst + 1));
  }
  template <typename Function>
  static LOMIX_INLINE Channels inDoubles(Channels a, Channels b, const Function& function) {
    const __m128 low = _mm256_cvtpd_ps(function(_mm256_cvtps_pd(_mm256_castps256_ps128(a)),
                                                _mm256_cvtps_pd(_mm256_castps256_ps128(b))));
    const __m128 high = _mm256_cvtpd_ps(function(_mm256_cvtps_pd(_mm256_extractf128_ps(a, 1)),
                                                 _mm256_cvtps_pd(_mm256_extractf128_ps(b, 1))));
    return _mm256_set_m128(high, low);
  }
  // max returns its second operand where neither is larger: -0.0 and NaN stay.
  static LOMIX_INLINE Channels notNegative(Channels v) {
    return _mm256_max_ps(_mm256_setzero_ps(), v);
  }
  static LOMIX_INLINE Channels zeroedBy(Channels factors, Channels v) {
    return _mm256_andnot_ps(_mm256_cmp_ps(factors, _mm256_setzero_ps(), _CMP_EQ_OQ), v);
  }
  static LOMIX_INLINE Channels load(const PF_PixelFloat* from) {
    return _mm256_loadu_ps(reinterpret_cast<const float*>(from));
  }
  static LOMIX_INLINE Channels loadLanes(const PF_PixelFloat* from, int first, int end) {
    return _mm256_maskload_ps(reinterpret_cast<const float*>(from), lanes(4 * first, 4 * end));
  }
  static LOMIX_INLINE Channels either(Channels a, Channels b) { return _mm256_or_ps(a, b); }
  static LOMIX_INLINE void store(PF_PixelFloat* to, Channels v) {
    _mm256_storeu_ps(reinterpret_cast<float*>(to), v);
  }
  static LOMIX_INLINE void storeFew(PF_PixelFloat* to, int count, Channels v) {
    _mm256_maskstore_ps(reinterpret_cast<float*>(to), lanes(0, 4 * count), v);
  }
  static LOMIX_INLINE void stream(PF_PixelFloat* to, Channels v) {
    _mm256_stream_ps(reinterpret_cast<float*>(to), v);
  }

  class AlphaChannels {
   public:
    explicit AlphaChannels(int channel)
        : lanes_(_mm256_castsi256_ps(_mm256_cmpeq_epi32(_mm256_setr_epi32(0, 1, 2, 3, 0, 1, 2, 3),
                                                        _mm256_set1_epi32(channel)))),
          spread_(_mm256_set1_epi32(channel)) {}
    LOMIX_INLINE bool allOne(Channels pixels) const {
      const __m256 ones = _mm256_cmp_ps(pixels, _mm256_set1_ps(1.0f), _CMP_EQ_OQ);
      return _mm256_testc_ps(ones, lanes_) != 0;
    }
    LOMIX_INLINE Channels spread(Channels pixels) const {
      return _mm256_permutevar_ps(pixels, spread_);
    }
    LOMIX_INLINE Channels with(Channels alphas, Channels colours) const {
      return _mm256_blendv_ps(colours, alphas, lanes_);
    }

   private:
    __m256 lanes_;  // all bits set in the alphas
    __m256i spread_;
  };

  // Memory.

  static LOMIX_INLINE void prefetch(const char* at) { _mm_prefetch(at, _MM_HINT_T1); }
  static void finishStreaming() { _mm_sfence(); }

 private:
  static LOMIX_INLINE __m256i lanes(int first, int end) {
    const __m256i each = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(first), each),
                               _mm256_cmpgt_epi32(_mm256_set1_epi32(end), each));
  }
};

}  // namespace
}  // namespace lomix::engine
