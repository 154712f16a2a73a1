// What 8-bit pixels go through, whatever their alpha, in vectors.
#pragma once

#include "engine/SimdTarget.h"
#include "engine/simd/Inline.h"

namespace lomix::engine {
// Of each file's own: the same code compiled for two processors must never be taken for one.
namespace {

// Bytes times the words of their low and high halves, high 8 bits of the products.
template <typename V>
LOMIX_INLINE typename V::Ints productsBy256(typename V::Ints bytes, typename V::Ints lowWords,
                                            typename V::Ints highWords) {
  const auto low = V::mulWords(V::lowBytes(bytes), lowWords);
  const auto high = V::mulWords(V::highBytes(bytes), highWords);
  return V::bytesOf(V::template wordsShiftedRight<8>(low), V::template wordsShiftedRight<8>(high));
}

// Each colour times its pixel's alpha.
template <typename V>
LOMIX_INLINE typename V::Ints premultiplied(typename V::Ints pixels) {
  return productsBy256<V>(pixels, V::lowAlphas(pixels), V::highAlphas(pixels));
}

// An overlay's effect on an alpha: what it leaves of it, and its own alpha.
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

// The end of a row's way: premultiplied colours under the alpha that its overlays leave, without
// that alpha.
template <typename V>
class Unmultiply {
  using Ints = typename V::Ints;
  using Floats = typename V::Floats;

 public:
  Unmultiply(const Row8& row, bool grain)
      : bars_(row.bars, row.barsPixel.alpha),
        grain_(grain, row.grainAlpha),
        dark_(row.dark, row.darkPixel.alpha) {}

  LOMIX_INLINE Ints operator()(Ints colours, Ints source) const {
    const Ints byte = V::ints(255);
    const Ints alphas = dark_(grain_(bars_(V::both(source, byte))));
    const Floats reciprocals = reciprocalsOf(V::converted(alphas));
    const Ints red = quotient(V::both(V::template shiftedRight<8>(colours), byte), reciprocals);
    const Ints green = quotient(V::both(V::template shiftedRight<16>(colours), byte), reciprocals);
    const Ints blue = quotient(V::template shiftedRight<24>(colours), reciprocals);
    const Ints unmultiplied =
        V::either(V::template shiftedLeft<8>(red),
                  V::either(V::template shiftedLeft<16>(green), V::template shiftedLeft<24>(blue)));
    return V::either(alphas, V::whereNotZero(alphas, unmultiplied));
  }

 private:
  // 256 / alpha, a little too large: a quotient of bytes keeps 1/255 away from the next whole
  // number, so that one between 2^-21 and 2^-19 too large truncates to the same. The step makes the
  // error of the estimate, at most 2^-11, its square, beside which its own roundings are 2^-23
  // each.
  static LOMIX_INLINE Floats reciprocalsOf(Floats alphas) {
    const Floats estimate = V::reciprocalEstimate(alphas);
    const Floats error = V::fnma(alphas, estimate, V::floats(1.0f + 0x1p-20f));
    return V::mul(V::fma(estimate, error, estimate), V::floats(256.0f));
  }
  static LOMIX_INLINE Ints quotient(Ints colour, Floats reciprocals) {
    return V::lesser(V::truncated(V::mul(V::converted(colour), reciprocals)), V::ints(255));
  }

  AlphaOver<V> bars_, grain_, dark_;
};

// original + amount * (effect - original), fused, truncated.
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
  // The differences and the amount are scaled by 2^16 and 2^-16, which changes no rounding; an
  // amount too small for that moves no pixel.
  LOMIX_INLINE Ints integers(Ints original, Ints difference) const {
    return V::truncated(V::fma(amount_, V::converted(difference), V::converted(original)));
  }

  typename V::Floats amount_;
};

}  // namespace
}  // namespace lomix::engine
