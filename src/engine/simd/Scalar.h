// Operations on vectors in plain C++: they define what every instruction set has to give, are the
// portable SIMD target, and prove in the tests that the shared code depends on no width.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "effect/numeric/Truncate.h"
#include "hostapi/Records.h"

namespace lomix::engine {
// Anonymous namespace: each instruction set gets its own copy, or the linker could merge AVX-512
// code into the AVX2 path.
namespace {

// Lanes of one type. A template argument, so that one function serves vectors of any length.
template <typename T, int kCount>
struct Lanes {
  T at[kCount];
};

/// Operations on kLanes pixels of 8 bits. kTables: look up functions of bytes in memory, rather
/// than compute them. The shared code relies on nothing but this list:
///
/// - Doubles, Singles: kDoubles lanes of double and single precision.
/// - Floats, Ints: kFloats lanes of 32 bits, as many as 8-bit pixels; a multiple of kDoubles.
/// - Channels: kPixels32 float pixels of four lanes each; kDoubles is a multiple of kPixels32.
/// - DoubleMask, SingleMask, IntMask: a truth value for each lane, of any representation.
///
/// Operations on the bytes of Ints work in groups of kGroup pixels, in each group alike: 16 bytes
/// for any instruction set, 4 bytes for a single lane. Words have 16 bits.
///
/// Arithmetic is IEEE-754's, rounded to nearest, each operation on its own. Where a result is
/// "any", the shared code does not depend on it.
template <int kLanes, bool kTables>
struct Scalar {
  static constexpr int kDoubles = std::max(1, kLanes / 2);
  static constexpr int kFloats = kLanes;
  static constexpr int kPixels32 = std::max(1, kLanes / 4);
  static constexpr int kGroup = std::min(4, kLanes);

  using Doubles = Lanes<double, kDoubles>;
  using Singles = Lanes<float, kDoubles>;
  using Floats = Lanes<float, kFloats>;
  using Ints = Lanes<std::uint32_t, kFloats>;
  using Channels = Lanes<float, 4 * kPixels32>;
  using DoubleMask = unsigned;
  using SingleMask = unsigned;
  using IntMask = unsigned;

  /// The instruction set multiplies and adds with one rounding. Without, the shared code takes
  /// divisions, splits pi and the weight of the blend; fma() below may be slow then.
  static constexpr bool kFused = false;
  /// It has Table and, in place of the operations for maps and opaque pixels by arithmetic,
  /// lessWhereBelow(), loadBytes() and storeBytes().
  static constexpr bool kByTable = kTables;
  /// It has reciprocalEstimate() and fnma() of Floats, cheaper than div().
  static constexpr bool kEstimatesReciprocals = false;

  // Numbers: all types of lanes.

  static Doubles doubles(double v) { return filled<Doubles>(v); }
  static Singles singles(float v) { return filled<Singles>(v); }
  static Floats floats(float v) { return filled<Floats>(v); }
  static Channels channels(float v) { return filled<Channels>(v); }
  static Ints ints(std::uint32_t v) { return filled<Ints>(v); }

  template <typename T, int kCount>
  static Lanes<T, kCount> add(Lanes<T, kCount> a, Lanes<T, kCount> b) {
    return each(a, b, [](T x, T y) { return x + y; });
  }
  template <typename T, int kCount>
  static Lanes<T, kCount> sub(Lanes<T, kCount> a, Lanes<T, kCount> b) {
    return each(a, b, [](T x, T y) { return x - y; });
  }
  template <typename T, int kCount>
  static Lanes<T, kCount> mul(Lanes<T, kCount> a, Lanes<T, kCount> b) {
    return each(a, b, [](T x, T y) { return x * y; });
  }
  template <typename T, int kCount>
  static Lanes<T, kCount> div(Lanes<T, kCount> a, Lanes<T, kCount> b) {
    return each(a, b, [](T x, T y) { return x / y; });
  }
  /// Returns the larger. Any of the two for zeros of both signs and where one is NaN.
  template <typename T, int kCount>
  static Lanes<T, kCount> max(Lanes<T, kCount> a, Lanes<T, kCount> b) {
    return each(a, b, [](T x, T y) { return x > y ? x : y; });
  }
  /// Returns a * b + c, rounded once.
  template <typename T, int kCount>
  static Lanes<T, kCount> fma(Lanes<T, kCount> a, Lanes<T, kCount> b, Lanes<T, kCount> c) {
    for (int i = 0; i < kCount; ++i) c.at[i] = std::fma(a.at[i], b.at[i], c.at[i]);
    return c;
  }
  /// Returns a * b + c, rounded once or twice. With kFused also fnma(), c - a * b, for Doubles.
  template <typename T, int kCount>
  static Lanes<T, kCount> mulAdd(Lanes<T, kCount> a, Lanes<T, kCount> b, Lanes<T, kCount> c) {
    return add(mul(a, b), c);
  }
  /// Returns what the rounding of a product took away: a * b - product.
  static Floats remainder(Floats a, Floats b, Floats product) {
    for (int i = 0; i < kFloats; ++i) {
      const double exact = static_cast<double>(a.at[i]) * static_cast<double>(b.at[i]);
      product.at[i] = static_cast<float>(exact - static_cast<double>(product.at[i]));
    }
    return product;
  }
  static Floats absolute(Floats v) {
    for (float& lane : v.at) lane = std::abs(lane);
    return v;
  }

  // Conversions.

  static Doubles widen(Singles v) { return converted<Doubles>(v); }
  static Singles narrow(Doubles v) { return converted<Singles>(v); }
  /// Returns first, first + 1, ...
  static Doubles countedFrom(int first) {
    Doubles v;
    for (int i = 0; i < kDoubles; ++i) v.at[i] = first + i;
    return v;
  }
  /// Returns 0, 1, 2, ...
  static Floats counted() {
    Floats v;
    for (int i = 0; i < kFloats; ++i) v.at[i] = static_cast<float>(i);
    return v;
  }
  /// Returns signed integers as numbers.
  static Floats converted(Ints v) {
    Floats result;
    for (int i = 0; i < kFloats; ++i) {
      result.at[i] = static_cast<float>(static_cast<std::int32_t>(v.at[i]));
    }
    return result;
  }
  /// Return signed integers, truncated toward zero, of values that int32 holds. NaN: 0 or the least
  /// integer. The second one: of kFloats doubles in vectors.
  static Ints truncated(Floats v) {
    Ints result;
    for (int i = 0; i < kFloats; ++i) {
      result.at[i] = static_cast<std::uint32_t>(truncateToInt32(v.at[i]));
    }
    return result;
  }
  static Ints truncated(const Doubles (&v)[kFloats / kDoubles]) {
    Ints result;
    for (int i = 0; i < kFloats; ++i) {
      const double lane = v[i / kDoubles].at[i % kDoubles];
      result.at[i] = static_cast<std::uint32_t>(truncateToInt32(lane));
    }
    return result;
  }
  /// Returns signed integers, rounded to nearest.
  static Ints rounded(Floats v) {
    // Adding this rounds a double to an integer in its low bits.
    constexpr double kRound = 0x1.8p52;
    Ints result;
    for (int i = 0; i < kFloats; ++i) {
      result.at[i] = static_cast<std::uint32_t>(
          std::bit_cast<std::uint64_t>(static_cast<double>(v.at[i]) + kRound));
    }
    return result;
  }

  // Bits and masks.

  static Doubles exclusiveOr(Doubles a, Doubles b) {
    return each(a, b, [](double x, double y) { return std::bit_cast<double>(bits(x) ^ bits(y)); });
  }
  /// Returns the lowest bit of each lane as the lane's sign bit, all other bits 0.
  static Doubles lowestAsSign(Doubles v) {
    for (double& lane : v.at) lane = std::bit_cast<double>(bits(lane) << 63);
    return v;
  }
  template <int kBits>
  static Ints shiftedRight(Ints v) {
    for (std::uint32_t& lane : v.at) lane >>= kBits;
    return v;
  }
  template <int kBits>
  static Ints shiftedLeft(Ints v) {
    for (std::uint32_t& lane : v.at) lane <<= kBits;
    return v;
  }
  static Ints both(Ints a, Ints b) {
    return each(a, b, [](std::uint32_t x, std::uint32_t y) { return x & y; });
  }
  static Ints either(Ints a, Ints b) {
    return each(a, b, [](std::uint32_t x, std::uint32_t y) { return x | y; });
  }
  static Ints exclusiveOr(Ints a, Ints b) {
    return each(a, b, [](std::uint32_t x, std::uint32_t y) { return x ^ y; });
  }
  /// Returns the bits of both; loadLanes() gives 0 in the lanes that it leaves out.
  static Channels either(Channels a, Channels b) {
    return each(a, b, [](float x, float y) {
      return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) |
                                  std::bit_cast<std::uint32_t>(y));
    });
  }

  /// Returns the lanes with ((bits + offset) & mask) < limit, as signed integers.
  static DoubleMask bitsBelow(Doubles v, long long offset, long long mask, long long limit) {
    return maskOf(v, v, [=](double x, double) {
      return static_cast<long long>((bits(x) + static_cast<std::uint64_t>(offset)) &
                                    static_cast<std::uint64_t>(mask)) < limit;
    });
  }
  /// Returns the lanes whose magnitude is below the limit.
  static DoubleMask nearZero(Doubles v, double limit) {
    return maskOf(v, v, [limit](double x, double) { return std::abs(x) < limit; });
  }
  /// Returns the lanes with a < b.
  static DoubleMask below(Doubles a, Doubles b) {
    return maskOf(a, b, [](double x, double y) { return x < y; });
  }
  /// Returns a in the lanes of the mask, b in the others.
  static Doubles selected(DoubleMask mask, Doubles a, Doubles b) {
    for (int i = 0; i < kDoubles; ++i) b.at[i] = (mask >> i & 1) != 0 ? a.at[i] : b.at[i];
    return b;
  }
  /// Return the lanes that differ; a NaN differs from anything.
  static SingleMask differing(Singles a, Singles b) {
    return maskOf(a, b, [](float x, float y) { return x != y; });
  }
  static IntMask differing(Ints a, Ints b) {
    return maskOf(a, b, [](std::uint32_t x, std::uint32_t y) { return x != y; });
  }
  static SingleMask noSingles() { return 0; }
  /// Operations on masks of any kind. laneBits: bit i for lane i; rarely called.
  static unsigned either(unsigned a, unsigned b) { return a | b; }
  static bool any(unsigned mask) { return mask != 0; }
  static unsigned laneBits(unsigned mask) { return mask; }

  // Arrays of one vector's lanes, at any address.

  static Singles load(const float* from) { return loaded<Singles>(from); }
  static void store(float* to, Singles v) { std::memcpy(to, &v, sizeof v); }
  static Ints load(const std::uint32_t* from) { return loaded<Ints>(from); }
  static void store(std::uint32_t* to, Ints v) { std::memcpy(to, &v, sizeof v); }
  static Ints loadBytes(const std::uint8_t* from) { return loaded<Ints>(from); }
  static void storeBytes(std::uint8_t* to, Ints v) { std::memcpy(to, &v, sizeof v); }

  // Bytes.

  static Ints bytes(std::uint8_t v) { return ints(v * 0x01010101u); }
  /// Returns a group's bytes in each group.
  static Ints repeated(const std::uint8_t* from) {
    Bytes result;
    for (int i = 0; i < kBytes; ++i) result.at[i] = from[i % kGroupBytes];
    return packed(result);
  }
  /// Shuffles the bytes of each group: byte i of the result is v[control[i]], or 0 where control[i]
  /// has its high bit set.
  static Ints shuffled(Ints v, Ints control) {
    const Bytes from = unpacked<Bytes>(v);
    Bytes result = unpacked<Bytes>(control);
    for (int i = 0; i < kBytes; ++i) {
      const int at = result.at[i] & (kGroupBytes - 1);
      const std::uint8_t byte = from.at[i / kGroupBytes * kGroupBytes + at];
      result.at[i] = result.at[i] < 128 ? byte : std::uint8_t{0};
    }
    return packed(result);
  }
  /// Add and subtract bytes, modulo 256 or with saturation, or multiply and divide by 256.
  static Ints addBytes(Ints a, Ints b) {
    return inBytes(a, b, [](int x, int y) { return x + y; });
  }
  static Ints subBytes(Ints a, Ints b) {
    return inBytes(a, b, [](int x, int y) { return x - y; });
  }
  static Ints addBytesSaturated(Ints a, Ints b) {
    return inBytes(a, b, [](int x, int y) { return std::min(x + y, 255); });
  }
  static Ints subBytesSaturated(Ints a, Ints b) {
    return inBytes(a, b, [](int x, int y) { return std::max(x - y, 0); });
  }
  static Ints productsBy256(Ints a, Ints b) {
    return inBytes(a, b, [](int x, int y) { return x * y >> 8; });
  }
  /// Returns 255 in the bytes that are equal, 0 in the others.
  static Ints equalBytes(Ints a, Ints b) {
    return inBytes(a, b, [](int x, int y) { return x == y ? 255 : 0; });
  }
  /// Returns v less 1 in the bytes where v is below the limit, modulo 256.
  static Ints lessWhereBelow(Ints v, Ints limits) {
    return inBytes(v, limits, [](int x, int limit) { return x < limit ? x - 1 : x; });
  }
  /// Returns the bytes of a where the selector's high bits are set, those of b elsewhere.
  static Ints byHighBits(Ints selector, Ints a, Ints b) {
    const Ints mask = inBytes(selector, selector, [](int x, int) { return x < 128 ? 0 : 255; });
    return either(both(mask, a), both(exclusiveOr(mask, ints(~0u)), b));
  }

  /// Looks up each byte in a table of 256 bytes, which must outlive it.
  class Table {
   public:
    explicit Table(const std::uint8_t* table) : table_(table) {}
    Ints operator()(Ints v) const {
      Bytes result = unpacked<Bytes>(v);
      for (std::uint8_t& byte : result.at) byte = table_[byte];
      return packed(result);
    }

   private:
    const std::uint8_t* table_;
  };

  // Words.

  static Ints words(std::uint16_t v) { return ints(v * 0x00010001u); }
  /// Return the low and the high half of each group's bytes as words; the latter two times 256.
  static Ints lowBytes(Ints v) { return halfOfBytes(v, 0, 1); }
  static Ints highBytes(Ints v) { return halfOfBytes(v, 1, 1); }
  static Ints lowBytesBy256(Ints v) { return halfOfBytes(v, 0, 256); }
  static Ints highBytesBy256(Ints v) { return halfOfBytes(v, 1, 256); }
  /// Returns two halves of words, all below 256, as bytes.
  static Ints bytesOf(Ints low, Ints high) {
    return bytesOfHalves(low, high, [](int word) { return word; });
  }
  /// The same with signed words, saturated to 0 ... 255.
  static Ints saturatedBytesOf(Ints low, Ints high) {
    return bytesOfHalves(low, high, [](int word) {
      return std::clamp<int>(static_cast<std::int16_t>(word), 0, 255);
    });
  }
  /// Return the low and the high half of each group's words in a, each followed by that in b.
  static Ints lowPairs(Ints a, Ints b) { return pairs(a, b, 0); }
  static Ints highPairs(Ints a, Ints b) { return pairs(a, b, 1); }
  /// Returns two halves of integers, all of 0 ... 65535, as words.
  static Ints wordsOf(Ints low, Ints high) {
    Words result;
    for (int i = 0; i < kWords; ++i) {
      const Ints& half = i % kGroupWords < kGroup ? low : high;
      result.at[i] = static_cast<std::uint16_t>(half.at[i / kGroupWords * kGroup + i % kGroup]);
    }
    return packed(result);
  }
  /// Returns four quarters of integers as bytes, saturated to 255. The integers are 0 ... 65535, or
  /// what truncated() makes of NaN, for which the byte is 0.
  static Ints saturatedBytesOf(Ints a, Ints b, Ints c, Ints d) {
    Bytes result;
    const Ints* const quarters[4] = {&a, &b, &c, &d};
    for (int i = 0; i < kBytes; ++i) {
      const Ints& quarter = *quarters[i % kGroupBytes / kGroup];
      const auto lane =
          static_cast<std::int32_t>(quarter.at[i / kGroupBytes * kGroup + i % kGroup]);
      result.at[i] = static_cast<std::uint8_t>(std::clamp(lane, 0, 255));
    }
    return packed(result);
  }
  static Ints addWords(Ints a, Ints b) {
    return inWords(a, b, [](std::uint32_t x, std::uint32_t y) { return x + y; });
  }
  static Ints subWords(Ints a, Ints b) {
    return inWords(a, b, [](std::uint32_t x, std::uint32_t y) { return x - y; });
  }
  /// Return the low and the high 16 bits of the unsigned products.
  static Ints mulWords(Ints a, Ints b) {
    return inWords(a, b, [](std::uint32_t x, std::uint32_t y) { return x * y; });
  }
  static Ints mulWordsHigh(Ints a, Ints b) {
    return inWords(a, b, [](std::uint32_t x, std::uint32_t y) { return x * y >> 16; });
  }
  template <int kBits>
  static Ints wordsShiftedRightSigned(Ints v) {
    return inWords(v, v, [](std::uint32_t x, std::uint32_t) {
      return static_cast<std::uint32_t>(static_cast<std::int16_t>(x) >> kBits);
    });
  }

  // 8-bit pixels, at any address.

  static Ints load(const PF_Pixel* from) { return loaded<Ints>(from); }
  /// Loads pixels from[first] ... from[end - 1] to their lanes. Other lanes are 0; other memory is
  /// not read.
  static Ints loadLanes(const PF_Pixel* from, int first, int end) {
    return loadedLanes<Ints>(from, first, end);
  }
  static void store(PF_Pixel* to, Ints v) { std::memcpy(to, &v, sizeof v); }
  /// Stores the first count lanes; other memory is not written.
  static void storeFew(PF_Pixel* to, int count, Ints v) { storedFew(to, count, v); }
  /// Stores past the caches to an aligned address, where the processor can.
  static void stream(PF_Pixel* to, Ints v) { store(to, v); }

  /// The alphas of 8-bit pixels. channel: 0 or 3.
  class AlphaBytes {
   public:
    explicit AlphaBytes(int channel)
        : bytes_(std::endian::native == std::endian::little ? 255u << 8 * channel
                                                            : 255u << 8 * (3 - channel)) {}
    /// Returns whether all of them are 255.
    bool allFull(Ints pixels) const {
      std::uint32_t all = bytes_;
      for (const std::uint32_t pixel : pixels.at) all &= pixel;
      return all == bytes_;
    }
    /// Returns pixels of these alphas, given in integers 0 but for the alpha, and colours.
    Ints with(Ints alphas, Ints colours) const {
      return either(both(colours, ints(~bytes_)), alphas);
    }

   private:
    std::uint32_t bytes_;
  };

  // Float pixels, at any address.

  static Channels load(const PF_PixelFloat* from) { return loaded<Channels>(from); }
  static Channels loadLanes(const PF_PixelFloat* from, int first, int end) {
    return loadedLanes<Channels>(from, first, end);
  }
  static void store(PF_PixelFloat* to, Channels v) { std::memcpy(to, &v, sizeof v); }
  static void storeFew(PF_PixelFloat* to, int count, Channels v) { storedFew(to, count, v); }
  static void stream(PF_PixelFloat* to, Channels v) { store(to, v); }

  /// Returns the kPart-th vector of pixels that have one of these values in all their channels.
  template <int kPart>
  static Channels eachPixel(Singles v) {
    Channels result;
    for (int i = 0; i < 4 * kPixels32; ++i) result.at[i] = v.at[kPart * kPixels32 + i / 4];
    return result;
  }
  /// Applies a function of two Doubles to all lanes and rounds its results.
  template <typename Function>
  static Channels inDoubles(Channels a, Channels b, const Function& function) {
    Channels result;
    for (int i = 0; i < 4 * kPixels32; i += kDoubles) {
      const auto part = narrow(function(widen(load(a.at + i)), widen(load(b.at + i))));
      store(result.at + i, part);
    }
    return result;
  }
  /// Returns v, but 0 for negative numbers; -0.0 and NaN stay.
  static Channels notNegative(Channels v) {
    for (float& lane : v.at) lane = lane < 0.0f ? 0.0f : lane;
    return v;
  }

  /// Returns v, but 0 where the factor is 0.
  static Channels zeroedBy(Channels factors, Channels v) {
    return each(factors, v, [](float factor, float x) { return factor == 0.0f ? 0.0f : x; });
  }

  /// The alphas of float pixels. channel: 0 or 3.
  class AlphaChannels {
   public:
    explicit AlphaChannels(int channel) : channel_(channel) {}
    /// Returns whether all of them are 1.
    bool allOne(Channels pixels) const {
      bool all = true;
      for (int i = 0; i < kPixels32; ++i) all = all && pixels.at[4 * i + channel_] == 1.0f;
      return all;
    }
    /// Returns each pixel's alpha in all its lanes.
    Channels spread(Channels pixels) const {
      Channels result;
      for (int i = 0; i < 4 * kPixels32; ++i) result.at[i] = pixels.at[i / 4 * 4 + channel_];
      return result;
    }
    /// Returns the alpha lanes of the first and the colour lanes of the second.
    Channels with(Channels alphas, Channels colours) const {
      for (int i = 0; i < kPixels32; ++i) {
        colours.at[4 * i + channel_] = alphas.at[4 * i + channel_];
      }
      return colours;
    }

   private:
    int channel_;
  };

  // Memory.

  /// Asks for the cache line of an address, which need not exist.
  static void prefetch(const char*) {}
  /// Orders the calling thread's streaming stores before its later stores.
  static void finishStreaming() {}

 private:
  static constexpr int kBytes = 4 * kFloats;
  static constexpr int kWords = 2 * kFloats;
  static constexpr int kGroupBytes = 4 * kGroup;
  static constexpr int kGroupWords = 2 * kGroup;
  using Bytes = Lanes<std::uint8_t, kBytes>;
  using Words = Lanes<std::uint16_t, kWords>;

  static std::uint64_t bits(double v) { return std::bit_cast<std::uint64_t>(v); }

  template <typename Vector, typename T>
  static Vector filled(T v) {
    Vector result;
    for (auto& lane : result.at) lane = v;
    return result;
  }
  template <typename To, typename T, int kCount>
  static To converted(Lanes<T, kCount> v) {
    To result;
    for (int i = 0; i < kCount; ++i) {
      result.at[i] = static_cast<std::remove_reference_t<decltype(result.at[i])>>(v.at[i]);
    }
    return result;
  }
  template <typename T, int kCount, typename Function>
  static Lanes<T, kCount> each(Lanes<T, kCount> a, Lanes<T, kCount> b, const Function& function) {
    for (int i = 0; i < kCount; ++i) a.at[i] = static_cast<T>(function(a.at[i], b.at[i]));
    return a;
  }
  template <typename T, int kCount, typename Test>
  static unsigned maskOf(Lanes<T, kCount> a, Lanes<T, kCount> b, const Test& test) {
    unsigned mask = 0;
    for (int i = 0; i < kCount; ++i) mask |= (test(a.at[i], b.at[i]) ? 1u : 0u) << i;
    return mask;
  }

  template <typename Parts>
  static Parts unpacked(Ints v) {
    return std::bit_cast<Parts>(v);
  }
  template <typename Parts>
  static Ints packed(Parts parts) {
    return std::bit_cast<Ints>(parts);
  }
  template <typename Function>
  static Ints inBytes(Ints a, Ints b, const Function& function) {
    return packed(each(unpacked<Bytes>(a), unpacked<Bytes>(b), function));
  }
  template <typename Function>
  static Ints inWords(Ints a, Ints b, const Function& function) {
    return packed(each(unpacked<Words>(a), unpacked<Words>(b), function));
  }
  static Ints halfOfBytes(Ints v, int half, int factor) {
    const Bytes from = unpacked<Bytes>(v);
    Words result;
    for (int i = 0; i < kWords; ++i) {
      const int at = i / kGroupWords * kGroupBytes + half * kGroupWords + i % kGroupWords;
      result.at[i] = static_cast<std::uint16_t>(from.at[at] * factor);
    }
    return packed(result);
  }
  template <typename Function>
  static Ints bytesOfHalves(Ints low, Ints high, const Function& function) {
    const Words halves[2] = {unpacked<Words>(low), unpacked<Words>(high)};
    Bytes result;
    for (int i = 0; i < kBytes; ++i) {
      const Words& half = halves[i % kGroupBytes / kGroupWords];
      const int word = half.at[i / kGroupBytes * kGroupWords + i % kGroupWords];
      result.at[i] = static_cast<std::uint8_t>(function(word));
    }
    return packed(result);
  }
  static Ints pairs(Ints a, Ints b, int half) {
    const Words first = unpacked<Words>(a);
    const Words second = unpacked<Words>(b);
    Words result;
    for (int i = 0; i < kWords; ++i) {
      const int at = i / kGroupWords * kGroupWords + half * kGroup + i % kGroupWords / 2;
      result.at[i] = i % 2 == 0 ? first.at[at] : second.at[at];
    }
    return packed(result);
  }
  template <typename Vector>
  static Vector loaded(const void* from) {
    Vector v;
    std::memcpy(&v, from, sizeof v);
    return v;
  }
  template <typename Vector, typename Pixel>
  static Vector loadedLanes(const Pixel* from, int first, int end) {
    Vector v{};
    if (first < end) {
      std::memcpy(reinterpret_cast<Pixel*>(&v) + first, from + first,
                  static_cast<std::size_t>(end - first) * sizeof(Pixel));
    }
    return v;
  }
  template <typename Vector, typename Pixel>
  static void storedFew(Pixel* to, int count, const Vector& v) {
    std::memcpy(to, &v, static_cast<std::size_t>(count) * sizeof(Pixel));
  }
};

}  // namespace
}  // namespace lomix::engine
