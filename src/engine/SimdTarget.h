// The inner loops of the row engine, one set for each instruction set: runs of pixels of one row,
// and the sums behind the row profiles. Every set gives the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/BlendMap.h"
#include "engine/ByteMap.h"
#include "engine/Span.h"
#include "hostapi/Records.h"

namespace lomix::engine {

/// The constants of one row's grain.
struct GrainRow {
  const PF_LayerDef* source = nullptr;
  double invXDown = 1.0;
  double invYDown = 1.0;
  float time = 0.0f;    ///< Seconds.
  float amount = 0.0f;  ///< Strength; a pixel's overlay level is its grain times this.
  int y = 0;

  // Terms of grainLevel() that are constant along the row, with its roundings.
  float yFull = 0.0f;    ///< The row at full resolution.
  float yWeight = 0.0f;  ///< Row times its share of the height.
  double phase = 0.0;    ///< Addend of the sine's argument.

  /// The arguments of sine and cosine are small enough for the vector code's range reduction.
  bool reducible = false;

  // For 8-bit worlds: full-resolution coordinates are integers, and the fields below are set.
  bool wholeCoordinates = false;
  std::uint64_t xStep = 1;   ///< Full-resolution columns from one pixel to the next.
  std::uint64_t yWhole = 0;  ///< The row at full resolution.
  // Angles: 2^64 units are one turn.
  std::uint64_t phaseTurns = 0;
  std::uint64_t weightTurns = 0;  ///< Of yWeight.
  float levelMargin = 0.0f;       ///< Error bound of a single-precision level, in 1/255.

  /// Returns the overlay level of the pixel in column x, as the reference path computes it.
  float levelAt(int x) const;
};

/// Where alpha is in the memory of a pixel: before the three colours (ARGB) or after them (RGBA,
/// BGRA). The effect treats the colours alike, so their order does not matter.
enum class AlphaPlace { First, Last };

/// The overlays of one row, as pixels of the frame's depth. An overlay without its flag is off.
template <typename Pixel>
struct Overlays {
  bool bars = false;
  bool grain = false;
  bool dark = false;
  bool blend = false;
  AlphaPlace alphaPlace = AlphaPlace::First;  ///< In the worlds; the pixels below are ARGB.
  Pixel barsPixel{};
  Pixel darkPixel{};
  GrainRow grainRow;
  float effectAmount = 1.0f;  ///< Weight of the effect in the blend, if any.
};

struct Row8 : Overlays<PF_Pixel> {
  /// Maps a premultiplied colour to the input of grain or, without grain, of the unmultiply:
  /// applies bars, then the weight that grain or else scanlines leave. Null: no change.
  const ByteMap* colourMap = nullptr;
  std::uint8_t grainAlpha = 0;
  /// The final alpha of a source pixel that is opaque. Its colours are unmultiplied by adding
  /// colour * unmultFactor / 65536, truncated.
  std::uint8_t opaqueAlpha = 255;
  std::uint16_t unmultFactor = 0;
  /// Maps the colour of an opaque pixel after colourMap and grain to the final colour.
  const ByteTable* finish = nullptr;
  /// The blend by effectAmount as tables; null where PixelLerp8's arithmetic is needed.
  const BlendMap* blendMap = nullptr;
  /// colourMap and unmultFactor are exact for this row; otherwise the formulas draw it.
  bool vectorSafe = false;
};

struct Row32 : Overlays<PF_PixelFloat> {};

/// Consecutive output pixels of one row, and where they come from.
template <typename Pixel>
struct Run {
  const Pixel* source;    ///< The source row that the spans refer to.
  Pixel* output;          ///< The output row.
  const Pixel* original;  ///< The source row to blend with, column for column; null: no blend.
  int first;              ///< Columns first ... end - 1 are drawn.
  int end;
  const Span* spans;         ///< Cover all these columns, in order and without gaps.
  bool streaming;            ///< Write the output with streaming stores, past the caches.
  std::ptrdiff_t toNextRow;  ///< Bytes from this source row to the one to prefetch.
};

/// What the profiles of a frame depend on.
struct ProfileFrame {
  double invYDown;
  float height;  ///< Full-resolution rows.
  float p;       ///< Phase in seconds.
};

/// The functions of one instruction set. All may run on any number of threads at once.
struct SimdTarget {
  const char* name;  ///< For reports: "portable", "avx2", "avx512", "neon", "wasm".
  /// Draw a run of pixels, 8-bit and float.
  void (*run8)(const Row8& row, const Run<PF_Pixel>& run);
  void (*run32)(const Row32& row, const Run<PF_PixelFloat>& run);
  /// Writes what scanSum() and barSum() return for rows first ... first + count - 1.
  void (*rowSums)(const ProfileFrame& frame, int first, int count, float* scanSums, float* barSums);
  /// Orders the calling thread's streaming stores before its later stores.
  void (*finishStreaming)();
  /// run8 uses the look-up tables of ByteMap and BlendMap, not the lines of ByteMap.
  bool byTable = false;
};

/// Returns the target that every processor runs.
const SimdTarget& portableTarget();

/// Returns the reference path's pixel functions as a target: slow, right for any record. Not among
/// the available targets; these fall back on it where their shortcuts are not proved.
const SimdTarget& formulaTarget();
/// Its run32, which builds with LOMIX_SMALL have in every target.
void runFormulas32(const Row32& row, const Run<PF_PixelFloat>& run);

/// Returns the AVX2 and FMA target, or null where the build or the processor lacks them.
const SimdTarget* avx2Target();

/// Returns the target for AVX-512 with byte permutations (F, BW, DQ, VL, VBMI), or null where the
/// build or the processor lacks them.
const SimdTarget* avx512Target();

/// Returns the NEON target of builds for 64-bit ARM, null elsewhere.
const SimdTarget* neonTarget();

/// Returns the target for WebAssembly with vectors, null elsewhere.
const SimdTarget* wasmTarget();

/// Returns all targets that this processor runs, the fastest first.
std::vector<const SimdTarget*> availableTargets();

/// Returns the first of them, chosen once per process.
const SimdTarget& bestTarget();

}  // namespace lomix::engine
