// Operations on vectors of 512 bits. To be included below the target pragma of the file that uses
// them.
#pragma once

#include "engine/simd/Inline.h"
#include "hostapi/Records.h"

namespace lomix::engine {
namespace {

/// The operations that Scalar.h specifies, in AVX-512 with byte permutations.
struct Avx512 {
  using Doubles = __m512d;
  using Singles = __m256;
  using Floats = __m512;
  using Ints = __m512i;
  using Channels = __m512;
  using DoubleMask = __mmask8;
  using SingleMask = __mmask8;
  using IntMask = __mmask16;
  static constexpr int kDoubles = 8;
  static constexpr int kFloats = 16;
  static constexpr int kPixels32 = 4;
  static constexpr int kGroup = 4;
  static constexpr bool kFused = true;
  static constexpr bool kByTable = true;
  static constexpr bool kEstimatesReciprocals = true;

  static LOMIX_INLINE Doubles doubles(double v) { return _mm512_set1_pd(v); }
  static LOMIX_INLINE Doubles add(Doubles a, Doubles b) { return _mm512_add_pd(a, b); }
  static LOMIX_INLINE Doubles sub(Doubles a, Doubles b) { return _mm512_sub_pd(a, b); }
  static LOMIX_INLINE Doubles mul(Doubles a, Doubles b) { return _mm512_mul_pd(a, b); }
  static LOMIX_INLINE Doubles div(Doubles a, Doubles b) { return _mm512_div_pd(a, b); }
  static LOMIX_INLINE Doubles fma(Doubles a, Doubles b, Doubles c) {
    return _mm512_fmadd_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles fnma(Doubles a, Doubles b, Doubles c) {
    return _mm512_fnmadd_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles exclusiveOr(Doubles a, Doubles b) { return _mm512_xor_pd(a, b); }
  static LOMIX_INLINE Doubles lowestAsSign(Doubles v) {
    return _mm512_castsi512_pd(_mm512_slli_epi64(_mm512_castpd_si512(v), 63));
  }
  static LOMIX_INLINE Doubles widen(Singles v) { return _mm512_cvtps_pd(v); }
  static LOMIX_INLINE Singles narrow(Doubles v) { return _mm512_cvtpd_ps(v); }
  static LOMIX_INLINE Doubles countedFrom(int first) {
    return _mm512_cvtepi32_pd(
        _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
  }
  static LOMIX_INLINE Doubles mulAdd(Doubles a, Doubles b, Doubles c) { return fma(a, b, c); }
  static LOMIX_INLINE DoubleMask bitsBelow(Doubles v, long long offset, long long mask,
                                           long long limit) {
    const __m512i bits =
        _mm512_and_si512(_mm512_add_epi64(_mm512_castpd_si512(v), _mm512_set1_epi64(offset)),
                         _mm512_set1_epi64(mask));
    return _mm512_cmplt_epu64_mask(bits, _mm512_set1_epi64(limit));
  }
  static LOMIX_INLINE DoubleMask nearZero(Doubles v, double limit) {
    return _mm512_cmp_pd_mask(_mm512_abs_pd(v), _mm512_set1_pd(limit), _CMP_LT_OQ);
  }
  static LOMIX_INLINE DoubleMask below(Doubles a, Doubles b) {
    return _mm512_cmp_pd_mask(a, b, _CMP_LT_OQ);
  }
  static LOMIX_INLINE Doubles selected(DoubleMask mask, Doubles a, Doubles b) {
    return _mm512_mask_mov_pd(b, mask, a);
  }
  static LOMIX_INLINE DoubleMask either(DoubleMask a, DoubleMask b) {
    return static_cast<DoubleMask>(a | b);
  }
  static LOMIX_INLINE bool any(unsigned mask) { return mask != 0; }
  static LOMIX_INLINE unsigned laneBits(unsigned mask) { return mask; }

  static LOMIX_INLINE Singles singles(float v) { return _mm256_set1_ps(v); }
  static LOMIX_INLINE Singles mul(Singles a, Singles b) { return _mm256_mul_ps(a, b); }
  static LOMIX_INLINE Singles div(Singles a, Singles b) { return _mm256_div_ps(a, b); }
  static LOMIX_INLINE Singles sub(Singles a, Singles b) { return _mm256_sub_ps(a, b); }
  static LOMIX_INLINE Singles max(Singles a, Singles b) { return _mm256_max_ps(a, b); }
  static LOMIX_INLINE Singles fma(Singles a, Singles b, Singles c) {
    return _mm256_fmadd_ps(a, b, c);
  }
  static LOMIX_INLINE SingleMask noSingles() { return 0; }
  static LOMIX_INLINE SingleMask differing(Singles a, Singles b) {
    return _mm256_cmp_ps_mask(a, b, _CMP_NEQ_UQ);
  }
  static LOMIX_INLINE void store(float* to, Singles v) { _mm256_storeu_ps(to, v); }
  static LOMIX_INLINE Singles load(const float* from) { return _mm256_loadu_ps(from); }

  static LOMIX_INLINE Floats floats(float v) { return _mm512_set1_ps(v); }
  static LOMIX_INLINE Floats add(Floats a, Floats b) { return _mm512_add_ps(a, b); }
  static LOMIX_INLINE Floats mul(Floats a, Floats b) { return _mm512_mul_ps(a, b); }
  static LOMIX_INLINE Floats sub(Floats a, Floats b) { return _mm512_sub_ps(a, b); }
  static LOMIX_INLINE Floats div(Floats a, Floats b) { return _mm512_div_ps(a, b); }
  static LOMIX_INLINE Floats max(Floats a, Floats b) { return _mm512_max_ps(a, b); }
  static LOMIX_INLINE Floats fma(Floats a, Floats b, Floats c) { return _mm512_fmadd_ps(a, b, c); }
  static LOMIX_INLINE Floats fnma(Floats a, Floats b, Floats c) {
    return _mm512_fnmadd_ps(a, b, c);
  }
  static LOMIX_INLINE Floats mulAdd(Floats a, Floats b, Floats c) { return fma(a, b, c); }
  static LOMIX_INLINE Floats remainder(Floats a, Floats b, Floats product) {
    return _mm512_fmsub_ps(a, b, product);
  }
  static LOMIX_INLINE Floats reciprocalEstimate(Floats v) { return _mm512_rcp14_ps(v); }
  static LOMIX_INLINE Floats absolute(Floats v) { return _mm512_abs_ps(v); }
  static LOMIX_INLINE Floats counted() {
    return _mm512_setr_ps(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  }
  static LOMIX_INLINE Floats converted(Ints v) { return _mm512_cvtepi32_ps(v); }

  static LOMIX_INLINE Ints ints(std::uint32_t v) { return _mm512_set1_epi32(static_cast<int>(v)); }
  static LOMIX_INLINE Ints load(const std::uint32_t* from) { return _mm512_loadu_si512(from); }
  static LOMIX_INLINE Ints add(Ints a, Ints b) { return _mm512_add_epi32(a, b); }
  static LOMIX_INLINE Ints sub(Ints a, Ints b) { return _mm512_sub_epi32(a, b); }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedRight(Ints v) {
    return _mm512_srli_epi32(v, kBits);
  }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedLeft(Ints v) {
    return _mm512_slli_epi32(v, kBits);
  }
  static LOMIX_INLINE Ints truncated(Floats v) { return _mm512_cvttps_epi32(v); }
  static LOMIX_INLINE Ints truncated(const Doubles (&v)[2]) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epi32(v[0])),
                              _mm512_cvttpd_epi32(v[1]), 1);
  }
  static LOMIX_INLINE Ints rounded(Floats v) { return _mm512_cvtps_epi32(v); }
  static LOMIX_INLINE IntMask differing(Ints a, Ints b) { return _mm512_cmpneq_epi32_mask(a, b); }
  static LOMIX_INLINE void store(std::uint32_t* to, Ints v) { _mm512_storeu_si512(to, v); }
  static LOMIX_INLINE Ints either(Ints a, Ints b) { return _mm512_or_si512(a, b); }

  // Bytes.

  static LOMIX_INLINE Ints bytes(std::uint8_t v) { return _mm512_set1_epi8(static_cast<char>(v)); }
  static LOMIX_INLINE Ints loadBytes(const std::uint8_t* from) { return _mm512_loadu_si512(from); }
  static LOMIX_INLINE void storeBytes(std::uint8_t* to, Ints v) { _mm512_storeu_si512(to, v); }
  static LOMIX_INLINE Ints repeated(const std::uint8_t* from) {
    return _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
  }
  static LOMIX_INLINE Ints shuffled(Ints v, Ints control) {
    return _mm512_shuffle_epi8(v, control);
  }
  static LOMIX_INLINE Ints addBytes(Ints a, Ints b) { return _mm512_add_epi8(a, b); }
  static LOMIX_INLINE Ints subBytes(Ints a, Ints b) { return _mm512_sub_epi8(a, b); }
  static LOMIX_INLINE Ints subBytesSaturated(Ints a, Ints b) { return _mm512_subs_epu8(a, b); }
  static LOMIX_INLINE Ints lessWhereBelow(Ints v, Ints limits) {
    return _mm512_add_epi8(v, _mm512_movm_epi8(_mm512_cmplt_epu8_mask(v, limits)));
  }

  class Table {
   public:
    explicit Table(const std::uint8_t* bytes)
        : quarters_{_mm512_loadu_si512(bytes), _mm512_loadu_si512(bytes + 64),
                    _mm512_loadu_si512(bytes + 128), _mm512_loadu_si512(bytes + 192)} {}
    LOMIX_INLINE Ints operator()(Ints bytes) const {
      const __m512i lower = _mm512_permutex2var_epi8(quarters_[0], bytes, quarters_[1]);
      const __m512i upper = _mm512_permutex2var_epi8(quarters_[2], bytes, quarters_[3]);
      return _mm512_mask_mov_epi8(lower, _mm512_movepi8_mask(bytes), upper);
    }

   private:
    __m512i quarters_[4];
  };

  // Words.

  static LOMIX_INLINE Ints words(std::uint16_t v) {
    return _mm512_set1_epi16(static_cast<short>(v));
  }
  static LOMIX_INLINE Ints lowBytes(Ints v) {
    return _mm512_unpacklo_epi8(v, _mm512_setzero_si512());
  }
  static LOMIX_INLINE Ints highBytes(Ints v) {
    return _mm512_unpackhi_epi8(v, _mm512_setzero_si512());
  }
  static LOMIX_INLINE Ints bytesOf(Ints low, Ints high) { return _mm512_packus_epi16(low, high); }
  static LOMIX_INLINE Ints productsBy256(Ints a, Ints b) {
    return bytesOf(_mm512_srli_epi16(mulWords(lowBytes(a), lowBytes(b)), 8),
                   _mm512_srli_epi16(mulWords(highBytes(a), highBytes(b)), 8));
  }
  static LOMIX_INLINE Ints lowPairs(Ints a, Ints b) { return _mm512_unpacklo_epi16(a, b); }
  static LOMIX_INLINE Ints highPairs(Ints a, Ints b) { return _mm512_unpackhi_epi16(a, b); }
  static LOMIX_INLINE Ints wordsOf(Ints low, Ints high) { return _mm512_packus_epi32(low, high); }
  static LOMIX_INLINE Ints saturatedBytesOf(Ints a, Ints b, Ints c, Ints d) {
    return bytesOf(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
  }
  static LOMIX_INLINE Ints subWords(Ints a, Ints b) { return _mm512_sub_epi16(a, b); }
  static LOMIX_INLINE Ints mulWords(Ints a, Ints b) { return _mm512_mullo_epi16(a, b); }

  // 8-bit pixels.

  static LOMIX_INLINE Ints load(const PF_Pixel* from) { return _mm512_loadu_si512(from); }
  static LOMIX_INLINE Ints loadLanes(const PF_Pixel* from, int first, int end) {
    return _mm512_maskz_loadu_epi32(lanes(first, end), from);
  }
  static LOMIX_INLINE void store(PF_Pixel* to, Ints v) { _mm512_storeu_si512(to, v); }
  static LOMIX_INLINE void storeFew(PF_Pixel* to, int count, Ints v) {
    _mm512_mask_storeu_epi32(to, lanes(0, count), v);
  }
  static LOMIX_INLINE void stream(PF_Pixel* to, Ints v) {
    _mm512_stream_si512(reinterpret_cast<__m512i*>(to), v);
  }

  class AlphaBytes {
   public:
    explicit AlphaBytes(int channel) : bytes_(0x1111111111111111u << channel) {}
    LOMIX_INLINE bool allFull(Ints pixels) const {
      return _mm512_mask_cmpneq_epi8_mask(bytes_, pixels, _mm512_set1_epi8(-1)) == 0;
    }
    LOMIX_INLINE Ints with(Ints alphas, Ints colours) const {
      return _mm512_mask_mov_epi8(colours, bytes_, alphas);
    }

   private:
    __mmask64 bytes_;
  };

  // Float pixels.

  static LOMIX_INLINE Channels channels(float v) { return _mm512_set1_ps(v); }
  template <int kPart>
  static LOMIX_INLINE Channels eachPixel(Singles v) {
    const __m512i each = _mm512_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3);
    return _mm512_permutexvar_ps(_mm512_add_epi32(each, _mm512_set1_epi32(kPart * kPixels32)),
                                 _mm512_castps256_ps512(v));
  }
  template <typename Function>
  static LOMIX_INLINE Channels inDoubles(Channels a, Channels b, const Function& function) {
    const __m256 low = _mm512_cvtpd_ps(function(_mm512_cvtps_pd(_mm512_castps512_ps256(a)),
                                                _mm512_cvtps_pd(_mm512_castps512_ps256(b))));
    const __m256 high = _mm512_cvtpd_ps(function(_mm512_cvtps_pd(_mm512_extractf32x8_ps(a, 1)),
                                                 _mm512_cvtps_pd(_mm512_extractf32x8_ps(b, 1))));
    return _mm512_insertf32x8(_mm512_castps256_ps512(low), high, 1);
  }
  // max returns its second operand where neither is larger: -0.0 and NaN stay.
  static LOMIX_INLINE Channels notNegative(Channels v) {
    return _mm512_max_ps(_mm512_setzero_ps(), v);
  }
  static LOMIX_INLINE Channels zeroedBy(Channels factors, Channels v) {
    return _mm512_maskz_mov_ps(_mm512_cmp_ps_mask(factors, _mm512_setzero_ps(), _CMP_NEQ_UQ), v);
  }
  static LOMIX_INLINE Channels load(const PF_PixelFloat* from) { return _mm512_loadu_ps(from); }
  static LOMIX_INLINE Channels loadLanes(const PF_PixelFloat* from, int first, int end) {
    return _mm512_maskz_loadu_ps(lanes(4 * first, 4 * end), from);
  }
  static LOMIX_INLINE Channels either(Channels a, Channels b) { return _mm512_or_ps(a, b); }
  static LOMIX_INLINE void store(PF_PixelFloat* to, Channels v) { _mm512_storeu_ps(to, v); }
  static LOMIX_INLINE void storeFew(PF_PixelFloat* to, int count, Channels v) {
    _mm512_mask_storeu_ps(to, lanes(0, 4 * count), v);
  }
  static LOMIX_INLINE void stream(PF_PixelFloat* to, Channels v) {
    _mm512_stream_ps(reinterpret_cast<float*>(to), v);
  }

  class AlphaChannels {
   public:
    explicit AlphaChannels(int channel)
        : lanes_(static_cast<__mmask16>(0x1111 << channel)), spread_(_mm512_set1_epi32(channel)) {}
    LOMIX_INLINE bool allOne(Channels pixels) const {
      return _mm512_mask_cmp_ps_mask(lanes_, pixels, _mm512_set1_ps(1.0f), _CMP_NEQ_UQ) == 0;
    }
    LOMIX_INLINE Channels spread(Channels pixels) const {
      return _mm512_permutevar_ps(pixels, spread_);
    }
    LOMIX_INLINE Channels with(Channels alphas, Channels colours) const {
      return _mm512_mask_mov_ps(colours, lanes_, alphas);
    }

   private:
    __mmask16 lanes_;
    __m512i spread_;
  };

  // Memory.

  static LOMIX_INLINE void prefetch(const char* at) { _mm_prefetch(at, _MM_HINT_T1); }
  static void finishStreaming() { _mm_sfence(); }

 private:
  static LOMIX_INLINE __mmask16 lanes(int first, int end) {
    return static_cast<__mmask16>((1u << end) - (1u << first));
  }
};

}  // namespace
}  // namespace lomix::engine
