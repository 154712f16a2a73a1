// The hot loops for x86-64 processors with AVX2 and FMA. Compiled in every x86-64 build, for those
// processors only by the target pragma below, and chosen at run time.

#include "engine/RowKernels.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

#include "geometry/Truncate.h"
#include "kernel/Grain.h"
#include "signal/RowProfile.h"

#if defined(_MSC_VER)
#include <intrin.h>
#endif

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,fma"))), apply_to = function)
#elif defined(__GNUC__)
#pragma GCC push_options
#pragma GCC target("avx2,fma")
#endif

// The loops keep a row's constants in registers only if all of their bodies end up in one function.
#if defined(_MSC_VER)
#define LOMIX_INLINE __forceinline
#define LOMIX_INLINE_LAMBDA
#else
#define LOMIX_INLINE inline __attribute__((always_inline))
#define LOMIX_INLINE_LAMBDA __attribute__((always_inline))
#endif

namespace lomix::engine {
namespace {

// Sine in double precision.

// pi as a double and what is left of it.
constexpr double kPi = std::numbers::pi;
constexpr double kPiRest = 1.2246467991473532e-16;

// sin(r) / r as a polynomial in r * r for |r| <= pi/2. Relative error 5.1e-14 and 1.2e-16.
constexpr double kSine7[] = {
    0.9999999999999493,     -0.16666666666465474,    0.008333333320293734, -0.00019841266670571936,
    2.7556951823049554e-06, -2.5030225034386337e-08, 1.54105842022472e-10};
constexpr double kSine8[] = {0.9999999999999999,     -0.1666666666666607,
                             0.008333333333282452,   -0.00019841269824780132,
                             2.7557316598666683e-06, -2.5051881272332564e-08,
                             1.6048146798446787e-10, -7.374119318022895e-13};

// Adding this leaves a double's whole part in its low bits.
constexpr double kRound = 0x1.8p52;

template <std::size_t kTerms>
__m256d oddPolynomial(__m256d r, const double (&terms)[kTerms]) {
  const __m256d z = _mm256_mul_pd(r, r);
  __m256d sum = _mm256_set1_pd(terms[kTerms - 1]);
  for (std::size_t i = kTerms - 1; i-- > 0;) {
    sum = _mm256_fmadd_pd(sum, z, _mm256_set1_pd(terms[i]));
  }
  return _mm256_mul_pd(r, sum);
}

// x less n times pi, for whole or half n. The first step is exact: its result is below 2 and no
// finer than the last bit of n * kPi, so it fits a double. The second rounds once.
__m256d reduced(__m256d x, __m256d n) {
  const __m256d r = _mm256_fnmadd_pd(n, _mm256_set1_pd(kPi), x);
  return _mm256_fnmadd_pd(n, _mm256_set1_pd(kPiRest), r);
}

// The sign bit, set where the whole number that was rounded by adding kRound is odd.
__m256d oddSign(__m256d rounded) {
  return _mm256_castsi256_pd(_mm256_slli_epi64(_mm256_castpd_si256(rounded), 63));
}

// For |x| < 2^29.
__m256d sine(__m256d x) {
  const __m256d round = _mm256_set1_pd(kRound);
  const __m256d rounded = _mm256_fmadd_pd(x, _mm256_set1_pd(1.0 / kPi), round);
  const __m256d r = reduced(x, _mm256_sub_pd(rounded, round));
  return _mm256_xor_pd(oddPolynomial(r, kSine8), oddSign(rounded));
}

// Row profiles.

// Sums of sines rounded to single precision after every term, four rows at once. A row whose sum
// lies so near a rounding boundary that the sine's error could carry it across is marked.
class RoundedSum {
 public:
  void add(__m256d sine) {
    // The sine here and the library's differ by less than 2^-49.
    const __m256d error = _mm256_set1_pd(0x1p-48);
    const __m256d exact = _mm256_add_pd(_mm256_cvtps_pd(sum_), sine);
    const __m128 low = _mm256_cvtpd_ps(_mm256_sub_pd(exact, error));
    sum_ = _mm256_cvtpd_ps(_mm256_add_pd(exact, error));
    doubtful_ = _mm_or_ps(doubtful_, _mm_cmpneq_ps(low, sum_));
  }
  __m128 value() const { return sum_; }
  int doubtful() const { return _mm_movemask_ps(doubtful_); }

 private:
  __m128 sum_ = _mm_setzero_ps();
  __m128 doubtful_ = _mm_setzero_ps();
};

void rowSums(const ProfileFrame& frame, int first, int count, float* scanSums, float* barSums) {
  constexpr int kLanes = 4;
  const double lastRow = std::abs((first + count) * frame.invYDown);
  const bool reducible = frame.height > 0.0f && std::abs(frame.p) < 0x1p24f &&
                         lastRow * kScanHarmonics / frame.height < 0x1p24;
  if (!reducible) return portableKernels().rowSums(frame, first, count, scanSums, barSums);

  const __m128 height = _mm_set1_ps(frame.height);
  const __m256d wideHeight = _mm256_set1_pd(frame.height);
  const __m128 p = _mm_set1_ps(frame.p);
  const __m256d wideP = _mm256_set1_pd(frame.p);
  for (int done = 0; done < count; done += kLanes) {
    const __m128i y = _mm_add_epi32(_mm_set1_epi32(first + done), _mm_setr_epi32(0, 1, 2, 3));
    const __m128 row =
        _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(y), _mm256_set1_pd(frame.invYDown)));
    const __m256d wideRow = _mm256_cvtps_pd(row);
    const auto sineOfRow = [&](double times) {
      const __m256d turns =
          _mm256_div_pd(_mm256_mul_pd(wideRow, _mm256_set1_pd(times)), wideHeight);
      return sine(_mm256_sub_pd(turns, wideP));
    };

    RoundedSum scan;
    scan.add(sineOfRow(4.0));
    for (int i = 1; i <= kScanHarmonics; ++i) {
      const __m128 phase =
          _mm_sub_ps(_mm_div_ps(_mm_mul_ps(row, _mm_set1_ps(static_cast<float>(i))), height), p);
      const __m256d shifted = _mm256_add_pd(_mm256_cvtps_pd(phase), _mm256_set1_pd(10.0));
      scan.add(sine(_mm256_add_pd(shifted, _mm256_set1_pd(2.0 * i))));
    }
    RoundedSum bars;
    bars.add(sineOfRow(7.0));
    bars.add(sineOfRow(3.0));

    float rows[kLanes];
    float scanLanes[kLanes];
    float barLanes[kLanes];
    _mm_storeu_ps(rows, row);
    _mm_storeu_ps(scanLanes, scan.value());
    _mm_storeu_ps(barLanes, bars.value());
    for (int lane = 0; lane < std::min(kLanes, count - done); ++lane) {
      const bool redoScan = (scan.doubtful() >> lane & 1) != 0;
      const bool redoBars = (bars.doubtful() >> lane & 1) != 0;
      scanSums[done + lane] =
          redoScan ? scanSum(rows[lane], frame.height, frame.p) : scanLanes[lane];
      barSums[done + lane] = redoBars ? barSum(rows[lane], frame.height, frame.p) : barLanes[lane];
    }
  }
}

// Grain.

constexpr int kGrainChunk = 256;

// Overlay levels of count <= kGrainChunk pixels from column x on, for float worlds: the formula in
// its own order, with another sine and cosine. Their product is good to 2^-42 of itself; where that
// leaves its rounding to single precision open, or the product is next to nothing, the pixel is
// done again by the formula's own functions.
void grainLevels(const GrainRow& row, int x, int count, float* levels) {
  // In units of a double's last place: twice the polynomials' error and their roundings fit four
  // times.
  constexpr long long kMargin = 1 << 12;
  constexpr long long kBelowSingle = (1LL << 29) - 1;
  constexpr long long kHalfway = 1LL << 28;
  constexpr double kTiny = 1e-30;
  const __m256d pi = _mm256_set1_pd(kPi);
  const __m256d inversePi = _mm256_set1_pd(1.0 / kPi);
  const __m256d round = _mm256_set1_pd(kRound);
  const __m256d invXDown = _mm256_set1_pd(row.invXDown);
  const __m128 y = _mm_set1_ps(row.yFull);
  const __m256d wideY = _mm256_set1_pd(row.yFull);
  const __m128 yWeight = _mm_set1_ps(row.yWeight);
  const __m256d phase = _mm256_set1_pd(row.phase);
  const __m128 amount = _mm_set1_ps(row.amount);

  for (int done = 0; done < count; done += 4) {
    const __m128i column =
        _mm_add_epi32(_mm_set1_epi32(x + kGrainOrigin + done), _mm_setr_epi32(0, 1, 2, 3));
    const __m128 xFull = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtepi32_pd(column), invXDown));
    const __m128 u = _mm_fmadd_ps(xFull, _mm_set1_ps(kGrainRate), y);
    const __m256d v = _mm256_cvtps_pd(_mm_mul_ps(u, yWeight));
    const __m256d wideX = _mm256_cvtps_pd(xFull);
    __m256d slope = _mm256_div_pd(_mm256_cvtps_pd(u), pi);
    slope = _mm256_div_pd(_mm256_mul_pd(_mm256_mul_pd(slope, wideX), pi), wideY);
    const __m256d a = _mm256_fmadd_pd(slope, wideY, phase);

    const __m256d turnsA = _mm256_fmadd_pd(a, inversePi, round);
    const __m256d sineA = oddPolynomial(reduced(a, _mm256_sub_pd(turnsA, round)), kSine7);
    // cos(k * pi + pi/2 + r) is -sin(r) for even k and sin(r) for odd k.
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d turnsV = _mm256_add_pd(_mm256_fmsub_pd(v, inversePi, half), round);
    const __m256d k = _mm256_sub_pd(turnsV, round);
    const __m256d cosineV = oddPolynomial(reduced(v, _mm256_add_pd(k, half)), kSine7);
    const __m256d sign =
        _mm256_xor_pd(_mm256_xor_pd(oddSign(turnsA), oddSign(turnsV)), _mm256_set1_pd(-0.0));
    const __m256d product = _mm256_xor_pd(_mm256_mul_pd(sineA, cosineV), sign);

    // Distance of the bits below single precision from the rounding boundary, counted from the
    // margin's lower end.
    const __m256i past = _mm256_and_si256(
        _mm256_add_epi64(_mm256_castpd_si256(product), _mm256_set1_epi64x(kMargin - kHalfway)),
        _mm256_set1_epi64x(kBelowSingle));
    const __m256d boundary =
        _mm256_castsi256_pd(_mm256_cmpgt_epi64(_mm256_set1_epi64x(2 * kMargin), past));
    const __m256d magnitude = _mm256_andnot_pd(_mm256_set1_pd(-0.0), product);
    const __m256d tiny = _mm256_cmp_pd(magnitude, _mm256_set1_pd(kTiny), _CMP_LT_OQ);
    const int doubtful = _mm256_movemask_pd(_mm256_or_pd(boundary, tiny));

    const __m128 grain = _mm_max_ps(_mm256_cvtpd_ps(product), _mm_setzero_ps());
    _mm_storeu_ps(levels + done, _mm_mul_ps(grain, amount));
    if (doubtful != 0) {
      for (int lane = 0; lane < 4; ++lane) {
        if ((doubtful >> lane & 1) != 0) levels[done + lane] = row.levelAt(x + done + lane);
      }
    }
  }
}

// Overlay levels of float worlds by the fastest safe way. The buffer holds a multiple of 4.
void grainLevels32(const GrainRow& row, int x, int count, float* levels) {
  if (row.reducible) return grainLevels(row, x, count, levels);
  for (int i = 0; i < count; ++i) levels[i] = row.levelAt(x + i);
}

std::uint32_t overlayByteOf(float level) {
  return truncateToByte(static_cast<double>(level) * 255.0);
}

// A level in the three colour bytes of a pixel.
std::uint32_t overlayPixel(float level) { return overlayByteOf(level) * 0x01010100u; }

// sin(pi * s) = s * (1 - s^2) * Q(s^2) and cos(pi * s) = (1 - 4 s^2) * R(s^2) for |s| <= 1, with
// the zeros split off. Errors 3.4e-9 and 3.2e-8.
constexpr float kSineTurns[] = {3.1415926443388464f,   -2.026119460046103f,
                                0.5240361177064186f,   -0.07518716921432848f,
                                0.006860079849114026f, -0.00038589475405223847f};
constexpr float kCosineTurns[] = {0.9999999888292004f,   -0.9348013957741542f,
                                  0.31949390669805466f,  -0.05720903735277324f,
                                  0.006253822001992074f, -0.00040396178199970896f};

__m256 polynomial(__m256 z, const float (&terms)[6]) {
  __m256 sum = _mm256_set1_ps(terms[5]);
  for (int i = 4; i >= 0; --i) sum = _mm256_fmadd_ps(sum, z, _mm256_set1_ps(terms[i]));
  return sum;
}

// cos(v) for 0 <= v < 2^29: v in turns, as the product with 1 / (2 pi), the product's rounding
// error and the rest of the constant, each of which keeps its share of the fraction.
__m256 cosineOf(__m256 v) {
  constexpr int kNearest = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;
  const __m256 inverse = _mm256_set1_ps(0.15915493667125702f);
  const __m256 inverseRest = _mm256_set1_ps(6.420638316725915e-09f);
  const __m256 product = _mm256_mul_ps(v, inverse);
  const __m256 error = _mm256_fmadd_ps(v, inverseRest, _mm256_fmsub_ps(v, inverse, product));
  __m256 turns = _mm256_sub_ps(product, _mm256_round_ps(product, kNearest));
  turns = _mm256_add_ps(turns, error);
  turns = _mm256_sub_ps(turns, _mm256_round_ps(turns, kNearest));
  const __m256 s = _mm256_add_ps(turns, turns);
  const __m256 z = _mm256_mul_ps(s, s);
  const __m256 zeros = _mm256_fnmadd_ps(z, _mm256_set1_ps(4.0f), _mm256_set1_ps(1.0f));
  return _mm256_mul_ps(zeros, polynomial(z, kCosineTurns));
}

// sin(2 pi * turns / 2^32).
__m256 sineOfTurns(__m256i turns) {
  const __m256 s = _mm256_mul_ps(_mm256_cvtepi32_ps(turns), _mm256_set1_ps(0x1p-31f));
  const __m256 z = _mm256_mul_ps(s, s);
  const __m256 zeros = _mm256_fnmadd_ps(z, s, s);
  return _mm256_mul_ps(zeros, polynomial(z, kSineTurns));
}

// Entries 0 1 4 5 of an array. With entries 2 3 6 7 in another vector, taking the high halves of
// both gives eight in order.
__m256i evenPairs(const std::uint64_t* v) {
  return _mm256_setr_epi64x(static_cast<long long>(v[0]), static_cast<long long>(v[1]),
                            static_cast<long long>(v[4]), static_cast<long long>(v[5]));
}

// Overlay pixels of count <= kGrainChunk columns where the coordinates are whole numbers.
//
// The sine's argument is then u * x + phase with u = 5 x + y, but for roundings far below a level's
// margin. Its fraction of a turn is quadratic in x and goes on by two additions a step in 64-bit
// fixed point, exactly, because whole turns drop out of the top. The level is all that matters, so
// single precision and a margin do for nearly all pixels; the others are done by the formula.
void grainPixelsWhole(const GrainRow& row, int x, int count, std::uint32_t* pixels) {
  constexpr std::uint64_t kTurnsPerRadian = 0x28be60db9391054a;  // 2^64 / (2 pi)
  constexpr std::uint64_t kRate = 5;
  constexpr int kLanes = 8;
  static_assert(static_cast<float>(kRate) == kGrainRate);
  const std::uint64_t step = kLanes * row.xStep;
  std::uint64_t turns[kLanes];
  std::uint64_t slopes[kLanes];
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const std::uint64_t at = (static_cast<std::uint64_t>(x + kGrainOrigin) + lane) * row.xStep;
    const std::uint64_t next = at + step;
    const std::uint64_t here = (kRate * at + row.yWhole) * at;
    const std::uint64_t there = (kRate * next + row.yWhole) * next;
    turns[lane] = kTurnsPerRadian * here + row.phaseTurns;
    slopes[lane] = kTurnsPerRadian * (there - here);
  }
  __m256i turns0 = evenPairs(turns);
  __m256i turns1 = evenPairs(turns + 2);
  __m256i slope0 = evenPairs(slopes);
  __m256i slope1 = evenPairs(slopes + 2);
  const __m256i curve =
      _mm256_set1_epi64x(static_cast<long long>(kTurnsPerRadian * 2 * kRate * step * step));

  const float firstU = static_cast<float>(
      kRate * static_cast<std::uint64_t>(x + kGrainOrigin) * row.xStep + row.yWhole);
  __m256 u = _mm256_add_ps(_mm256_set1_ps(firstU),
                           _mm256_mul_ps(_mm256_setr_ps(0, 1, 2, 3, 4, 5, 6, 7),
                                         _mm256_set1_ps(static_cast<float>(kRate * row.xStep))));
  const __m256 uStep = _mm256_set1_ps(static_cast<float>(kRate * step));
  const __m256 yWeight = _mm256_set1_ps(row.yWeight);
  const __m256 scale = _mm256_set1_ps(row.amount * 255.0f);
  const __m256 margin = _mm256_set1_ps(row.levelMargin);
  const __m256 zero = _mm256_setzero_ps();
  constexpr char kNone = -128;
  const __m256i toColours =
      _mm256_setr_epi8(kNone, 0, 0, 0, kNone, 4, 4, 4, kNone, 8, 8, 8, kNone, 12, 12, 12,  //
                       kNone, 0, 0, 0, kNone, 4, 4, 4, kNone, 8, 8, 8, kNone, 12, 12, 12);

  for (int done = 0; done < count; done += kLanes) {
    const __m256i high = _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(turns0), _mm256_castsi256_ps(turns1), 0xDD));
    const __m256 cosine = cosineOf(_mm256_mul_ps(u, yWeight));
    const __m256 level = _mm256_mul_ps(_mm256_mul_ps(sineOfTurns(high), cosine), scale);
    const __m256i least = _mm256_cvttps_epi32(_mm256_max_ps(_mm256_sub_ps(level, margin), zero));
    const __m256i most = _mm256_cvttps_epi32(_mm256_max_ps(_mm256_add_ps(level, margin), zero));
    const int same = _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpeq_epi32(least, most)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + done),
                        _mm256_shuffle_epi8(least, toColours));
    if (same != 0xFF) {
      for (int lane = 0; lane < kLanes; ++lane) {
        if ((same >> lane & 1) == 0)
          pixels[done + lane] = overlayPixel(row.levelAt(x + done + lane));
      }
    }
    turns0 = _mm256_add_epi64(turns0, slope0);
    turns1 = _mm256_add_epi64(turns1, slope1);
    slope0 = _mm256_add_epi64(slope0, curve);
    slope1 = _mm256_add_epi64(slope1, curve);
    u = _mm256_add_ps(u, uStep);
  }
}

// Overlay pixels of 8-bit worlds by the fastest safe way. The buffer holds a multiple of 8.
void grainPixels8(const GrainRow& row, int x, int count, std::uint32_t* pixels) {
  if (row.wholeCoordinates) return grainPixelsWhole(row, x, count, pixels);
  float levels[kGrainChunk];
  grainLevels32(row, x, count, levels);
  for (int i = 0; i < count; ++i) pixels[i] = overlayPixel(levels[i]);
}

// 8-bit pixels.

constexpr int kPixels8 = 8;  // in one vector
constexpr int kAlphaBytes = 0x11111111;

__m256i repeated(const std::array<std::uint8_t, 16>& entries) {
  return _mm256_broadcastsi128_si256(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(entries.data())));
}

// A ByteMap in registers; kBitSets as ByteMap::bitSets().
template <int kBitSets>
class MapVector {
 public:
  explicit MapVector(const ByteMap& map)
      : factor_(_mm256_set1_epi16(static_cast<short>(map.factor(0)))),
        factorChange_(_mm256_set1_epi16(static_cast<short>(map.factor(0) ^ map.factor(1)))),
        offset_(_mm256_set1_epi16(map.offset(0))),
        offsetChange_(_mm256_set1_epi16(static_cast<short>(map.offset(0) ^ map.offset(1)))),
        ones_{repeated(map.ones()[0]), repeated(map.ones()[1])},
        twos_{repeated(map.twos()[0]), repeated(map.twos()[1])} {}

  LOMIX_INLINE __m256i operator()(__m256i bytes) const {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i line = _mm256_packus_epi16(onLine(_mm256_unpacklo_epi8(zero, bytes)),
                                             onLine(_mm256_unpackhi_epi8(zero, bytes)));
    if constexpr (kBitSets == 0) return line;
    const __m256i nibble = _mm256_set1_epi8(15);
    const __m256i low = _mm256_and_si256(bytes, nibble);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble);
    const __m256i bits =
        _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16,
                         32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
    const __m256i bit = _mm256_shuffle_epi8(bits, high);
    __m256i result = _mm256_sub_epi8(line, inSet(ones_, bytes, low, bit));
    if constexpr (kBitSets == 2) {
      const __m256i twos = inSet(twos_, bytes, low, bit);
      result = _mm256_sub_epi8(result, _mm256_add_epi8(twos, twos));
    }
    return result;
  }

 private:
  // All ones, that is minus one, in the bytes of the set.
  static LOMIX_INLINE __m256i inSet(const __m256i (&set)[2], __m256i bytes, __m256i low,
                                    __m256i bit) {
    const __m256i entry = _mm256_blendv_epi8(_mm256_shuffle_epi8(set[0], low),
                                             _mm256_shuffle_epi8(set[1], low), bytes);
    return _mm256_cmpeq_epi8(_mm256_and_si256(entry, bit), bit);
  }
  // words: bytes times 256, the high bit telling the half.
  LOMIX_INLINE __m256i onLine(__m256i words) const {
    const __m256i upper = _mm256_srai_epi16(words, 15);
    const __m256i factor = _mm256_xor_si256(factor_, _mm256_and_si256(upper, factorChange_));
    const __m256i offset = _mm256_xor_si256(offset_, _mm256_and_si256(upper, offsetChange_));
    return _mm256_srai_epi16(_mm256_add_epi16(_mm256_mulhi_epu16(words, factor), offset), 6);
  }

  __m256i factor_, factorChange_, offset_, offsetChange_;
  __m256i ones_[2];
  __m256i twos_[2];
};

struct NoMap {
  LOMIX_INLINE __m256i operator()(__m256i bytes) const { return bytes; }
};

// Bytes times the words of their low and high halves, high 8 bits of the products.
LOMIX_INLINE __m256i productsBy256(__m256i bytes, __m256i lowWords, __m256i highWords) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i low = _mm256_mullo_epi16(_mm256_unpacklo_epi8(bytes, zero), lowWords);
  const __m256i high = _mm256_mullo_epi16(_mm256_unpackhi_epi8(bytes, zero), highWords);
  return _mm256_packus_epi16(_mm256_srli_epi16(low, 8), _mm256_srli_epi16(high, 8));
}

// An overlay's effect on an alpha: what it leaves of it, and its own alpha.
class AlphaOver {
 public:
  AlphaOver(bool used, int alpha)
      : used_(used), left_(_mm256_set1_epi32(255 - alpha)), alpha_(_mm256_set1_epi32(alpha)) {}
  LOMIX_INLINE __m256i operator()(__m256i alphas) const {
    if (!used_) return alphas;
    return _mm256_add_epi32(_mm256_srli_epi32(_mm256_mullo_epi16(alphas, left_), 8), alpha_);
  }

 private:
  bool used_;
  __m256i left_, alpha_;
};

// One row's way from eight source pixels to eight output pixels.
template <typename Map, bool kGrain>
class Pipeline8 {
 public:
  Pipeline8(const Row8& row, const Map& map)
      : map_(map),
        darkAfterGrain_(kGrain && row.dark),
        darkLeft_(_mm256_set1_epi16(static_cast<short>(255 - row.darkPixel.alpha))),
        opaqueAlpha_(_mm256_set1_epi32(row.opaqueAlpha)),
        unmult_(row.unmultFactor != 0),
        unmultFactor_(_mm256_set1_epi16(static_cast<short>(row.unmultFactor))),
        barsAlpha_(row.bars, row.barsPixel.alpha),
        grainAlpha_(kGrain, row.grainAlpha),
        darkAlpha_(row.dark, row.darkPixel.alpha),
        effectAmount_(_mm256_set1_ps(row.effectAmount)) {}

  // grain: overlay pixels, where kGrain.
  LOMIX_INLINE __m256i operator()(__m256i source, __m256i grain) const {
    const __m256i full = _mm256_cmpeq_epi8(source, _mm256_set1_epi8(-1));
    if ((_mm256_movemask_epi8(full) & kAlphaBytes) == kAlphaBytes) {
      // 255 * v >> 8 is v - 1, but 0 for 0.
      const __m256i one = _mm256_set1_epi32(0x01010100);
      return unmultiplyOpaque(overlaid(_mm256_subs_epu8(source, one), grain));
    }
    // Each pixel's alpha as the words of its four channels.
    const __m256i lowAlphas =
        _mm256_setr_epi8(0, -1, 0, -1, 0, -1, 0, -1, 4, -1, 4, -1, 4, -1, 4, -1,  //
                         0, -1, 0, -1, 0, -1, 0, -1, 4, -1, 4, -1, 4, -1, 4, -1);
    const __m256i highAlphas =
        _mm256_setr_epi8(8, -1, 8, -1, 8, -1, 8, -1, 12, -1, 12, -1, 12, -1, 12, -1,  //
                         8, -1, 8, -1, 8, -1, 8, -1, 12, -1, 12, -1, 12, -1, 12, -1);
    const __m256i premultiplied = productsBy256(source, _mm256_shuffle_epi8(source, lowAlphas),
                                                _mm256_shuffle_epi8(source, highAlphas));
    return unmultiply(overlaid(premultiplied, grain),
                      _mm256_and_si256(source, _mm256_set1_epi32(255)));
  }

  // original + effectAmount * (effect - original), fused, truncated; effectAmount is in [0, 1).
  LOMIX_INLINE __m256i blended(__m256i original, __m256i effect) const {
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_packus_epi16(
        blendedWords(_mm256_unpacklo_epi8(original, zero), _mm256_unpacklo_epi8(effect, zero)),
        blendedWords(_mm256_unpackhi_epi8(original, zero), _mm256_unpackhi_epi8(effect, zero)));
  }

 private:
  LOMIX_INLINE __m256i blendedWords(__m256i original, __m256i effect) const {
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_packus_epi32(
        blendedIntegers(_mm256_unpacklo_epi16(original, zero), _mm256_unpacklo_epi16(effect, zero)),
        blendedIntegers(_mm256_unpackhi_epi16(original, zero),
                        _mm256_unpackhi_epi16(effect, zero)));
  }
  LOMIX_INLINE __m256i blendedIntegers(__m256i original, __m256i effect) const {
    const __m256 from = _mm256_cvtepi32_ps(original);
    const __m256 difference = _mm256_sub_ps(_mm256_cvtepi32_ps(effect), from);
    return _mm256_cvttps_epi32(_mm256_fmadd_ps(effectAmount_, difference, from));
  }

  LOMIX_INLINE __m256i overlaid(__m256i premultiplied, __m256i grain) const {
    __m256i colours = map_(premultiplied);
    if constexpr (kGrain) {
      colours = _mm256_add_epi8(colours, grain);
      if (darkAfterGrain_) colours = productsBy256(colours, darkLeft_, darkLeft_);
    }
    return colours;
  }

  LOMIX_INLINE __m256i unmultiplyOpaque(__m256i colours) const {
    if (unmult_) {
      const __m256i zero = _mm256_setzero_si256();
      const __m256i low = _mm256_mulhi_epu16(_mm256_unpacklo_epi8(colours, zero), unmultFactor_);
      const __m256i high = _mm256_mulhi_epu16(_mm256_unpackhi_epi8(colours, zero), unmultFactor_);
      colours = _mm256_adds_epu8(colours, _mm256_packus_epi16(low, high));
    }
    const __m256i alphaByte = _mm256_set1_epi32(255);
    return _mm256_or_si256(_mm256_andnot_si256(alphaByte, colours), opaqueAlpha_);
  }

  LOMIX_INLINE __m256i unmultiply(__m256i colours, __m256i sourceAlphas) const {
    const __m256i alphas = darkAlpha_(grainAlpha_(barsAlpha_(sourceAlphas)));
    // A quotient of bytes keeps 1/255 away from the next whole number, so that a reciprocal a
    // little too large truncates to the same quotient for all of them.
    const __m256 reciprocals =
        _mm256_div_ps(_mm256_set1_ps(256.0f * (1.0f + 0x1p-20f)), _mm256_cvtepi32_ps(alphas));
    const __m256i byte = _mm256_set1_epi32(255);
    const __m256i red =
        quotient(_mm256_and_si256(_mm256_srli_epi32(colours, 8), byte), reciprocals);
    const __m256i green =
        quotient(_mm256_and_si256(_mm256_srli_epi32(colours, 16), byte), reciprocals);
    const __m256i blue = quotient(_mm256_srli_epi32(colours, 24), reciprocals);
    const __m256i unmultiplied =
        _mm256_or_si256(_mm256_slli_epi32(red, 8),
                        _mm256_or_si256(_mm256_slli_epi32(green, 16), _mm256_slli_epi32(blue, 24)));
    const __m256i visible = _mm256_cmpgt_epi32(alphas, _mm256_setzero_si256());
    return _mm256_or_si256(alphas, _mm256_and_si256(unmultiplied, visible));
  }
  static LOMIX_INLINE __m256i quotient(__m256i colour, __m256 reciprocals) {
    const __m256i q = _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(colour), reciprocals));
    return _mm256_min_epi32(q, _mm256_set1_epi32(255));
  }

  Map map_;
  bool darkAfterGrain_;
  __m256i darkLeft_;
  __m256i opaqueAlpha_;
  bool unmult_;
  __m256i unmultFactor_;
  AlphaOver barsAlpha_, grainAlpha_, darkAlpha_;
  __m256 effectAmount_;
};

LOMIX_INLINE __m256i load8(const void* pixels) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(pixels));
}

// Pixels before the first 32-byte boundary of output that whole pixels reach, at most count; -1
// where they reach none, as in a misaligned world.
int pixelsToBoundary(const void* output, std::size_t pixelBytes, int count) {
  const std::size_t past = reinterpret_cast<std::uintptr_t>(output) % 32;
  if (past % pixelBytes != 0) return -1;
  return std::min(count, static_cast<int>((32 - past) % 32 / pixelBytes));
}

template <typename Map, bool kGrain, bool kBlend>
void run8With(const Row8& row, const Run<PF_Pixel>& run, const Map& map) {
  const Pipeline8<Map, kGrain> pipeline(row, map);
  const PF_Pixel* const source = run.source;
  const PF_Pixel* const original = run.original;
  PF_Pixel* const output = run.output;
  alignas(32) std::uint32_t grain[kGrain ? kGrainChunk : kPixels8];

  // Fewer than a vector's pixels. Masked, not by way of a buffer: a load from a buffer just filled
  // would wait for all the streaming stores before it.
  const auto drawFew = [&](int first, int count, int level) {
    const __m256i mask =
        _mm256_cmpgt_epi32(_mm256_set1_epi32(count), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    const auto few = [&](const void* from) {
      return _mm256_maskload_epi32(static_cast<const int*>(from), mask);
    };
    const __m256i overlay = kGrain ? few(grain + level) : _mm256_setzero_si256();
    __m256i pixels = pipeline(few(source + first), overlay);
    if constexpr (kBlend) pixels = pipeline.blended(few(original + first), pixels);
    _mm256_maskstore_epi32(reinterpret_cast<int*>(output + first), mask, pixels);
  };

  int done = 0;
  while (done < run.count) {
    // With grain in chunks that its buffer holds, else all at once.
    const int chunk = kGrain ? std::min(run.count - done, kGrainChunk) : run.count - done;
    if constexpr (kGrain) grainPixels8(row.grainRow, run.firstColumn + done, chunk, grain);
    const int few = run.streaming ? pixelsToBoundary(output + done, sizeof(PF_Pixel), chunk) : -1;
    if (few > 0) drawFew(done, few, 0);
    int i = std::max(few, 0);
    const auto pixelsAt = [&, source, original](int at, int level) LOMIX_INLINE_LAMBDA {
      const __m256i overlay = kGrain ? load8(grain + level) : _mm256_setzero_si256();
      const __m256i pixels = pipeline(load8(source + at), overlay);
      if constexpr (!kBlend) return pixels;
      return pipeline.blended(load8(original + at), pixels);
    };
    const auto vectorAt = [output](int at) { return reinterpret_cast<__m256i*>(output + at); };
    if (few >= 0) {
      for (; i + kPixels8 <= chunk; i += kPixels8) {
        _mm256_stream_si256(vectorAt(done + i), pixelsAt(done + i, i));
      }
    } else {
      for (; i + kPixels8 <= chunk; i += kPixels8) {
        _mm256_storeu_si256(vectorAt(done + i), pixelsAt(done + i, i));
      }
    }
    if (i < chunk) drawFew(done + i, chunk - i, i);
    done += chunk;
  }
}

template <typename Map>
void run8WithMap(const Row8& row, const Run<PF_Pixel>& run, const Map& map) {
  const bool blend = row.blend && run.original != nullptr;
  if (row.grain) {
    return blend ? run8With<Map, true, true>(row, run, map)
                 : run8With<Map, true, false>(row, run, map);
  }
  return blend ? run8With<Map, false, true>(row, run, map)
               : run8With<Map, false, false>(row, run, map);
}

void run8(const Row8& row, const Run<PF_Pixel>& run) {
  if (!row.vectorSafe) return portableKernels().run8(row, run);
  if (row.colourMap == nullptr) return run8WithMap(row, run, NoMap{});
  switch (row.colourMap->bitSets()) {
    case 0:
      return run8WithMap(row, run, MapVector<0>(*row.colourMap));
    case 1:
      return run8WithMap(row, run, MapVector<1>(*row.colourMap));
    default:
      return run8WithMap(row, run, MapVector<2>(*row.colourMap));
  }
}

// Float pixels.

constexpr int kPixels32 = 2;       // in one vector
constexpr int kAlphaLanes = 0x11;  // of the eight

// One row's way from two source pixels to two output pixels.
template <bool kBars, bool kGrain, bool kDark>
class Pipeline32 {
 public:
  explicit Pipeline32(const Row32& row)
      : barsAlpha_(_mm256_set1_ps(row.barsPixel.alpha)),
        barsLeft_(_mm256_set1_ps(1.0f - row.barsPixel.alpha)),
        wideBarsAlpha_(_mm256_set1_pd(row.barsPixel.alpha)),
        twiceBars_(_mm256_set1_pd(static_cast<double>(row.barsPixel.red) + row.barsPixel.red)),
        twiceRest_(_mm256_set1_pd(2.0 * (1.0 - static_cast<double>(row.barsPixel.red)))),
        grainAmount_(_mm256_set1_ps(row.grainRow.amount)),
        grainLeft_(_mm256_set1_ps(1.0f - row.grainRow.amount)),
        darkPixel_(alphaAndColour(row.darkPixel.alpha, row.darkPixel.red)),
        darkLeft_(_mm256_set1_ps(1.0f - row.darkPixel.alpha)),
        effectAmount_(_mm256_set1_ps(row.effectAmount)) {}

  // levels: the grain of both pixels, where kGrain.
  LOMIX_INLINE __m256 operator()(__m256 source, const float* levels) const {
    const __m256 ones = _mm256_set1_ps(1.0f);
    const __m256 full = _mm256_cmp_ps(source, ones, _CMP_EQ_OQ);
    __m256 pixels = source;
    // 1 * v is v and v / 1 is v: opaque pixels need no premultiplying, and those that stay opaque
    // no unmultiplying.
    if ((_mm256_movemask_ps(full) & kAlphaLanes) != kAlphaLanes) {
      const __m256 alpha = alphaOf(source);
      pixels = visible(alpha, _mm256_mul_ps(colourLanes(ones, alpha), source));
    } else if constexpr (!kBars && !kGrain && !kDark) {
      return source;
    }
    if constexpr (kBars) pixels = hardLight(pixels);
    if constexpr (kGrain) {
      const __m256 overlay =
          _mm256_set_m128(_mm_broadcast_ss(levels + 1), _mm_broadcast_ss(levels));
      pixels = _mm256_add_ps(_mm256_mul_ps(grainLeft_, pixels), colourLanes(grainAmount_, overlay));
    }
    if constexpr (kDark) pixels = _mm256_add_ps(_mm256_mul_ps(darkLeft_, pixels), darkPixel_);
    const __m256 left = _mm256_cmp_ps(pixels, ones, _CMP_EQ_OQ);
    if ((_mm256_movemask_ps(left) & kAlphaLanes) == kAlphaLanes) return pixels;
    const __m256 alpha = alphaOf(pixels);
    return visible(alpha, _mm256_div_ps(pixels, colourLanes(ones, alpha)));
  }

  LOMIX_INLINE __m256 blended(__m256 original, __m256 effect) const {
    return _mm256_fmadd_ps(effectAmount_, _mm256_sub_ps(effect, original), original);
  }

 private:
  static LOMIX_INLINE __m256 alphaAndColour(float alpha, float colour) {
    return _mm256_setr_ps(alpha, colour, colour, colour, alpha, colour, colour, colour);
  }
  // Each pixel's alpha in its four lanes.
  static LOMIX_INLINE __m256 alphaOf(__m256 pixels) { return _mm256_permute_ps(pixels, 0); }
  // Alpha lanes of the first, colour lanes of the second.
  static LOMIX_INLINE __m256 colourLanes(__m256 alphaLanes, __m256 colours) {
    return _mm256_blend_ps(colours, alphaLanes, kAlphaLanes);
  }
  // Colours set to 0 where alpha is 0.
  static LOMIX_INLINE __m256 visible(__m256 alpha, __m256 pixels) {
    const __m256 transparent = _mm256_cmp_ps(alpha, _mm256_setzero_ps(), _CMP_EQ_OQ);
    return _mm256_andnot_ps(colourLanes(_mm256_setzero_ps(), transparent), pixels);
  }

  LOMIX_INLINE __m256 hardLight(__m256 pixels) const {
    const __m256 left = _mm256_mul_ps(barsLeft_, pixels);
    const __m256 colours = _mm256_set_m128(
        hardLightColours(_mm256_extractf128_ps(pixels, 1), _mm256_extractf128_ps(left, 1)),
        hardLightColours(_mm256_castps256_ps128(pixels), _mm256_castps256_ps128(left)));
    // The second operand stands where neither is larger: it keeps -0.0 and NaN.
    const __m256 notNegative = _mm256_max_ps(_mm256_setzero_ps(), colours);
    return colourLanes(_mm256_add_ps(left, barsAlpha_), notNegative);
  }

  LOMIX_INLINE __m128 hardLightColours(__m128 pixel, __m128 left) const {
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d d = _mm256_cvtps_pd(pixel);
    const __m256d multiplied = _mm256_mul_pd(twiceBars_, d);
    const __m256d screened = _mm256_sub_pd(one, _mm256_mul_pd(twiceRest_, _mm256_sub_pd(one, d)));
    const __m256d below = _mm256_cmp_pd(d, _mm256_set1_pd(0.5), _CMP_LT_OQ);
    const __m256d h = _mm256_blendv_pd(screened, multiplied, below);
    return _mm256_cvtpd_ps(_mm256_add_pd(_mm256_mul_pd(h, wideBarsAlpha_), _mm256_cvtps_pd(left)));
  }

  __m256 barsAlpha_, barsLeft_;
  __m256d wideBarsAlpha_, twiceBars_, twiceRest_;
  __m256 grainAmount_, grainLeft_;
  __m256 darkPixel_, darkLeft_;
  __m256 effectAmount_;
};

LOMIX_INLINE __m256 load32(const PF_PixelFloat* pixels) {
  return _mm256_loadu_ps(reinterpret_cast<const float*>(pixels));
}

LOMIX_INLINE __m256 twice(const PF_PixelFloat* pixel) {
  return _mm256_broadcast_ps(reinterpret_cast<const __m128*>(pixel));
}

template <bool kBars, bool kGrain, bool kDark, bool kBlend>
void run32With(const Row32& row, const Run<PF_PixelFloat>& run) {
  const Pipeline32<kBars, kGrain, kDark> pipeline(row);
  const PF_PixelFloat* const source = run.source;
  const PF_PixelFloat* const original = run.original;
  PF_PixelFloat* const output = run.output;
  alignas(32) float grain[kGrain ? kGrainChunk : kPixels32];

  // One pixel, twice in a vector so that nothing outside is touched.
  const auto drawOne = [&](int at, int level) {
    const float levels[kPixels32] = {kGrain ? grain[level] : 0.0f, kGrain ? grain[level] : 0.0f};
    __m256 pixels = pipeline(twice(source + at), levels);
    if constexpr (kBlend) pixels = pipeline.blended(twice(original + at), pixels);
    _mm_storeu_ps(reinterpret_cast<float*>(output + at), _mm256_castps256_ps128(pixels));
  };

  int done = 0;
  while (done < run.count) {
    // With grain in chunks that its buffer holds, else all at once.
    const int chunk = kGrain ? std::min(run.count - done, kGrainChunk) : run.count - done;
    if constexpr (kGrain) grainLevels32(row.grainRow, run.firstColumn + done, chunk, grain);
    const int few =
        run.streaming ? pixelsToBoundary(output + done, sizeof(PF_PixelFloat), chunk) : -1;
    if (few > 0) drawOne(done, 0);
    int i = std::max(few, 0);
    const auto pixelsAt = [&, source, original](int at, int level) LOMIX_INLINE_LAMBDA {
      const __m256 pixels = pipeline(load32(source + at), kGrain ? grain + level : grain);
      if constexpr (!kBlend) return pixels;
      return pipeline.blended(load32(original + at), pixels);
    };
    const auto channelsAt = [output](int at) { return reinterpret_cast<float*>(output + at); };
    if (few >= 0) {
      for (; i + kPixels32 <= chunk; i += kPixels32) {
        _mm256_stream_ps(channelsAt(done + i), pixelsAt(done + i, i));
      }
    } else {
      for (; i + kPixels32 <= chunk; i += kPixels32) {
        _mm256_storeu_ps(channelsAt(done + i), pixelsAt(done + i, i));
      }
    }
    if (i < chunk) drawOne(done + i, i);
    done += chunk;
  }
}

// Turns the row's flags into template arguments, one after the other.
template <bool... kFlags>
void run32Chosen(const Row32& row, const Run<PF_PixelFloat>& run, const bool* flags) {
  if constexpr (sizeof...(kFlags) == 4) {
    run32With<kFlags...>(row, run);
  } else if (flags[sizeof...(kFlags)]) {
    run32Chosen<kFlags..., true>(row, run, flags);
  } else {
    run32Chosen<kFlags..., false>(row, run, flags);
  }
}

void run32(const Row32& row, const Run<PF_PixelFloat>& run) {
  const bool flags[] = {row.bars, row.grain, row.dark, row.blend && run.original != nullptr};
  run32Chosen<>(row, run, flags);
}

void finishStreaming() { _mm_sfence(); }

}  // namespace
}  // namespace lomix::engine

#if defined(__clang__)
#pragma clang attribute pop
#elif defined(__GNUC__)
#pragma GCC pop_options
#endif

namespace lomix::engine {
namespace {

bool processorHasAvx2AndFma() {
#if defined(_MSC_VER)
  int words[4];
  __cpuid(words, 1);
  const bool fma = (words[2] >> 12 & 1) != 0;
  const bool osSavesRegisters = (words[2] >> 27 & 1) != 0 && (_xgetbv(0) & 6) == 6;
  __cpuidex(words, 7, 0);
  return fma && osSavesRegisters && (words[1] >> 5 & 1) != 0;
#else
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
#endif
}

}  // namespace

const RowKernels* avx2Kernels() {
  static constexpr RowKernels kKernels{"avx2", run8, run32, rowSums, finishStreaming};
  static const bool kSupported = processorHasAvx2AndFma();
  return kSupported ? &kKernels : nullptr;
}

}  // namespace lomix::engine

#else

namespace lomix::engine {

const RowKernels* avx2Kernels() { return nullptr; }

}  // namespace lomix::engine

#endif
