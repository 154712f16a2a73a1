// Operations on pairs of vectors of 128 bits, for 64-bit ARM. Two at a time: tests for opaque
// pixels and loop control then cost half as much, and two chains of operations overlap. As many
// constants as in 16 vectors of 256 bits fit the 32 registers.
#pragma once

#include <arm_neon.h>

#include <cstddef>
#include <cstdint>

#include "engine/simd/Inline.h"
#include "hostapi/Records.h"

namespace lomix::engine {
namespace {

/// The operations that Scalar.h specifies, in NEON.
struct Neon {
  struct Doubles {
    float64x2_t low, high;
  };
  struct Floats {
    float32x4_t low, high;
  };
  struct Ints {
    uint32x4_t low, high;
  };
  struct DoubleMask {
    uint64x2_t low, high;
  };
  using Singles = float32x4_t;
  using Channels = Floats;
  using SingleMask = uint32x4_t;
  using IntMask = Ints;  // of which any bit is set
  static constexpr int kDoubles = 4;
  static constexpr int kFloats = 8;
  static constexpr int kPixels32 = 2;
  static constexpr int kGroup = 4;
  static constexpr bool kFused = true;
  static constexpr bool kByTable = true;
  static constexpr bool kEstimatesReciprocals = false;

  static LOMIX_INLINE Doubles doubles(double v) { return {vdupq_n_f64(v), vdupq_n_f64(v)}; }
  static LOMIX_INLINE Doubles add(Doubles a, Doubles b) {
    return {vaddq_f64(a.low, b.low), vaddq_f64(a.high, b.high)};
  }
  static LOMIX_INLINE Doubles sub(Doubles a, Doubles b) {
    return {vsubq_f64(a.low, b.low), vsubq_f64(a.high, b.high)};
  }
  static LOMIX_INLINE Doubles mul(Doubles a, Doubles b) {
    return {vmulq_f64(a.low, b.low), vmulq_f64(a.high, b.high)};
  }
  static LOMIX_INLINE Doubles fma(Doubles a, Doubles b, Doubles c) {
    return {vfmaq_f64(c.low, a.low, b.low), vfmaq_f64(c.high, a.high, b.high)};
  }
  static LOMIX_INLINE Doubles fnma(Doubles a, Doubles b, Doubles c) {
    return {vfmsq_f64(c.low, a.low, b.low), vfmsq_f64(c.high, a.high, b.high)};
  }
  static LOMIX_INLINE Doubles mulAdd(Doubles a, Doubles b, Doubles c) { return fma(a, b, c); }
  static LOMIX_INLINE Doubles div(Doubles a, Doubles b) {
    return {vdivq_f64(a.low, b.low), vdivq_f64(a.high, b.high)};
  }
  static LOMIX_INLINE Doubles exclusiveOr(Doubles a, Doubles b) {
    return {exclusiveOr(a.low, b.low), exclusiveOr(a.high, b.high)};
  }
  static LOMIX_INLINE Doubles lowestAsSign(Doubles v) {
    return {lowestAsSign(v.low), lowestAsSign(v.high)};
  }
  static LOMIX_INLINE Doubles widen(Singles v) {
    return {vcvt_f64_f32(vget_low_f32(v)), vcvt_high_f64_f32(v)};
  }
  static LOMIX_INLINE Singles narrow(Doubles v) {
    return vcvt_high_f32_f64(vcvt_f32_f64(v.low), v.high);
  }
  static LOMIX_INLINE Doubles countedFrom(int first) {
    const double at = first;
    return add(doubles(at), {float64x2_t{0.0, 1.0}, float64x2_t{2.0, 3.0}});
  }
  static LOMIX_INLINE DoubleMask bitsBelow(Doubles v, long long offset, long long mask,
                                           long long limit) {
    return {bitsBelow(v.low, offset, mask, limit), bitsBelow(v.high, offset, mask, limit)};
  }
  static LOMIX_INLINE DoubleMask nearZero(Doubles v, double limit) {
    return {vcaltq_f64(v.low, vdupq_n_f64(limit)), vcaltq_f64(v.high, vdupq_n_f64(limit))};
  }
  static LOMIX_INLINE DoubleMask below(Doubles a, Doubles b) {
    return {vcltq_f64(a.low, b.low), vcltq_f64(a.high, b.high)};
  }
  static LOMIX_INLINE Doubles selected(DoubleMask mask, Doubles a, Doubles b) {
    return {vbslq_f64(mask.low, a.low, b.low), vbslq_f64(mask.high, a.high, b.high)};
  }
  static LOMIX_INLINE DoubleMask either(DoubleMask a, DoubleMask b) {
    return {vorrq_u64(a.low, b.low), vorrq_u64(a.high, b.high)};
  }
  static LOMIX_INLINE bool any(DoubleMask mask) {
    return vmaxvq_u32(vreinterpretq_u32_u64(vorrq_u64(mask.low, mask.high))) != 0;
  }
  static LOMIX_INLINE unsigned laneBits(DoubleMask mask) {
    return laneBits(vuzp1q_u32(vreinterpretq_u32_u64(mask.low), vreinterpretq_u32_u64(mask.high)));
  }

  static LOMIX_INLINE Singles singles(float v) { return vdupq_n_f32(v); }
  static LOMIX_INLINE Singles mul(Singles a, Singles b) { return vmulq_f32(a, b); }
  static LOMIX_INLINE Singles div(Singles a, Singles b) { return vdivq_f32(a, b); }
  static LOMIX_INLINE Singles sub(Singles a, Singles b) { return vsubq_f32(a, b); }
  static LOMIX_INLINE Singles max(Singles a, Singles b) { return vmaxq_f32(a, b); }
  static LOMIX_INLINE Singles fma(Singles a, Singles b, Singles c) { return vfmaq_f32(c, a, b); }
  static LOMIX_INLINE SingleMask noSingles() { return vdupq_n_u32(0); }
  static LOMIX_INLINE SingleMask differing(Singles a, Singles b) {
    return vmvnq_u32(vceqq_f32(a, b));
  }
  static LOMIX_INLINE SingleMask either(SingleMask a, SingleMask b) { return vorrq_u32(a, b); }
  static LOMIX_INLINE unsigned laneBits(SingleMask mask) {
    return vaddvq_u32(vandq_u32(vtstq_u32(mask, mask), uint32x4_t{1, 2, 4, 8}));
  }
  static LOMIX_INLINE void store(float* to, Singles v) { vst1q_f32(to, v); }
  static LOMIX_INLINE Singles load(const float* from) { return vld1q_f32(from); }

  static LOMIX_INLINE Floats floats(float v) { return {vdupq_n_f32(v), vdupq_n_f32(v)}; }
  static LOMIX_INLINE Floats add(Floats a, Floats b) {
    return {vaddq_f32(a.low, b.low), vaddq_f32(a.high, b.high)};
  }
  static LOMIX_INLINE Floats sub(Floats a, Floats b) {
    return {vsubq_f32(a.low, b.low), vsubq_f32(a.high, b.high)};
  }
  static LOMIX_INLINE Floats mul(Floats a, Floats b) {
    return {vmulq_f32(a.low, b.low), vmulq_f32(a.high, b.high)};
  }
  static LOMIX_INLINE Floats div(Floats a, Floats b) {
    return {vdivq_f32(a.low, b.low), vdivq_f32(a.high, b.high)};
  }
  static LOMIX_INLINE Floats max(Floats a, Floats b) {
    return {vmaxq_f32(a.low, b.low), vmaxq_f32(a.high, b.high)};
  }
  static LOMIX_INLINE Floats fma(Floats a, Floats b, Floats c) {
    return {vfmaq_f32(c.low, a.low, b.low), vfmaq_f32(c.high, a.high, b.high)};
  }
  static LOMIX_INLINE Floats mulAdd(Floats a, Floats b, Floats c) { return fma(a, b, c); }
  static LOMIX_INLINE Floats remainder(Floats a, Floats b, Floats product) {
    return fma(a, b, {vnegq_f32(product.low), vnegq_f32(product.high)});
  }
  static LOMIX_INLINE Floats absolute(Floats v) { return {vabsq_f32(v.low), vabsq_f32(v.high)}; }
  static LOMIX_INLINE Floats counted() {
    return {float32x4_t{0.0f, 1.0f, 2.0f, 3.0f}, float32x4_t{4.0f, 5.0f, 6.0f, 7.0f}};
  }
  static LOMIX_INLINE Floats converted(Ints v) {
    return {vcvtq_f32_s32(vreinterpretq_s32_u32(v.low)),
            vcvtq_f32_s32(vreinterpretq_s32_u32(v.high))};
  }

  static LOMIX_INLINE Ints ints(std::uint32_t v) { return {vdupq_n_u32(v), vdupq_n_u32(v)}; }
  static LOMIX_INLINE Ints load(const std::uint32_t* from) {
    return {vld1q_u32(from), vld1q_u32(from + 4)};
  }
  static LOMIX_INLINE void store(std::uint32_t* to, Ints v) {
    vst1q_u32(to, v.low);
    vst1q_u32(to + 4, v.high);
  }
  static LOMIX_INLINE Ints add(Ints a, Ints b) {
    return {vaddq_u32(a.low, b.low), vaddq_u32(a.high, b.high)};
  }
  static LOMIX_INLINE Ints sub(Ints a, Ints b) {
    return {vsubq_u32(a.low, b.low), vsubq_u32(a.high, b.high)};
  }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedRight(Ints v) {
    return {vshrq_n_u32(v.low, kBits), vshrq_n_u32(v.high, kBits)};
  }
  template <int kBits>
  static LOMIX_INLINE Ints shiftedLeft(Ints v) {
    return {vshlq_n_u32(v.low, kBits), vshlq_n_u32(v.high, kBits)};
  }
  static LOMIX_INLINE Ints truncated(Floats v) {
    return {vreinterpretq_u32_s32(vcvtq_s32_f32(v.low)),
            vreinterpretq_u32_s32(vcvtq_s32_f32(v.high))};
  }
  static LOMIX_INLINE Ints truncated(const Doubles (&v)[2]) {
    return {truncated(v[0]), truncated(v[1])};
  }
  static LOMIX_INLINE Ints rounded(Floats v) {
    return {vreinterpretq_u32_s32(vcvtnq_s32_f32(v.low)),
            vreinterpretq_u32_s32(vcvtnq_s32_f32(v.high))};
  }
  static LOMIX_INLINE IntMask differing(Ints a, Ints b) {
    return {veorq_u32(a.low, b.low), veorq_u32(a.high, b.high)};
  }
  static LOMIX_INLINE bool any(IntMask mask) {
    return vmaxvq_u32(vorrq_u32(mask.low, mask.high)) != 0;
  }
  static LOMIX_INLINE unsigned laneBits(IntMask mask) {
    return laneBits(mask.low) | laneBits(mask.high) << 4;
  }
  static LOMIX_INLINE Ints either(Ints a, Ints b) {
    return {vorrq_u32(a.low, b.low), vorrq_u32(a.high, b.high)};
  }

  // Bytes.

  static LOMIX_INLINE Ints bytes(std::uint8_t v) { return ofBytes(vdupq_n_u8(v), vdupq_n_u8(v)); }
  static LOMIX_INLINE Ints loadBytes(const std::uint8_t* from) {
    return ofBytes(vld1q_u8(from), vld1q_u8(from + 16));
  }
  static LOMIX_INLINE void storeBytes(std::uint8_t* to, Ints v) {
    vst1q_u8(to, bytesIn(v.low));
    vst1q_u8(to + 16, bytesIn(v.high));
  }
  static LOMIX_INLINE Ints repeated(const std::uint8_t* from) {
    return ofBytes(vld1q_u8(from), vld1q_u8(from));
  }
  static LOMIX_INLINE Ints shuffled(Ints v, Ints control) {
    return ofBytes(vqtbl1q_u8(bytesIn(v.low), bytesIn(control.low)),
                   vqtbl1q_u8(bytesIn(v.high), bytesIn(control.high)));
  }
  static LOMIX_INLINE Ints addBytes(Ints a, Ints b) {
    return ofBytes(vaddq_u8(bytesIn(a.low), bytesIn(b.low)),
                   vaddq_u8(bytesIn(a.high), bytesIn(b.high)));
  }
  static LOMIX_INLINE Ints subBytes(Ints a, Ints b) {
    return ofBytes(vsubq_u8(bytesIn(a.low), bytesIn(b.low)),
                   vsubq_u8(bytesIn(a.high), bytesIn(b.high)));
  }
  static LOMIX_INLINE Ints subBytesSaturated(Ints a, Ints b) {
    return ofBytes(vqsubq_u8(bytesIn(a.low), bytesIn(b.low)),
                   vqsubq_u8(bytesIn(a.high), bytesIn(b.high)));
  }
  static LOMIX_INLINE Ints lessWhereBelow(Ints v, Ints limits) {
    const auto less = [](uint8x16_t at, uint8x16_t limit)
                          LOMIX_INLINE_LAMBDA { return vaddq_u8(at, vcltq_u8(at, limit)); };
    return ofBytes(less(bytesIn(v.low), bytesIn(limits.low)),
                   less(bytesIn(v.high), bytesIn(limits.high)));
  }

  // In memory: a table in registers would take 16 of them, and loading it for each pair of vectors
  // is four instructions.
  class Table {
   public:
    explicit Table(const std::uint8_t* bytes) : bytes_(bytes) {}
    LOMIX_INLINE Ints operator()(Ints v) const {
      const uint8x16_t quarter = vdupq_n_u8(64);
      uint8x16_t lowAt = bytesIn(v.low);
      uint8x16_t highAt = bytesIn(v.high);
      uint8x16x4_t part = vld1q_u8_x4(bytes_);
      uint8x16_t low = vqtbl4q_u8(part, lowAt);
      uint8x16_t high = vqtbl4q_u8(part, highAt);
      for (int i = 1; i < 4; ++i) {
        lowAt = vsubq_u8(lowAt, quarter);
        highAt = vsubq_u8(highAt, quarter);
        part = vld1q_u8_x4(bytes_ + 64 * i);
        // Indices beyond the part leave the byte as it is.
        low = vqtbx4q_u8(low, part, lowAt);
        high = vqtbx4q_u8(high, part, highAt);
      }
      return ofBytes(low, high);
    }

   private:
    const std::uint8_t* bytes_;
  };

  // Words.

  static LOMIX_INLINE Ints words(std::uint16_t v) {
    return ofWords(vdupq_n_u16(v), vdupq_n_u16(v));
  }
  static LOMIX_INLINE Ints lowBytes(Ints v) {
    return ofBytes(vzip1q_u8(bytesIn(v.low), vdupq_n_u8(0)),
                   vzip1q_u8(bytesIn(v.high), vdupq_n_u8(0)));
  }
  static LOMIX_INLINE Ints highBytes(Ints v) {
    return ofBytes(vzip2q_u8(bytesIn(v.low), vdupq_n_u8(0)),
                   vzip2q_u8(bytesIn(v.high), vdupq_n_u8(0)));
  }
  static LOMIX_INLINE Ints bytesOf(Ints low, Ints high) {
    return ofBytes(vuzp1q_u8(bytesIn(low.low), bytesIn(high.low)),
                   vuzp1q_u8(bytesIn(low.high), bytesIn(high.high)));
  }
  static LOMIX_INLINE Ints productsBy256(Ints a, Ints b) {
    const auto products = [](uint8x16_t x, uint8x16_t y) LOMIX_INLINE_LAMBDA {
      return vuzp2q_u8(vreinterpretq_u8_u16(vmull_u8(vget_low_u8(x), vget_low_u8(y))),
                       vreinterpretq_u8_u16(vmull_high_u8(x, y)));
    };
    return ofBytes(products(bytesIn(a.low), bytesIn(b.low)),
                   products(bytesIn(a.high), bytesIn(b.high)));
  }
  static LOMIX_INLINE Ints lowPairs(Ints a, Ints b) {
    return ofWords(vzip1q_u16(wordsIn(a.low), wordsIn(b.low)),
                   vzip1q_u16(wordsIn(a.high), wordsIn(b.high)));
  }
  static LOMIX_INLINE Ints highPairs(Ints a, Ints b) {
    return ofWords(vzip2q_u16(wordsIn(a.low), wordsIn(b.low)),
                   vzip2q_u16(wordsIn(a.high), wordsIn(b.high)));
  }
  static LOMIX_INLINE Ints wordsOf(Ints low, Ints high) {
    return ofWords(vuzp1q_u16(wordsIn(low.low), wordsIn(high.low)),
                   vuzp1q_u16(wordsIn(low.high), wordsIn(high.high)));
  }
  // Conversion to integers saturates and turns NaN to 0: the low halves hold all values.
  static LOMIX_INLINE Ints saturatedBytesOf(Ints a, Ints b, Ints c, Ints d) {
    const Ints first = wordsOf(a, b);
    const Ints second = wordsOf(c, d);
    const auto packed = [](uint32x4_t low, uint32x4_t high) LOMIX_INLINE_LAMBDA {
      return vqmovn_high_u16(vqmovn_u16(wordsIn(low)), wordsIn(high));
    };
    return ofBytes(packed(first.low, second.low), packed(first.high, second.high));
  }
  static LOMIX_INLINE Ints subWords(Ints a, Ints b) {
    return ofWords(vsubq_u16(wordsIn(a.low), wordsIn(b.low)),
                   vsubq_u16(wordsIn(a.high), wordsIn(b.high)));
  }
  static LOMIX_INLINE Ints mulWords(Ints a, Ints b) {
    return ofWords(vmulq_u16(wordsIn(a.low), wordsIn(b.low)),
                   vmulq_u16(wordsIn(a.high), wordsIn(b.high)));
  }

  // 8-bit pixels.

  static LOMIX_INLINE Ints load(const PF_Pixel* from) {
    return loadBytes(reinterpret_cast<const std::uint8_t*>(from));
  }
  static LOMIX_INLINE Ints loadLanes(const PF_Pixel* from, int first, int end) {
    PF_Pixel lanes[kFloats] = {};
    for (int i = first; i < end; ++i) lanes[i] = from[i];
    return load(lanes);
  }
  static LOMIX_INLINE void store(PF_Pixel* to, Ints v) {
    storeBytes(reinterpret_cast<std::uint8_t*>(to), v);
  }
  static LOMIX_INLINE void storeFew(PF_Pixel* to, int count, Ints v) {
    PF_Pixel lanes[kFloats];
    store(lanes, v);
    for (int i = 0; i < count; ++i) to[i] = lanes[i];
  }
  static LOMIX_INLINE void stream(PF_Pixel* to, Ints v) { store(to, v); }

  class AlphaBytes {
   public:
    explicit AlphaBytes(int channel) : bytes_(vdupq_n_u32(255u << 8 * channel)) {}
    LOMIX_INLINE bool allFull(Ints pixels) const {
      return vmaxvq_u32(vbicq_u32(bytes_, vandq_u32(pixels.low, pixels.high))) == 0;
    }
    LOMIX_INLINE Ints with(Ints alphas, Ints colours) const {
      return {vbslq_u32(bytes_, alphas.low, colours.low),
              vbslq_u32(bytes_, alphas.high, colours.high)};
    }

   private:
    uint32x4_t bytes_;
  };

  // Float pixels.

  static LOMIX_INLINE Channels channels(float v) { return floats(v); }
  template <int kPart>
  static LOMIX_INLINE Channels eachPixel(Singles v) {
    constexpr int kFirst = kPart * kPixels32;
    return {vdupq_laneq_f32(v, kFirst), vdupq_laneq_f32(v, kFirst + 1)};
  }
  template <typename Function>
  static LOMIX_INLINE Channels inDoubles(Channels a, Channels b, const Function& function) {
    return {narrow(function(widen(a.low), widen(b.low))),
            narrow(function(widen(a.high), widen(b.high)))};
  }
  // By comparison: the instruction for the maximum orders zeros by their signs.
  static LOMIX_INLINE Channels notNegative(Channels v) {
    return {without(vcltzq_f32(v.low), v.low), without(vcltzq_f32(v.high), v.high)};
  }
  static LOMIX_INLINE Channels zeroedBy(Channels factors, Channels v) {
    return {without(vceqzq_f32(factors.low), v.low), without(vceqzq_f32(factors.high), v.high)};
  }
  static LOMIX_INLINE Channels load(const PF_PixelFloat* from) {
    const auto* at = reinterpret_cast<const float*>(from);
    return {vld1q_f32(at), vld1q_f32(at + 4)};
  }
  static LOMIX_INLINE Channels loadLanes(const PF_PixelFloat* from, int first, int end) {
    const auto lane = [&](int i) LOMIX_INLINE_LAMBDA {
      return i >= first && i < end ? vld1q_f32(reinterpret_cast<const float*>(from + i))
                                   : vdupq_n_f32(0.0f);
    };
    return {lane(0), lane(1)};
  }
  static LOMIX_INLINE Channels either(Channels a, Channels b) {
    const auto merged = [](float32x4_t x, float32x4_t y) LOMIX_INLINE_LAMBDA {
      return vreinterpretq_f32_u32(vorrq_u32(vreinterpretq_u32_f32(x), vreinterpretq_u32_f32(y)));
    };
    return {merged(a.low, b.low), merged(a.high, b.high)};
  }
  static LOMIX_INLINE void store(PF_PixelFloat* to, Channels v) { storeFew(to, kPixels32, v); }
  static LOMIX_INLINE void storeFew(PF_PixelFloat* to, int count, Channels v) {
    if (count > 0) vst1q_f32(reinterpret_cast<float*>(to), v.low);
    if (count > 1) vst1q_f32(reinterpret_cast<float*>(to + 1), v.high);
  }
  static LOMIX_INLINE void stream(PF_PixelFloat* to, Channels v) { store(to, v); }

  class AlphaChannels {
   public:
    explicit AlphaChannels(int channel)
        : lanes_(vceqq_u32(uint32x4_t{0, 1, 2, 3}, vdupq_n_u32(static_cast<unsigned>(channel)))),
          spread_(vreinterpretq_u8_u32(
              vdupq_n_u32(0x03020100u + 0x04040404u * static_cast<unsigned>(channel)))) {}
    LOMIX_INLINE bool allOne(Channels pixels) const {
      const float32x4_t one = vdupq_n_f32(1.0f);
      const uint32x4_t ones = vandq_u32(vceqq_f32(pixels.low, one), vceqq_f32(pixels.high, one));
      return vmaxvq_u32(vbicq_u32(lanes_, ones)) == 0;
    }
    LOMIX_INLINE Channels spread(Channels pixels) const {
      return {spread(pixels.low), spread(pixels.high)};
    }
    LOMIX_INLINE Channels with(Channels alphas, Channels colours) const {
      return {vbslq_f32(lanes_, alphas.low, colours.low),
              vbslq_f32(lanes_, alphas.high, colours.high)};
    }

   private:
    LOMIX_INLINE float32x4_t spread(float32x4_t pixel) const {
      return vreinterpretq_f32_u8(vqtbl1q_u8(vreinterpretq_u8_f32(pixel), spread_));
    }

    uint32x4_t lanes_;  // all bits set in the alphas
    uint8x16_t spread_;
  };

  // Memory.

  static LOMIX_INLINE void prefetch(const char* at) { __builtin_prefetch(at, 0, 2); }
  // Ordinary stores need no fence.
  static void finishStreaming() {}

 private:
  static LOMIX_INLINE uint8x16_t bytesIn(uint32x4_t v) { return vreinterpretq_u8_u32(v); }
  static LOMIX_INLINE uint16x8_t wordsIn(uint32x4_t v) { return vreinterpretq_u16_u32(v); }
  static LOMIX_INLINE Ints ofBytes(uint8x16_t low, uint8x16_t high) {
    return {vreinterpretq_u32_u8(low), vreinterpretq_u32_u8(high)};
  }
  static LOMIX_INLINE Ints ofWords(uint16x8_t low, uint16x8_t high) {
    return {vreinterpretq_u32_u16(low), vreinterpretq_u32_u16(high)};
  }
  static LOMIX_INLINE float64x2_t exclusiveOr(float64x2_t a, float64x2_t b) {
    return vreinterpretq_f64_u64(veorq_u64(vreinterpretq_u64_f64(a), vreinterpretq_u64_f64(b)));
  }
  static LOMIX_INLINE float64x2_t lowestAsSign(float64x2_t v) {
    return vreinterpretq_f64_u64(vshlq_n_u64(vreinterpretq_u64_f64(v), 63));
  }
  static LOMIX_INLINE uint64x2_t bitsBelow(float64x2_t v, long long offset, long long mask,
                                           long long limit) {
    const int64x2_t bits = vaddq_s64(vreinterpretq_s64_f64(v), vdupq_n_s64(offset));
    return vcltq_s64(vandq_s64(bits, vdupq_n_s64(mask)), vdupq_n_s64(limit));
  }
  static LOMIX_INLINE uint32x4_t truncated(Doubles v) {
    return vuzp1q_u32(vreinterpretq_u32_s64(vcvtq_s64_f64(v.low)),
                      vreinterpretq_u32_s64(vcvtq_s64_f64(v.high)));
  }
  // Returns 0 in the lanes of the mask, v in the others.
  static LOMIX_INLINE float32x4_t without(uint32x4_t mask, float32x4_t v) {
    return vreinterpretq_f32_u32(vbicq_u32(vreinterpretq_u32_f32(v), mask));
  }
};

}  // namespace
}  // namespace lomix::engine
