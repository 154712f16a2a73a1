// Operations on vectors of 256 bits. To be included below the target pragma of the file that uses
// them.
#pragma once

#include "engine/simd/Inline.h"
#include "hostapi/Records.h"

namespace lomix::engine {
namespace {

/// The operations that the code for any vector width is written in; Avx512 has the same ones.
/// Doubles and Singles have the same number of lanes, Floats and Ints twice as many.
struct Avx2 {
  using Doubles = __m256d;
  using Singles = __m128;
  using Floats = __m256;
  using Ints = __m256i;
  static constexpr int kDoubles = 4;
  static constexpr int kFloats = 8;

  static LOMIX_INLINE Doubles doubles(double v) { return _mm256_set1_pd(v); }
  static LOMIX_INLINE Doubles add(Doubles a, Doubles b) { return _mm256_add_pd(a, b); }
  static LOMIX_INLINE Doubles sub(Doubles a, Doubles b) { return _mm256_sub_pd(a, b); }
  static LOMIX_INLINE Doubles mul(Doubles a, Doubles b) { return _mm256_mul_pd(a, b); }
  static LOMIX_INLINE Doubles div(Doubles a, Doubles b) { return _mm256_div_pd(a, b); }
  /// Return a * b + c, a * b - c and c - a * b, each rounded once.
  static LOMIX_INLINE Doubles fma(Doubles a, Doubles b, Doubles c) {
    return _mm256_fmadd_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles fms(Doubles a, Doubles b, Doubles c) {
    return _mm256_fmsub_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles fnma(Doubles a, Doubles b, Doubles c) {
    return _mm256_fnmadd_pd(a, b, c);
  }
  static LOMIX_INLINE Doubles exclusiveOr(Doubles a, Doubles b) { return _mm256_xor_pd(a, b); }
  /// Returns the lowest bit of each lane as the lane's sign bit, all other bits 0.
  static LOMIX_INLINE Doubles lowestAsSign(Doubles v) {
    return _mm256_castsi256_pd(_mm256_slli_epi64(_mm256_castpd_si256(v), 63));
  }
  static LOMIX_INLINE Doubles widen(Singles v) { return _mm256_cvtps_pd(v); }
  static LOMIX_INLINE Singles narrow(Doubles v) { return _mm256_cvtpd_ps(v); }
  /// Returns first, first + 1, ...
  static LOMIX_INLINE Doubles countedFrom(int first) {
    return _mm256_cvtepi32_pd(_mm_add_epi32(_mm_set1_epi32(first), _mm_setr_epi32(0, 1, 2, 3)));
  }
  /// Returns a mask of the lanes with ((bits + offset) & mask) < limit, as integers.
  static LOMIX_INLINE unsigned bitsBelow(Doubles v, long long offset, long long mask,
                                         long long limit) {
    const __m256i bits =
        _mm256_and_si256(_mm256_add_epi64(_mm256_castpd_si256(v), _mm256_set1_epi64x(offset)),
                         _mm256_set1_epi64x(mask));
    const __m256i below = _mm256_cmpgt_epi64(_mm256_set1_epi64x(limit), bits);
    return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(below)));
  }
  /// Returns a mask of the lanes whose magnitude is below the limit.
  static LOMIX_INLINE unsigned nearZero(Doubles v, double limit) {
    const __m256d magnitude = _mm256_andnot_pd(_mm256_set1_pd(-0.0), v);
    return static_cast<unsigned>(
        _mm256_movemask_pd(_mm256_cmp_pd(magnitude, _mm256_set1_pd(limit), _CMP_LT_OQ)));
  }

  static LOMIX_INLINE Singles singles(float v) { return _mm_set1_ps(v); }
  static LOMIX_INLINE Singles mul(Singles a, Singles b) { return _mm_mul_ps(a, b); }
  static LOMIX_INLINE Singles div(Singles a, Singles b) { return _mm_div_ps(a, b); }
  static LOMIX_INLINE Singles sub(Singles a, Singles b) { return _mm_sub_ps(a, b); }
  static LOMIX_INLINE Singles max(Singles a, Singles b) { return _mm_max_ps(a, b); }
  static LOMIX_INLINE Singles fma(Singles a, Singles b, Singles c) { return _mm_fmadd_ps(a, b, c); }
  static LOMIX_INLINE unsigned differing(Singles a, Singles b) {
    return static_cast<unsigned>(_mm_movemask_ps(_mm_cmpneq_ps(a, b)));
  }
  static LOMIX_INLINE void store(float* to, Singles v) { _mm_storeu_ps(to, v); }
  static LOMIX_INLINE Singles load(const float* from) { return _mm_loadu_ps(from); }

  static LOMIX_INLINE Floats floats(float v) { return _mm256_set1_ps(v); }
  static LOMIX_INLINE Floats add(Floats a, Floats b) { return _mm256_add_ps(a, b); }
  static LOMIX_INLINE Floats mul(Floats a, Floats b) { return _mm256_mul_ps(a, b); }
  static LOMIX_INLINE Floats max(Floats a, Floats b) { return _mm256_max_ps(a, b); }
  static LOMIX_INLINE Floats fma(Floats a, Floats b, Floats c) { return _mm256_fmadd_ps(a, b, c); }
  static LOMIX_INLINE Floats fms(Floats a, Floats b, Floats c) { return _mm256_fmsub_ps(a, b, c); }
  static LOMIX_INLINE Floats fnma(Floats a, Floats b, Floats c) {
    return _mm256_fnmadd_ps(a, b, c);
  }
  /// Returns 1 / v with a relative error of at most 2^-11.
  static LOMIX_INLINE Floats reciprocalEstimate(Floats v) { return _mm256_rcp_ps(v); }
  static LOMIX_INLINE Floats absolute(Floats v) {
    return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), v);
  }
  /// Returns 0, 1, 2, ...
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
  static LOMIX_INLINE Ints truncated(Doubles a, Doubles b) {
    return _mm256_set_m128i(_mm256_cvttpd_epi32(b), _mm256_cvttpd_epi32(a));
  }
  static LOMIX_INLINE Ints rounded(Floats v) { return _mm256_cvtps_epi32(v); }
  static LOMIX_INLINE unsigned differing(Ints a, Ints b) {
    const __m256 same = _mm256_castsi256_ps(_mm256_cmpeq_epi32(a, b));
    return static_cast<unsigned>(_mm256_movemask_ps(same)) ^ 0xFFu;
  }
  /// Returns the same 16 bytes in each 128 bits.
  static LOMIX_INLINE Ints repeated(const std::uint8_t* from) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
  }
  /// Shuffles the bytes of each 128 bits: byte i of the result is v[control[i]], or 0 where
  /// control[i] has its high bit set.
  static LOMIX_INLINE Ints shuffled(Ints v, Ints control) {
    return _mm256_shuffle_epi8(v, control);
  }
  static LOMIX_INLINE void store(std::uint32_t* to, Ints v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), v);
  }

  // In each 128 bits: the low and the high half of the bytes as words, and back with saturation.
  static LOMIX_INLINE Ints lowBytes(Ints v) {
    return _mm256_unpacklo_epi8(v, _mm256_setzero_si256());
  }
  static LOMIX_INLINE Ints highBytes(Ints v) {
    return _mm256_unpackhi_epi8(v, _mm256_setzero_si256());
  }
  static LOMIX_INLINE Ints bytesOf(Ints low, Ints high) { return _mm256_packus_epi16(low, high); }
  // In each 128 bits: the low and the high half of the words of a, each followed by that of b, and
  // two halves of integers as words with saturation.
  static LOMIX_INLINE Ints lowPairs(Ints a, Ints b) { return _mm256_unpacklo_epi16(a, b); }
  static LOMIX_INLINE Ints highPairs(Ints a, Ints b) { return _mm256_unpackhi_epi16(a, b); }
  static LOMIX_INLINE Ints wordsOf(Ints low, Ints high) { return _mm256_packus_epi32(low, high); }
  /// Packs integers to words in each 128 bits, saturated to -2^15 ... 2^15 - 1.
  static LOMIX_INLINE Ints saturatedWordsOf(Ints low, Ints high) {
    return _mm256_packs_epi32(low, high);
  }
  static LOMIX_INLINE Ints mulWords(Ints a, Ints b) { return _mm256_mullo_epi16(a, b); }
  static LOMIX_INLINE Ints subWords(Ints a, Ints b) { return _mm256_sub_epi16(a, b); }
  template <int kBits>
  static LOMIX_INLINE Ints wordsShiftedRight(Ints v) {
    return _mm256_srli_epi16(v, kBits);
  }
  static LOMIX_INLINE Ints either(Ints a, Ints b) { return _mm256_or_si256(a, b); }

  // Pixels: a whole vector, or some lanes of it.

  static constexpr int kPixels8 = 8;
  static constexpr int kPixels32 = 2;

  static LOMIX_INLINE Ints load(const PF_Pixel* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  }
  /// Loads pixels from[first] ... from[end - 1] to their lanes. Other lanes are 0; other memory is
  /// not read.
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

  /// Returns the kPart-th vector of pixels that have one of these values in all their channels.
  template <int kPart>
  static LOMIX_INLINE Floats eachPixel(Singles v) {
    constexpr int kFirst = kPart * kPixels32;
    return _mm256_permutevar8x32_ps(_mm256_castps128_ps256(v),
                                    _mm256_setr_epi32(kFirst, kFirst, kFirst, kFirst, kFirst + 1,
                                                      kFirst + 1, kFirst + 1, kFirst + 1));
  }
  static LOMIX_INLINE Floats load(const PF_PixelFloat* from) {
    return _mm256_loadu_ps(reinterpret_cast<const float*>(from));
  }
  static LOMIX_INLINE Floats loadLanes(const PF_PixelFloat* from, int first, int end) {
    return _mm256_maskload_ps(reinterpret_cast<const float*>(from), lanes(4 * first, 4 * end));
  }
  static LOMIX_INLINE Floats either(Floats a, Floats b) { return _mm256_or_ps(a, b); }
  static LOMIX_INLINE void store(PF_PixelFloat* to, Floats v) {
    _mm256_storeu_ps(reinterpret_cast<float*>(to), v);
  }
  static LOMIX_INLINE void storeFew(PF_PixelFloat* to, int count, Floats v) {
    _mm256_maskstore_ps(reinterpret_cast<float*>(to), lanes(0, 4 * count), v);
  }
  static LOMIX_INLINE void stream(PF_PixelFloat* to, Floats v) {
    _mm256_stream_ps(reinterpret_cast<float*>(to), v);
  }

 private:
  static LOMIX_INLINE __m256i lanes(int first, int end) {
    const __m256i each = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(first), each),
                               _mm256_cmpgt_epi32(_mm256_set1_epi32(end), each));
  }
};

}  // namespace
}  // namespace lomix::engine
