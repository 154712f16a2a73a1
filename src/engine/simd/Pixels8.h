// Draws runs of 8-bit pixels in vectors.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "engine/SimdTarget.h"
#include "engine/simd/Grain.h"
#include "engine/simd/Inline.h"
#include "engine/simd/Runs.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// The shuffle controls that depend on where alpha is, for a group of kGroup pixels. They are loaded
// once per run, so that one instantiation of the code serves both places.
template <int kGroup>
struct PixelShuffles {
  static constexpr std::uint8_t kZero = 0x80;
  static constexpr int kBytes = 4 * kGroup;

  std::uint8_t greys[kBytes];        // integers to pixels: the low byte as all colours, alpha 0
  std::uint8_t alphas[kBytes];       // pixels to their alphas, in each of the four bytes
  std::uint8_t channels[4][kBytes];  // pixels to integers of one channel: three colours, then alpha
  std::uint8_t pixels[kBytes];       // the bytes of each channel in that order to pixels

  constexpr explicit PixelShuffles(AlphaPlace place) : greys(), alphas(), channels(), pixels() {
    const int alphaByte = place == AlphaPlace::First ? 0 : 3;
    const int firstColourByte = place == AlphaPlace::First ? 1 : 0;
    for (int i = 0; i < kBytes; ++i) {
      const int byte = i % 4;
      const int pixel = i / 4;
      greys[i] = byteOrZero(byte != alphaByte, 4 * pixel);
      alphas[i] = static_cast<std::uint8_t>(4 * pixel + alphaByte);
      for (int channel = 0; channel < 4; ++channel) {
        const int from = channel == 3 ? alphaByte : firstColourByte + channel;
        channels[channel][i] = byteOrZero(byte == 0, i + from);
      }
      const int channel = byte == alphaByte ? 3 : byte - firstColourByte;
      pixels[i] = static_cast<std::uint8_t>(kGroup * channel + pixel);
    }
  }

 private:
  static constexpr std::uint8_t byteOrZero(bool isByte, int at) {
    return isByte ? static_cast<std::uint8_t>(at) : kZero;
  }
};

template <int kGroup>
const PixelShuffles<kGroup>& pixelShuffles(AlphaPlace place) {
  static constexpr PixelShuffles<kGroup> kFirst(AlphaPlace::First);
  static constexpr PixelShuffles<kGroup> kLast(AlphaPlace::Last);
  return place == AlphaPlace::First ? kFirst : kLast;
}

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
  Unmultiply(const Row8& row, bool grain, const PixelShuffles<V::kGroup>& shuffles)
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
    // Saturation clamps the quotients. Where alpha is 0 they are NaN, and their bytes 0.
    return V::shuffled(V::saturatedBytesOf(quotients(channels_[0]), quotients(channels_[1]),
                                           quotients(channels_[2]), alphas),
                       pixels_);
  }

 private:
  // Returns 256 / alpha, between 2^-21 and 2^-19 of itself too large. A quotient of bytes that is
  // no integer is at least 1/255 away from the next one: such an excess does not change how it
  // truncates. From an estimate, one Newton step squares its error, at most 2^-11; each rounding of
  // the step adds 2^-23.
  static LOMIX_INLINE Floats reciprocalsOf(Floats alphas) {
    constexpr float kExcess = 1.0f + 0x1p-20f;
    if constexpr (V::kEstimatesReciprocals) {
      const Floats estimate = V::reciprocalEstimate(alphas);
      const Floats error = V::fnma(alphas, estimate, V::floats(kExcess));
      return V::mul(V::fma(estimate, error, estimate), V::floats(256.0f));
    } else {
      return V::div(V::floats(256.0f * kExcess), alphas);
    }
  }

  Ints channels_[4];
  Ints pixels_;
  AlphaOver<V> bars_, grain_, dark_;
};

// Returns original + amount * (effect - original), fused and truncated, as PixelLerp8 does.
//
// Without fused operations an amount of at least 2^-8 is split at 2^-16. Its high part times the
// difference of two bytes and the sum with the original are multiples of 2^-16 below 2^8. The low
// part has 15 bits, so that its product is exact too. Thus only the last sum rounds.
template <typename V>
class FormulaBlend {
  using Ints = typename V::Ints;
  using Floats = typename V::Floats;

 public:
  // amount: in [0, 1).
  explicit FormulaBlend(float amount)
      : FormulaBlend(amount, std::floor(amount * 0x1p16f) * 0x1p-16f) {}

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
    return V::truncated(sum(V::converted(original), V::converted(difference)));
  }
  LOMIX_INLINE Floats sum(Floats original, Floats difference) const {
    if constexpr (!V::kFused) {
      if (split_) {
        return V::add(V::add(original, V::mul(high_, difference)), V::mul(low_, difference));
      }
    }
    return V::fma(amount_, difference, original);
  }

  FormulaBlend(float amount, float high)
      : split_(amount >= 0x1p-8f),
        amount_(V::floats(amount * 0x1p-16f)),
        high_(V::floats(high * 0x1p-16f)),
        low_(V::floats((amount - high) * 0x1p-16f)) {}

  bool split_;
  Floats amount_, high_, low_;
};

// Applies a ByteMap by its lines and corrections. kBitSets: its bitSets().
template <typename V, int kBitSets>
class LineMap {
  using Ints = typename V::Ints;

 public:
  explicit LineMap(const ByteMap& map)
      : factor_(V::words(map.factor(0))),
        factorChange_(V::words(map.factor(0) ^ map.factor(1))),
        offset_(V::words(static_cast<std::uint16_t>(map.offset(0)))),
        offsetChange_(V::words(static_cast<std::uint16_t>(map.offset(0) ^ map.offset(1)))),
        bits_(V::repeated(kBits)),
        ones_{V::repeated(map.ones()[0].data()), V::repeated(map.ones()[1].data())},
        twos_{V::repeated(map.twos()[0].data()), V::repeated(map.twos()[1].data())} {}

  LOMIX_INLINE Ints operator()(Ints bytes) const {
    const Ints line =
        V::saturatedBytesOf(onLine(V::lowBytesBy256(bytes)), onLine(V::highBytesBy256(bytes)));
    if constexpr (kBitSets == 0) return line;
    const Ints nibble = V::bytes(15);
    const Ints low = V::both(bytes, nibble);
    const Ints bit = V::shuffled(bits_, V::both(V::template shiftedRight<4>(bytes), nibble));
    Ints result = V::subBytes(line, inSet(ones_, bytes, low, bit));
    if constexpr (kBitSets == 2) {
      const Ints twos = inSet(twos_, bytes, low, bit);
      result = V::subBytes(result, V::addBytes(twos, twos));
    }
    return result;
  }

 private:
  static constexpr std::uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                             1, 2, 4, 8, 16, 32, 64, 128};

  // Returns -1 in the bytes that are in the set, 0 in the others.
  static LOMIX_INLINE Ints inSet(const Ints (&set)[2], Ints bytes, Ints low, Ints bit) {
    const Ints entry = V::byHighBits(bytes, V::shuffled(set[1], low), V::shuffled(set[0], low));
    return V::equalBytes(V::both(entry, bit), bit);
  }
  // words: bytes * 256; the high bit says which half a byte is in.
  LOMIX_INLINE Ints onLine(Ints words) const {
    const Ints upper = V::template wordsShiftedRightSigned<15>(words);
    const Ints factor = V::exclusiveOr(factor_, V::both(upper, factorChange_));
    const Ints offset = V::exclusiveOr(offset_, V::both(upper, offsetChange_));
    return V::template wordsShiftedRightSigned<6>(
        V::addWords(V::mulWordsHigh(words, factor), offset));
  }

  Ints factor_, factorChange_, offset_, offsetChange_;
  Ints bits_;
  Ints ones_[2];
  Ints twos_[2];
};

// The map of rows whose colours are only premultiplied and unmultiplied.
struct NoMap {
  template <typename Ints>
  LOMIX_INLINE Ints operator()(Ints bytes) const {
    return bytes;
  }
};

// 255 * v >> 8 is v - 1, or 0 for 0.
template <typename V>
LOMIX_INLINE typename V::Ints premultipliedOpaque(typename V::Ints colours) {
  return V::subBytesSaturated(colours, V::bytes(1));
}

// The colours of opaque pixels, by arithmetic: the steps of other pixels, with a multiplication
// instead of the division.
template <typename V, typename Map, bool kGrain>
class OpaqueByArithmetic {
  using Ints = typename V::Ints;

 public:
  explicit OpaqueByArithmetic(const Row8& row)
      : unmult_(row.unmultFactor != 0), unmultFactor_(V::words(row.unmultFactor)) {}

  // overlaid: applies the overlays to premultiplied colours.
  LOMIX_INLINE Ints operator()(Ints source, const auto& grain, const auto& overlaid) const {
    const Ints colours = overlaid(premultipliedOpaque<V>(source), grain);
    if (!unmult_) return colours;
    const Ints low = V::mulWordsHigh(V::lowBytes(colours), unmultFactor_);
    const Ints high = V::mulWordsHigh(V::highBytes(colours), unmultFactor_);
    return V::addBytesSaturated(colours, V::bytesOf(low, high));
  }

 private:
  bool unmult_;
  Ints unmultFactor_;
};

// A function of bytes that table() makes of others, in memory that a V::Table may refer to.
template <typename V, typename Function>
void fillTable(ByteTable& table, const Function& function) {
  for (std::size_t at = 0; at < table.size(); at += sizeof(typename V::Ints)) {
    V::storeBytes(table.data() + at, function(V::loadBytes(kIdentityTable.data() + at)));
  }
}

// The tables of a row that are composed of others. They must outlive the pipeline.
struct RowTables {
  alignas(64) ByteTable opaque;
};

// The colours of opaque pixels, by table. Look-ups compose: premultiply and map are one table, as
// are scanlines over the grain and unmultiply; without grain all of them are one. This is why
// instruction sets with look-ups in 256 bytes take them for all steps: a third fewer instructions
// per pixel than by arithmetic.
template <typename V, typename Map, bool kGrain>
class OpaqueByTable {
  using Ints = typename V::Ints;

 public:
  OpaqueByTable(const Row8& row, const RowTables& tables)
      : colours_(tables.opaque.data()), finish_(row.finish->data()) {}

  static void fill(const Row8& row, RowTables& tables) {
    if constexpr (!kTrivial) {
      const typename V::Table map(row.colourMap->table().data());
      const typename V::Table finish(row.finish->data());
      fillTable<V>(tables.opaque, [&](Ints bytes) LOMIX_INLINE_LAMBDA {
        const Ints colours = map(premultipliedOpaque<V>(bytes));
        return kGrain ? colours : finish(colours);
      });
    }
  }

  LOMIX_INLINE Ints operator()(Ints source, const auto& grain, const auto&) const {
    if constexpr (kTrivial) return premultipliedOpaque<V>(source);
    if constexpr (kGrain) return finish_(V::addBytes(colours_(source), grain));
    return colours_(source);
  }

 private:
  static constexpr bool kTrivial = std::is_same_v<Map, NoMap>;

  typename V::Table colours_, finish_;
};

// The blend of effect and original by look-up tables where they are exact, else computed. A third
// fewer instructions than the formula alone.
template <typename V>
class BlendByTable {
  using Ints = typename V::Ints;

 public:
  explicit BlendByTable(const Row8& row)
      : byTable_(row.blendMap != nullptr),
        formula_(row.effectAmount),
        rise_((byTable_ ? row.blendMap->rise() : kIdentityTable).data()),
        fall_((byTable_ ? row.blendMap->fall() : kIdentityTable).data()),
        limit_((byTable_ ? row.blendMap->limit() : kIdentityTable).data()),
        limitsRise_(byTable_ && row.blendMap->limitsRise()),
        limitsFall_(byTable_ && row.blendMap->limitsFall()) {}

  LOMIX_INLINE Ints operator()(Ints original, Ints effect) const {
    return byTable_ ? lookedUp(original, effect) : formula_(original, effect);
  }

 private:
  LOMIX_INLINE Ints lookedUp(Ints original, Ints effect) const {
    const Ints above = V::subBytesSaturated(effect, original);
    const Ints below = V::subBytesSaturated(original, effect);
    // One of the two distances is 0, whose tables hold 0.
    const Ints result = V::subBytes(V::addBytes(original, rise_(above)), fall_(below));
    if (limitsFall_) return V::lessWhereBelow(result, limit_(below));
    if (limitsRise_) return V::lessWhereBelow(result, limit_(above));
    return result;
  }

  bool byTable_;
  FormulaBlend<V> formula_;
  typename V::Table rise_, fall_, limit_;
  bool limitsRise_, limitsFall_;
};

// Computes output pixels of a row from source pixels. Map: a LineMap, a V::Table or NoMap.
template <typename V, typename Map, typename Opaque, typename Blend, bool kGrain>
class Pipeline8 {
  using Ints = typename V::Ints;

 public:
  Pipeline8(const Row8& row, const Map& map, const Opaque& opaque, const Blend& blend)
      : Pipeline8(row, map, opaque, blend, pixelShuffles<V::kGroup>(row.alphaPlace),
                  row.alphaPlace == AlphaPlace::First ? 0 : 3) {}

  // grain: the overlay's levels as integers, where kGrain.
  LOMIX_INLINE Ints operator()(Ints source, const auto& grain) const {
    const auto overlaid = [this](Ints colours, const auto& grey) LOMIX_INLINE_LAMBDA {
      colours = map_(colours);
      if constexpr (kGrain) {
        colours = V::addBytes(colours, grey);
        if (darkAfterGrain_) colours = V::productsBy256(colours, darkLeft_);
      }
      return colours;
    };
    if (alphas_.allFull(source)) {
      return alphas_.with(opaqueAlpha_, opaque_(source, greyOf(grain), overlaid));
    }
    const Ints premultiplied = V::productsBy256(source, V::shuffled(source, alphaShuffle_));
    return unmultiply_(overlaid(premultiplied, greyOf(grain)), source);
  }

  LOMIX_INLINE Ints blended(Ints original, Ints effect) const { return blend_(original, effect); }

 private:
  Pipeline8(const Row8& row, const Map& map, const Opaque& opaque, const Blend& blend,
            const PixelShuffles<V::kGroup>& shuffles, int alphaByte)
      : map_(map),
        opaque_(opaque),
        blend_(blend),
        alphas_(alphaByte),
        opaqueAlpha_(V::ints(std::uint32_t{row.opaqueAlpha} << 8 * alphaByte)),
        greys_(V::repeated(shuffles.greys)),
        darkAfterGrain_(kGrain && row.dark),
        darkLeft_(V::bytes(static_cast<std::uint8_t>(255 - row.darkPixel.alpha))),
        alphaShuffle_(V::repeated(shuffles.alphas)),
        unmultiply_(row, kGrain, shuffles) {}

  // Returns the grain as pixels without alpha.
  LOMIX_INLINE auto greyOf(const auto& grain) const {
    if constexpr (kGrain) {
      return V::shuffled(grain, greys_);
    } else {
      return grain;
    }
  }

  Map map_;
  Opaque opaque_;
  Blend blend_;
  typename V::AlphaBytes alphas_;
  Ints opaqueAlpha_;
  Ints greys_;
  bool darkAfterGrain_;
  Ints darkLeft_;
  Ints alphaShuffle_;
  Unmultiply<V> unmultiply_;
};

// Draws a run with a pipeline and the generator of its grain, if any.
template <typename V, bool kGrain, typename Pipeline>
void run8By(const Row8& row, const Run<PF_Pixel>& run, const Pipeline& pipeline) {
  const auto draw = [&]<typename Grain>(const Grain*) {
    if (row.blend && run.original != nullptr) {
      drawRun<V, Grain, true>(row, run, pipeline);
    } else {
      drawRun<V, Grain, false>(row, run, pipeline);
    }
  };
  if constexpr (!kGrain) {
    draw(static_cast<const Ungrained<V::kFloats>*>(nullptr));
  } else if (row.grainRow.wholeCoordinates) {
    draw(static_cast<const WholeGrain<V>*>(nullptr));
  } else {
    draw(static_cast<const LevelGrain8<V>*>(nullptr));
  }
}

template <typename V, bool kGrain, typename Map>
void run8WithMap(const Row8& row, const Run<PF_Pixel>& run, const Map& map) {
  if constexpr (V::kByTable) {
    using Opaque = OpaqueByTable<V, Map, kGrain>;
    RowTables tables;
    Opaque::fill(row, tables);
    run8By<V, kGrain>(row, run,
                      Pipeline8<V, Map, Opaque, BlendByTable<V>, kGrain>(
                          row, map, Opaque(row, tables), BlendByTable<V>(row)));
  } else {
    using Opaque = OpaqueByArithmetic<V, Map, kGrain>;
    run8By<V, kGrain>(row, run,
                      Pipeline8<V, Map, Opaque, FormulaBlend<V>, kGrain>(
                          row, map, Opaque(row), FormulaBlend<V>(row.effectAmount)));
  }
}

template <typename V, typename Map>
void run8WithMap(const Row8& row, const Run<PF_Pixel>& run, const Map& map) {
  if (row.grain) return run8WithMap<V, true>(row, run, map);
  run8WithMap<V, false>(row, run, map);
}

// Draws an 8-bit run: SimdTarget's run8.
template <typename V>
void run8(const Row8& row, const Run<PF_Pixel>& run) {
  if (!row.vectorSafe || (row.grain && !row.grainRow.reducible)) {
    return formulaTarget().run8(row, run);
  }
  // A row with grain always has a map: the weight that grain leaves of the picture.
  if (row.colourMap == nullptr) return run8WithMap<V, false>(row, run, NoMap{});
  if constexpr (V::kByTable) {
    return run8WithMap<V>(row, run, typename V::Table(row.colourMap->table().data()));
  } else {
    switch (row.colourMap->bitSets()) {
      case 0:
        return run8WithMap<V>(row, run, LineMap<V, 0>(*row.colourMap));
      case 1:
        return run8WithMap<V>(row, run, LineMap<V, 1>(*row.colourMap));
      default:
        return run8WithMap<V>(row, run, LineMap<V, 2>(*row.colourMap));
    }
  }
}

}  // namespace
}  // namespace lomix::engine
