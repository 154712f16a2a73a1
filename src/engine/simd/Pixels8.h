// Premultiply, unmultiply and blend of 8-bit pixels of any alpha, in vectors.
#pragma once

#include <cstdint>

#include "engine/SimdTarget.h"
#include "engine/simd/Inline.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Returns bytes * words >> 8; lowWords and highWords belong to the low and high half of the bytes.
template <typename V>
LOMIX_INLINE typename V::Ints productsBy256(typename V::Ints bytes, typename V::Ints lowWords,
                                            typename V::Ints highWords) {
  const auto low = V::mulWords(V::lowBytes(bytes), lowWords);
  const auto high = V::mulWords(V::highBytes(bytes), highWords);
  return V::bytesOf(V::template wordsShiftedRight<8>(low), V::template wordsShiftedRight<8>(high));
}

// The shuffle controls that depend on where alpha is, for 16 bytes of a vector. They are loaded
// once per run, so that one instantiation of the code serves both places.
struct PixelShuffles {
  static constexpr std::uint8_t kZero = 0x80;

  std::uint8_t greys[16];        // integers to pixels: the low byte as all colours, alpha 0
  std::uint8_t lowAlphas[16];    // pixels 0 and 1 to words: alpha in place of each channel
  std::uint8_t highAlphas[16];   // the same for pixels 2 and 3
  std::uint8_t channels[4][16];  // pixels to integers of one channel: three colours, then alpha
  std::uint8_t pixels[16];       // four bytes of each channel in that order to pixels

  constexpr explicit PixelShuffles(AlphaPlace place)
      : greys(), lowAlphas(), highAlphas(), channels(), pixels() {
    const int alphaByte = place == AlphaPlace::First ? 0 : 3;
    const int firstColourByte = place == AlphaPlace::First ? 1 : 0;
    for (int i = 0; i < 16; ++i) {
      const int byte = i % 4;
      const int pixel = i / 4;
      greys[i] = byteOrZero(byte != alphaByte, 4 * pixel);
      lowAlphas[i] = byteOrZero(i % 2 == 0, i / 8 * 4 + alphaByte);
      highAlphas[i] = byteOrZero(i % 2 == 0, 8 + i / 8 * 4 + alphaByte);
      for (int channel = 0; channel < 4; ++channel) {
        const int from = channel == 3 ? alphaByte : firstColourByte + channel;
        channels[channel][i] = byteOrZero(byte == 0, i + from);
      }
      const int channel = byte == alphaByte ? 3 : byte - firstColourByte;
      pixels[i] = static_cast<std::uint8_t>(4 * channel + pixel);
    }
  }

 private:
  static constexpr std::uint8_t byteOrZero(bool isByte, int at) {
    return isByte ? static_cast<std::uint8_t>(at) : kZero;
  }
};

inline const PixelShuffles& pixelShuffles(AlphaPlace place) {
  static constexpr PixelShuffles kFirst(AlphaPlace::First);
  static constexpr PixelShuffles kLast(AlphaPlace::Last);
  return place == AlphaPlace::First ? kFirst : kLast;
}

// Multiplies each colour by its pixel's alpha.
template <typename V>
class Premultiply {
  using Ints = typename V::Ints;

 public:
  explicit Premultiply(const PixelShuffles& shuffles)
      : lowAlphas_(V::repeated(shuffles.lowAlphas)),
        highAlphas_(V::repeated(shuffles.highAlphas)) {}

  LOMIX_INLINE Ints operator()(Ints pixels) const {
    return productsBy256<V>(pixels, V::shuffled(pixels, lowAlphas_),
                            V::shuffled(pixels, highAlphas_));
  }

 private:
  Ints lowAlphas_, highAlphas_;
};

// Draws an overlay of constant alpha over the alphas of pixels.
template <typename V>
class AlphaOver {
 public:
  AlphaOver(bool used, int alpha)
      : used_(used),
        left_(V::ints(static_cast<std::uint32_t>(255 - alpha))),
        alpha_(V::ints(static_cast<std::uint32_t>(alpha))) {}
  LOMIX_INLINE typename V::Ints operator()(typename V::Ints alphas) const {
    if (!used_) return alphas;
    return V::add(V::template shiftedRight<8>(V::mulWords(alphas, left_)), alpha_);
  }

 private:
  bool used_;
  typename V::Ints left_, alpha_;
};

// The last step of a row: computes the alpha that the overlays leave of the source's, and turns
// premultiplied colours into straight ones.
template <typename V>
class Unmultiply {
  using Ints = typename V::Ints;
  using Floats = typename V::Floats;

 public:
  Unmultiply(const Row8& row, bool grain, const PixelShuffles& shuffles)
      : channels_{V::repeated(shuffles.channels[0]), V::repeated(shuffles.channels[1]),
                  V::repeated(shuffles.channels[2]), V::repeated(shuffles.channels[3])},
        pixels_(V::repeated(shuffles.pixels)),
        bars_(row.bars, row.barsPixel.alpha),
        grain_(grain, row.grainAlpha),
        dark_(row.dark, row.darkPixel.alpha) {}

  LOMIX_INLINE Ints operator()(Ints colours, Ints source) const {
    const Ints alphas = dark_(grain_(bars_(V::shuffled(source, channels_[3]))));
    const Floats reciprocals = reciprocalsOf(V::converted(alphas));
    const auto quotients = [&](Ints channel) LOMIX_INLINE_LAMBDA {
      return V::truncated(V::mul(V::converted(V::shuffled(colours, channel)), reciprocals));
    };
    // Packing with saturation clamps quotients to 255. Where alpha is 0 the reciprocal is NaN: its
    // products convert to the least integer, which saturates to 0, as they have to.
    const Ints low = V::saturatedWordsOf(quotients(channels_[0]), quotients(channels_[1]));
    const Ints high = V::saturatedWordsOf(quotients(channels_[2]), alphas);
    return V::shuffled(V::bytesOf(low, high), pixels_);
  }

 private:
  // Returns 256 / alpha, between 2^-21 and 2^-19 of itself too large.
  // 1. A quotient of bytes that is no integer is at least 1/255 away from the next one: such an
  //    excess does not change how it truncates.
  // 2. One Newton step squares the error of the estimate, at most 2^-11. Each of its own
  //    roundings adds 2^-23.
  static LOMIX_INLINE Floats reciprocalsOf(Floats alphas) {
    const Floats estimate = V::reciprocalEstimate(alphas);
    const Floats error = V::fnma(alphas, estimate, V::floats(1.0f + 0x1p-20f));
    return V::mul(V::fma(estimate, error, estimate), V::floats(256.0f));
  }

  Ints channels_[4];
  Ints pixels_;
  AlphaOver<V> bars_, grain_, dark_;
};

// Returns original + amount * (effect - original), fused and truncated, as PixelLerp8 does.
template <typename V>
class FormulaBlend {
  using Ints = typename V::Ints;

 public:
  // amount: in [0, 1).
  explicit FormulaBlend(float amount) : amount_(V::floats(amount * 0x1p-16f)) {}

  LOMIX_INLINE Ints operator()(Ints original, Ints effect) const {
    return V::bytesOf(words(V::lowBytes(original), V::lowBytes(effect)),
                      words(V::highBytes(original), V::highBytes(effect)));
  }

 private:
  LOMIX_INLINE Ints words(Ints original, Ints effect) const {
    const Ints zero = V::ints(0);
    const Ints difference = V::subWords(effect, original);
    return V::wordsOf(integers(V::lowPairs(original, zero), V::lowPairs(zero, difference)),
                      integers(V::highPairs(original, zero), V::highPairs(zero, difference)));
  }
  // The difference is scaled by 2^16 and the amount by 2^-16, which changes no rounding. An amount
  // so small that it becomes subnormal changes no pixel.
  LOMIX_INLINE Ints integers(Ints original, Ints difference) const {
    return V::truncated(V::fma(amount_, V::converted(difference), V::converted(original)));
  }

  typename V::Floats amount_;
};

}  // namespace
}  // namespace lomix::engine
