// Operations on pairs of vectors of 128 bits, for WebAssembly. In node, two at a time take a sixth
// less time than one.
#pragma once

#include <wasm_simd128.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "engine/simd/Inline.h"
#include "hostapi/Records.h"

namespace lomix::engine {
namespace {

/// The operations that Scalar.h specifies, in SIMD128. It has no fused operations, and looks bytes
/// up in tables of 16 only. A table of 256 would take 16 look-ups, more instructions than the lines
/// and corrections that replace it.
struct Wasm {
 private:
  static constexpr int kVectors = 2;

  // One type for each meaning of the same registers.
  enum class Of { kFloats, kInts, kDoubles, kDoubleMasks };
  template <Of, int kCount>
  struct Vectors {
    v128_t at[kCount];
  };
  template <int kCount>
  using FloatVectors = Vectors<Of::kFloats, kCount>;
  template <int kCount>
  using IntVectors = Vectors<Of::kInts, kCount>;

 public:
  using Doubles = Vectors<Of::kDoubles, 2>;
  using Singles = FloatVectors<1>;
  using Floats = FloatVectors<kVectors>;
  using Ints = IntVectors<kVectors>;
  using Channels = Floats;
  using DoubleMask = Vectors<Of::kDoubleMasks, 2>;
  using SingleMask = IntVectors<1>;
  using IntMask = Ints;  // of which any bit is set
  static constexpr int kDoubles = 4;
  static constexpr int kFloats = 4 * kVectors;
  static constexpr int kPixels32 = kVectors;
  static constexpr int kGroup = 4;
  static constexpr bool kFused = false;
  static constexpr bool kByTable = false;
  static constexpr bool kEstimatesReciprocals = false;

  static LOMIX_INLINE Doubles doubles(double v) { return filled<Doubles>(wasm_f64x2_splat(v)); }
  static LOMIX_INLINE Doubles add(Doubles a, Doubles b) { return each<wasm_f64x2_add>(a, b); }
  static LOMIX_INLINE Doubles sub(Doubles a, Doubles b) { return each<wasm_f64x2_sub>(a, b); }
  static LOMIX_INLINE Doubles mul(Doubles a, Doubles b) { return each<wasm_f64x2_mul>(a, b); }
  static LOMIX_INLINE Doubles div(Doubles a, Doubles b) { return each<wasm_f64x2_div>(a, b); }
  static LOMIX_INLINE Doubles mulAdd(Doubles a, Doubles b, Doubles c) { return add(mul(a, b), c); }
  // 1. The product is p + e exactly: the halves of its factors have at most 26 bits each. This
  //    holds unless a step overflows, which makes the result NaN, or p is tiny.
  // 2. p + c is s + t, and t + e is u + f, exactly.
  // 3. Where f is 0, s + u rounds the exact result once.
  static LOMIX_INLINE Doubles fma(Doubles a, Doubles b, Doubles c) {
    const Doubles p = mul(a, b);
    const Doubles aHigh = upperHalf(a);
    const Doubles aLow = sub(a, aHigh);
    const Doubles bHigh = upperHalf(b);
    const Doubles bLow = sub(b, bHigh);
    const Doubles e = add(add(add(sub(mul(aHigh, bHigh), p), mul(aHigh, bLow)), mul(aLow, bHigh)),
                          mul(aLow, bLow));
    const Doubles s = add(p, c);
    const Doubles t = sumError(p, c, s);
    const Doubles u = add(t, e);
    const Doubles f = sumError(t, e, u);
    const Doubles zero = doubles(0.0);
    const Doubles least = doubles(0x1p-900);
    const DoubleMask proved = compared<wasm_v128_and>(
        compared<wasm_f64x2_eq>(f, zero), compared<wasm_f64x2_ge>(each<wasm_f64x2_abs>(p), least));
    if (!wasm_i64x2_all_true(wasm_v128_and(proved.at[0], proved.at[1]))) [[unlikely]] {
      return fmaOfLanes(a, b, c);
    }
    return add(s, u);
  }
  static LOMIX_INLINE Doubles exclusiveOr(Doubles a, Doubles b) {
    return each<wasm_v128_xor>(a, b);
  }
  static LOMIX_INLINE Doubles lowestAsSign(Doubles v) {
    return {{wasm_i64x2_shl(v.at[0], 63), wasm_i64x2_shl(v.at[1], 63)}};
  }
  static LOMIX_INLINE Doubles widen(Singles v) { return widened(v.at[0]); }
  static LOMIX_INLINE Singles narrow(Doubles v) { return {{narrowed(v)}}; }
  static LOMIX_INLINE Doubles countedFrom(int first) {
    return add(doubles(first), {{wasm_f64x2_make(0.0, 1.0), wasm_f64x2_make(2.0, 3.0)}});
  }
  static LOMIX_INLINE DoubleMask bitsBelow(Doubles v, long long offset, long long mask,
                                           long long limit) {
    const v128_t offsets = wasm_i64x2_splat(offset);
    const v128_t masks = wasm_i64x2_splat(mask);
    const v128_t limits = wasm_i64x2_splat(limit);
    const auto of = [&](v128_t lanes) LOMIX_INLINE_LAMBDA {
      return wasm_i64x2_lt(wasm_v128_and(wasm_i64x2_add(lanes, offsets), masks), limits);
    };
    return {{of(v.at[0]), of(v.at[1])}};
  }
  static LOMIX_INLINE DoubleMask nearZero(Doubles v, double limit) {
    return compared<wasm_f64x2_lt>(each<wasm_f64x2_abs>(v), doubles(limit));
  }
  static LOMIX_INLINE DoubleMask below(Doubles a, Doubles b) {
    return compared<wasm_f64x2_lt>(a, b);
  }
  static LOMIX_INLINE Doubles selected(DoubleMask mask, Doubles a, Doubles b) {
    return {{wasm_v128_bitselect(a.at[0], b.at[0], mask.at[0]),
             wasm_v128_bitselect(a.at[1], b.at[1], mask.at[1])}};
  }
  static LOMIX_INLINE DoubleMask either(DoubleMask a, DoubleMask b) {
    return each<wasm_v128_or>(a, b);
  }
  static LOMIX_INLINE unsigned laneBits(DoubleMask mask) {
    return wasm_i64x2_bitmask(mask.at[0]) | wasm_i64x2_bitmask(mask.at[1]) << 2;
  }

  // Singles and Floats.

  static LOMIX_INLINE Singles singles(float v) { return {{wasm_f32x4_splat(v)}}; }
  static LOMIX_INLINE Floats floats(float v) { return filled<Floats>(wasm_f32x4_splat(v)); }
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> add(FloatVectors<kCount> a, FloatVectors<kCount> b) {
    return each<wasm_f32x4_add>(a, b);
  }
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> sub(FloatVectors<kCount> a, FloatVectors<kCount> b) {
    return each<wasm_f32x4_sub>(a, b);
  }
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> mul(FloatVectors<kCount> a, FloatVectors<kCount> b) {
    return each<wasm_f32x4_mul>(a, b);
  }
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> div(FloatVectors<kCount> a, FloatVectors<kCount> b) {
    return each<wasm_f32x4_div>(a, b);
  }
  // The other maximum orders zeros and keeps NaN, at the cost of more instructions.
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> max(FloatVectors<kCount> a, FloatVectors<kCount> b) {
    return each<wasm_f32x4_pmax>(a, b);
  }
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> mulAdd(FloatVectors<kCount> a, FloatVectors<kCount> b,
                                                  FloatVectors<kCount> c) {
    return add(mul(a, b), c);
  }
  template <int kCount>
  static LOMIX_INLINE FloatVectors<kCount> fma(FloatVectors<kCount> a, FloatVectors<kCount> b,
                                               FloatVectors<kCount> c) {
    return each<fmaOf>(a, b, c);
  }
  static LOMIX_INLINE Floats remainder(Floats a, Floats b, Floats product) {
    return each<remainderOf>(a, b, product);
  }
  static LOMIX_INLINE Floats absolute(Floats v) { return each<wasm_f32x4_abs>(v); }
  static LOMIX_INLINE Floats counted() {
    Floats result;
    for (int i = 0; i < kVectors; ++i) {
      const auto first = static_cast<float>(4 * i);
      result.at[i] = wasm_f32x4_make(first, first + 1.0f, first + 2.0f, first + 3.0f);
    }
    return result;
  }
  static LOMIX_INLINE SingleMask noSingles() { return {{wasm_i32x4_splat(0)}}; }
  static LOMIX_INLINE SingleMask differing(Singles a, Singles b) {
    return {{wasm_f32x4_ne(a.at[0], b.at[0])}};
  }
  static LOMIX_INLINE void store(float* to, Singles v) { wasm_v128_store(to, v.at[0]); }
  static LOMIX_INLINE Singles load(const float* from) { return {{wasm_v128_load(from)}}; }

  // Integers.

  static LOMIX_INLINE Ints ints(std::uint32_t v) {
    return filled<Ints>(wasm_i32x4_splat(static_cast<std::int32_t>(v)));
  }
  static LOMIX_INLINE Ints load(const std::uint32_t* from) { return loaded<Ints>(from); }
  static LOMIX_INLINE void store(std::uint32_t* to, Ints v) { stored(to, v); }
  static LOMIX_INLINE Ints add(Ints a, Ints b) { return each<wasm_i32x4_add>(a, b); }
  static LOMIX_INLINE Ints sub(Ints a, Ints b) { return each<wasm_i32x4_sub>(a, b); }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedRight(Ints v) {
    for (v128_t& lanes : v.at) lanes = wasm_u32x4_shr(lanes, kBits);
    return v;
  }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedLeft(Ints v) {
    for (v128_t& lanes : v.at) lanes = wasm_i32x4_shl(lanes, kBits);
    return v;
  }
  static LOMIX_INLINE Floats converted(Ints v) { return each<wasm_f32x4_convert_i32x4, Floats>(v); }
  static LOMIX_INLINE Ints truncated(Floats v) { return each<wasm_i32x4_trunc_sat_f32x4, Ints>(v); }
  static LOMIX_INLINE Ints truncated(const Doubles (&v)[kVectors]) {
    Ints result;
    for (int i = 0; i < kVectors; ++i) {
      result.at[i] = wasm_i32x4_shuffle(wasm_i32x4_trunc_sat_f64x2_zero(v[i].at[0]),
                                        wasm_i32x4_trunc_sat_f64x2_zero(v[i].at[1]), 0, 1, 4, 5);
    }
    return result;
  }
  static LOMIX_INLINE Ints rounded(Floats v) { return truncated(each<wasm_f32x4_nearest>(v)); }
  static LOMIX_INLINE Ints both(Ints a, Ints b) { return each<wasm_v128_and>(a, b); }
  template <int kCount>
  static LOMIX_INLINE IntVectors<kCount> either(IntVectors<kCount> a, IntVectors<kCount> b) {
    return each<wasm_v128_or>(a, b);
  }
  static LOMIX_INLINE Ints exclusiveOr(Ints a, Ints b) { return each<wasm_v128_xor>(a, b); }
  static LOMIX_INLINE IntMask differing(Ints a, Ints b) { return exclusiveOr(a, b); }
  template <Of kOf, int kCount>
  static LOMIX_INLINE bool any(Vectors<kOf, kCount> mask) {
    v128_t all = mask.at[0];
    for (int i = 1; i < kCount; ++i) all = wasm_v128_or(all, mask.at[i]);
    return wasm_v128_any_true(all);
  }
  template <int kCount>
  static LOMIX_INLINE unsigned laneBits(IntVectors<kCount> mask) {
    unsigned bits = 0;
    for (int i = 0; i < kCount; ++i) {
      const v128_t lanes = wasm_i32x4_ne(mask.at[i], wasm_i32x4_splat(0));
      bits |= static_cast<unsigned>(wasm_i32x4_bitmask(lanes)) << 4 * i;
    }
    return bits;
  }

  // Bytes.

  static LOMIX_INLINE Ints bytes(std::uint8_t v) {
    return filled<Ints>(wasm_i8x16_splat(static_cast<std::int8_t>(v)));
  }
  static LOMIX_INLINE Ints repeated(const std::uint8_t* from) {
    return filled<Ints>(wasm_v128_load(from));
  }
  static LOMIX_INLINE Ints shuffled(Ints v, Ints control) {
    return each<wasm_i8x16_swizzle>(v, control);
  }
  static LOMIX_INLINE Ints addBytes(Ints a, Ints b) { return each<wasm_i8x16_add>(a, b); }
  static LOMIX_INLINE Ints subBytes(Ints a, Ints b) { return each<wasm_i8x16_sub>(a, b); }
  static LOMIX_INLINE Ints addBytesSaturated(Ints a, Ints b) {
    return each<wasm_u8x16_add_sat>(a, b);
  }
  static LOMIX_INLINE Ints subBytesSaturated(Ints a, Ints b) {
    return each<wasm_u8x16_sub_sat>(a, b);
  }
  static LOMIX_INLINE Ints productsBy256(Ints a, Ints b) { return each<productsOf>(a, b); }
  static LOMIX_INLINE Ints equalBytes(Ints a, Ints b) { return each<wasm_i8x16_eq>(a, b); }
  static LOMIX_INLINE Ints byHighBits(Ints selector, Ints a, Ints b) {
    return each<byHighBitsOf>(selector, a, b);
  }

  // Words.

  static LOMIX_INLINE Ints words(std::uint16_t v) {
    return filled<Ints>(wasm_i16x8_splat(static_cast<std::int16_t>(v)));
  }
  static LOMIX_INLINE Ints lowBytes(Ints v) { return each<wasm_u16x8_extend_low_u8x16>(v); }
  static LOMIX_INLINE Ints highBytes(Ints v) { return each<wasm_u16x8_extend_high_u8x16>(v); }
  static LOMIX_INLINE Ints lowBytesBy256(Ints v) { return each<lowBytesBy256Of>(v); }
  static LOMIX_INLINE Ints highBytesBy256(Ints v) { return each<highBytesBy256Of>(v); }
  static LOMIX_INLINE Ints bytesOf(Ints low, Ints high) {
    return each<wasm_u8x16_narrow_i16x8>(low, high);
  }
  static LOMIX_INLINE Ints saturatedBytesOf(Ints low, Ints high) { return bytesOf(low, high); }
  static LOMIX_INLINE Ints lowPairs(Ints a, Ints b) { return each<lowPairsOf>(a, b); }
  static LOMIX_INLINE Ints highPairs(Ints a, Ints b) { return each<highPairsOf>(a, b); }
  static LOMIX_INLINE Ints wordsOf(Ints low, Ints high) {
    return each<wasm_u16x8_narrow_i32x4>(low, high);
  }
  static LOMIX_INLINE Ints saturatedBytesOf(Ints a, Ints b, Ints c, Ints d) {
    return bytesOf(each<wasm_i16x8_narrow_i32x4>(a, b), each<wasm_i16x8_narrow_i32x4>(c, d));
  }
  static LOMIX_INLINE Ints addWords(Ints a, Ints b) { return each<wasm_i16x8_add>(a, b); }
  static LOMIX_INLINE Ints subWords(Ints a, Ints b) { return each<wasm_i16x8_sub>(a, b); }
  static LOMIX_INLINE Ints mulWords(Ints a, Ints b) { return each<wasm_i16x8_mul>(a, b); }
  static LOMIX_INLINE Ints mulWordsHigh(Ints a, Ints b) { return each<mulWordsHighOf>(a, b); }
  template <int kBits>
  static LOMIX_INLINE Ints wordsShiftedRightSigned(Ints v) {
    for (v128_t& lanes : v.at) lanes = wasm_i16x8_shr(lanes, kBits);
    return v;
  }

  // 8-bit pixels.

  static LOMIX_INLINE Ints load(const PF_Pixel* from) { return loaded<Ints>(from); }
  static LOMIX_INLINE Ints loadLanes(const PF_Pixel* from, int first, int end) {
    PF_Pixel lanes[kFloats] = {};
    for (int i = first; i < end; ++i) lanes[i] = from[i];
    return load(lanes);
  }
  static LOMIX_INLINE void store(PF_Pixel* to, Ints v) { stored(to, v); }
  static LOMIX_INLINE void storeFew(PF_Pixel* to, int count, Ints v) {
    PF_Pixel lanes[kFloats];
    store(lanes, v);
    for (int i = 0; i < count; ++i) to[i] = lanes[i];
  }
  static LOMIX_INLINE void stream(PF_Pixel* to, Ints v) { store(to, v); }

  class AlphaBytes {
   public:
    explicit AlphaBytes(int channel)
        : bytes_(wasm_i32x4_splat(static_cast<std::int32_t>(255u << 8 * channel))) {}
    LOMIX_INLINE bool allFull(Ints pixels) const {
      v128_t all = pixels.at[0];
      for (int i = 1; i < kVectors; ++i) all = wasm_v128_and(all, pixels.at[i]);
      return !wasm_v128_any_true(wasm_v128_andnot(bytes_, all));
    }
    LOMIX_INLINE Ints with(Ints alphas, Ints colours) const {
      return either(alphas, each<wasm_v128_andnot>(colours, filled<Ints>(bytes_)));
    }

   private:
    v128_t bytes_;
  };

  // Float pixels.

  static LOMIX_INLINE Channels channels(float v) { return floats(v); }
  template <int kPart>
  static LOMIX_INLINE Channels eachPixel(Singles v) {
    return [&]<int... i>(std::integer_sequence<int, i...>) LOMIX_INLINE_LAMBDA->Channels {
      constexpr int kFirst = kPart * kPixels32;
      return {{lane<kFirst + i>(v.at[0])...}};
    }
    (std::make_integer_sequence<int, kPixels32>{});
  }
  template <typename Function>
  static LOMIX_INLINE Channels inDoubles(Channels a, Channels b, const Function& function) {
    for (int i = 0; i < kVectors; ++i) {
      a.at[i] = narrowed(function(widened(a.at[i]), widened(b.at[i])));
    }
    return a;
  }
  static LOMIX_INLINE Channels notNegative(Channels v) {
    return each<wasm_v128_andnot>(v, each<wasm_f32x4_lt>(v, channels(0.0f)));
  }
  static LOMIX_INLINE Channels zeroedBy(Channels factors, Channels v) {
    return each<wasm_v128_andnot>(v, each<wasm_f32x4_eq>(factors, channels(0.0f)));
  }
  static LOMIX_INLINE Channels load(const PF_PixelFloat* from) { return loaded<Channels>(from); }
  static LOMIX_INLINE Channels loadLanes(const PF_PixelFloat* from, int first, int end) {
    Channels result = channels(0.0f);
    for (int i = 0; i < kPixels32; ++i) {
      if (i >= first && i < end) result.at[i] = wasm_v128_load(from + i);
    }
    return result;
  }
  static LOMIX_INLINE Channels either(Channels a, Channels b) { return each<wasm_v128_or>(a, b); }
  static LOMIX_INLINE void store(PF_PixelFloat* to, Channels v) { stored(to, v); }
  static LOMIX_INLINE void storeFew(PF_PixelFloat* to, int count, Channels v) {
    for (int i = 0; i < kPixels32; ++i) {
      if (i < count) wasm_v128_store(to + i, v.at[i]);
    }
  }
  static LOMIX_INLINE void stream(PF_PixelFloat* to, Channels v) { store(to, v); }

  class AlphaChannels {
   public:
    explicit AlphaChannels(int channel)
        : lanes_(wasm_i32x4_eq(wasm_i32x4_make(0, 1, 2, 3), wasm_i32x4_splat(channel))),
          spread_(wasm_i32x4_splat(0x03020100 + 0x04040404 * channel)) {}
    LOMIX_INLINE bool allOne(Channels pixels) const {
      const v128_t one = wasm_f32x4_splat(1.0f);
      v128_t ones = wasm_f32x4_eq(pixels.at[0], one);
      for (int i = 1; i < kPixels32; ++i) {
        ones = wasm_v128_and(ones, wasm_f32x4_eq(pixels.at[i], one));
      }
      return !wasm_v128_any_true(wasm_v128_andnot(lanes_, ones));
    }
    LOMIX_INLINE Channels spread(Channels pixels) const {
      for (v128_t& pixel : pixels.at) pixel = wasm_i8x16_swizzle(pixel, spread_);
      return pixels;
    }
    LOMIX_INLINE Channels with(Channels alphas, Channels colours) const {
      for (int i = 0; i < kPixels32; ++i) {
        colours.at[i] = wasm_v128_bitselect(alphas.at[i], colours.at[i], lanes_);
      }
      return colours;
    }

   private:
    v128_t lanes_;  // all bits set in the alphas
    v128_t spread_;
  };

  // Memory.

  static void prefetch(const char*) {}
  static void finishStreaming() {}

 private:
  // Applies a function of registers to each of the vectors.
  template <auto kFunction, typename To, typename... From>
  static LOMIX_INLINE To each(const From&... v) {
    return [&]<std::size_t... i>(std::index_sequence<i...>) LOMIX_INLINE_LAMBDA->To {
      const auto one = [&](std::size_t at) LOMIX_INLINE_LAMBDA { return kFunction(v.at[at]...); };
      return {{one(i)...}};
    }
    (std::make_index_sequence<sizeof(To) / sizeof(v128_t)>{});
  }
  template <auto kFunction, typename First, typename... Rest>
  static LOMIX_INLINE First each(const First& first, const Rest&... rest) {
    return each<kFunction, First, First, Rest...>(first, rest...);
  }
  template <auto kFunction, Of kOf>
  static LOMIX_INLINE DoubleMask compared(Vectors<kOf, 2> a, Vectors<kOf, 2> b) {
    return {{kFunction(a.at[0], b.at[0]), kFunction(a.at[1], b.at[1])}};
  }
  template <typename To>
  static LOMIX_INLINE To filled(v128_t v) {
    To result;
    for (v128_t& lanes : result.at) lanes = v;
    return result;
  }
  template <typename To>
  static LOMIX_INLINE To loaded(const void* from) {
    To result;
    for (int i = 0; i < kVectors; ++i) {
      result.at[i] = wasm_v128_load(static_cast<const v128_t*>(from) + i);
    }
    return result;
  }
  template <typename Vector>
  static LOMIX_INLINE void stored(void* to, Vector v) {
    for (int i = 0; i < kVectors; ++i) wasm_v128_store(static_cast<v128_t*>(to) + i, v.at[i]);
  }

  static LOMIX_INLINE Doubles widened(v128_t v) {
    return {{wasm_f64x2_promote_low_f32x4(v),
             wasm_f64x2_promote_low_f32x4(wasm_i32x4_shuffle(v, v, 2, 3, 2, 3))}};
  }
  static LOMIX_INLINE v128_t narrowed(Doubles v) {
    return wasm_i32x4_shuffle(wasm_f32x4_demote_f64x2_zero(v.at[0]),
                              wasm_f32x4_demote_f64x2_zero(v.at[1]), 0, 1, 4, 5);
  }
  template <int kLane>
  static LOMIX_INLINE v128_t lane(v128_t v) {
    return wasm_i32x4_shuffle(v, v, kLane, kLane, kLane, kLane);
  }

  // Returns v rounded to 26 bits; the rest has as many.
  static LOMIX_INLINE Doubles upperHalf(Doubles v) {
    const Doubles scaled = mul(v, doubles(0x1p27 + 1.0));
    return sub(scaled, sub(scaled, v));
  }
  // Returns what the rounding of a sum took away: a + b - sum.
  static LOMIX_INLINE Doubles sumError(Doubles a, Doubles b, Doubles sum) {
    const Doubles added = sub(sum, a);
    return add(sub(a, sub(sum, added)), sub(b, added));
  }
  static LOMIX_APART Doubles fmaOfLanes(Doubles a, Doubles b, Doubles c) {
    double lanes[3][kDoubles];
    const Doubles* const vectors[3] = {&a, &b, &c};
    for (int i = 0; i < 3; ++i) {
      wasm_v128_store(lanes[i], vectors[i]->at[0]);
      wasm_v128_store(lanes[i] + 2, vectors[i]->at[1]);
    }
    for (int i = 0; i < kDoubles; ++i)
      lanes[0][i] = std::fma(lanes[0][i], lanes[1][i], lanes[2][i]);
    return {{wasm_v128_load(lanes[0]), wasm_v128_load(lanes[0] + 2)}};
  }

  // The product of two floats is exact in doubles. Rounding its sum with the third and then the
  // result is the same as rounding once, unless the sum is halfway between two floats: it may
  // have been rounded to there. Subnormal results may round twice, as in this system's C library.
  static LOMIX_INLINE v128_t fmaOf(v128_t a, v128_t b, v128_t c) {
    const Doubles sum = add(mul(widened(a), widened(b)), widened(c));
    const v128_t below = wasm_i64x2_splat((1LL << 29) - 1);
    const v128_t halfway = wasm_i64x2_splat(1LL << 28);
    const auto doubtful = [&](v128_t v) LOMIX_INLINE_LAMBDA {
      return wasm_i64x2_eq(wasm_v128_and(v, below), halfway);
    };
    if (wasm_v128_any_true(wasm_v128_or(doubtful(sum.at[0]), doubtful(sum.at[1])))) [[unlikely]] {
      return fmaOfLanes(a, b, c);
    }
    return narrowed(sum);
  }
  static LOMIX_APART v128_t fmaOfLanes(v128_t a, v128_t b, v128_t c) {
    float lanes[3][4];
    wasm_v128_store(lanes[0], a);
    wasm_v128_store(lanes[1], b);
    wasm_v128_store(lanes[2], c);
    for (int i = 0; i < 4; ++i) lanes[0][i] = std::fma(lanes[0][i], lanes[1][i], lanes[2][i]);
    return wasm_v128_load(lanes[0]);
  }
  static LOMIX_INLINE v128_t remainderOf(v128_t a, v128_t b, v128_t product) {
    return narrowed(sub(mul(widened(a), widened(b)), widened(product)));
  }

  static LOMIX_INLINE v128_t productsOf(v128_t a, v128_t b) {
    return wasm_u8x16_narrow_i16x8(wasm_u16x8_shr(wasm_u16x8_extmul_low_u8x16(a, b), 8),
                                   wasm_u16x8_shr(wasm_u16x8_extmul_high_u8x16(a, b), 8));
  }
  static LOMIX_INLINE v128_t byHighBitsOf(v128_t selector, v128_t a, v128_t b) {
    return wasm_v128_bitselect(a, b, wasm_i8x16_lt(selector, wasm_i8x16_splat(0)));
  }
  static LOMIX_INLINE v128_t lowBytesBy256Of(v128_t v) {
    return wasm_i8x16_shuffle(wasm_i8x16_splat(0), v, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6,
                              22, 7, 23);
  }
  static LOMIX_INLINE v128_t highBytesBy256Of(v128_t v) {
    return wasm_i8x16_shuffle(wasm_i8x16_splat(0), v, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29,
                              14, 30, 15, 31);
  }
  static LOMIX_INLINE v128_t lowPairsOf(v128_t a, v128_t b) {
    return wasm_i16x8_shuffle(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
  }
  static LOMIX_INLINE v128_t highPairsOf(v128_t a, v128_t b) {
    return wasm_i16x8_shuffle(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
  }
  // No instruction gives the high halves of unsigned products alone.
  static LOMIX_INLINE v128_t mulWordsHighOf(v128_t a, v128_t b) {
    return wasm_i16x8_shuffle(wasm_u32x4_extmul_low_u16x8(a, b), wasm_u32x4_extmul_high_u16x8(a, b),
                              1, 3, 5, 7, 9, 11, 13, 15);
  }
};

}  // namespace
}  // namespace lomix::engine
