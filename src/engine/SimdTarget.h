// The hot loops: runs of pixels within one row, and the sums behind the row profiles. Each exists
// as portable code and, where the compiler can, as vector code for processors that have it; both
// give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/BlendMap.h"
#include "engine/ByteMap.h"
#include "engine/Span.h"
#include "hostapi/Records.h"

namespace lomix::engine {

/// What the grain of one row is made of.
struct GrainRow {
  const PF_LayerDef* source = nullptr;
  double invXDown = 1.0;
  double invYDown = 1.0;
  float time = 0.0f;    ///< Seconds.
  float amount = 0.0f;  ///< Strength; a pixel's overlay level is its grain times this.
  int y = 0;

  // The row's constants of the formula, rounded as it rounds them.
  float yFull = 0.0f;    ///< The row at full resolution.
  float yWeight = 0.0f;  ///< Row times its share of the height.
  double phase = 0.0;    ///< Addend of the sine's argument.

  /// Whether the arguments of sine and cosine stay small enough for the vector code's reduction.
  bool reducible = false;

  // For 8-bit worlds whose coordinates are whole numbers at full resolution.
  bool wholeCoordinates = false;
  std::uint64_t xStep = 1;   ///< Full-resolution columns from one pixel to the next.
  std::uint64_t yWhole = 0;  ///< The row at full resolution.
  // Angles in turns, as fractions of 2^64.
  std::uint64_t phaseTurns = 0;
  std::uint64_t weightTurns = 0;  ///< Of yWeight.
  float levelMargin = 0.0f;       ///< How far a level may be off, in 1/255.

  /// The overlay level of the pixel in column x by the plain formula.
  float levelAt(int x) const;
};

/// Where the alpha of a pixel is in memory: before its three colours or behind them. The effect
/// treats the colours alike, so that their order does not matter.
enum class AlphaPlace { First, Last };

/// The overlays of one row, as pixels of the render's depth. Those whose flag is unset change
/// nothing.
template <typename Pixel>
struct Overlays {
  bool bars = false;
  bool grain = false;
  bool dark = false;
  bool blend = false;
  AlphaPlace alphaPlace = AlphaPlace::First;  ///< In the worlds, not in the pixels below.
  Pixel barsPixel{};
  Pixel darkPixel{};
  GrainRow grainRow;
  float effectAmount = 1.0f;  ///< Weight of the effect where blend is set.
};

struct Row8 : Overlays<PF_Pixel> {
  /// Premultiplied colour to what the grain, or else the unmultiply, starts from: bars, then the
  /// weight that grain or else scanlines leave of the picture. Null where nothing changes.
  const ByteMap* colourMap = nullptr;
  std::uint8_t grainAlpha = 0;
  /// The alpha that an opaque source pixel ends with; premultiplied colours of such a pixel are
  /// unmultiplied by adding colour * unmultFactor / 65536, truncated.
  std::uint8_t opaqueAlpha = 255;
  std::uint16_t unmultFactor = 0;
  /// What becomes of an opaque pixel's colour after colourMap and grain.
  const ByteTable* finish = nullptr;
  /// The blend by effectAmount, or null where only its formula will do.
  const BlendMap* blendMap = nullptr;
  /// Whether colourMap and unmultFactor reproduce this row exactly; else the pixels are drawn one
  /// by one.
  bool vectorSafe = false;
};

struct Row32 : Overlays<PF_PixelFloat> {};

/// Neighbouring pixels of a row, and where they come from.
template <typename Pixel>
struct Run {
  const Pixel* source;    ///< The source's row.
  Pixel* output;          ///< The output's row.
  const Pixel* original;  ///< The input's row at the output's place; null: no blend here.
  int first;              ///< Columns first ... end - 1 are drawn.
  int end;
  const Span* spans;         ///< In order and without gaps, for all these columns.
  bool streaming;            ///< Whether the output is better written past the caches.
  std::ptrdiff_t toNextRow;  ///< Bytes from the source's row to that of the next row, as a rule.
};

/// The frame that a profile is made for.
struct ProfileFrame {
  double invYDown;
  float height;  ///< Full-resolution rows.
  float p;       ///< Phase in seconds.
};

struct SimdTarget {
  const char* name;  ///< For reports: "portable", "avx2", "avx512".
  void (*run8)(const Row8& row, const Run<PF_Pixel>& run);
  void (*run32)(const Row32& row, const Run<PF_PixelFloat>& run);
  /// Sums of sines of rows first ... first + count - 1, as scanSum() and barSum() give them.
  void (*rowSums)(const ProfileFrame& frame, int first, int count, float* scanSums, float* barSums);
  /// Makes what the calling thread streamed visible before whatever it writes next.
  void (*finishStreaming)();
  /// Whether run8 looks colours and blends up: it needs no lines of a ByteMap, but a BlendMap.
  bool byTable = false;
};

/// What every processor runs.
const SimdTarget& portableTarget();

/// Null where the build or the processor has no AVX2 and FMA.
const SimdTarget* avx2Target();

/// Null where the build or the processor has no AVX-512 with byte permutations (F, BW, DQ, VL,
/// VBMI).
const SimdTarget* avx512Target();

/// All that run on this processor, the fastest first.
std::vector<const SimdTarget*> availableTargets();

/// The first of them, chosen once.
const SimdTarget& bestTarget();

}  // namespace lomix::engine
