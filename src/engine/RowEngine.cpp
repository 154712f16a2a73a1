#include "engine/RowEngine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <type_traits>
#include <utility>

#include "effect/kernel/ByteArithmetic.h"
#include "effect/kernel/Grain.h"
#include "effect/kernel/PixelFunctions.h"
#include "effect/kernel/Scanlines.h"
#include "effect/kernel/SourcePosition.h"

namespace lomix::engine {
namespace {

// Pixels of a row without spans that are gathered on the stack before they are drawn.
constexpr int kChunk = 256;
// Larger outputs do not fit a core's share of the caches. Streaming stores bypass them and save
// reading each cache line before it is overwritten.
constexpr std::int64_t kStreamingBytes = 16 << 20;
constexpr int kNoBars = 256;

std::ptrdiff_t pixelBytes(int depth) { return depth == 8 ? 4 : 16; }

template <typename Pixel>
Pixel* rowOf(const PF_LayerDef& world, int y) {
  return reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) +
                                  static_cast<std::ptrdiff_t>(y) * world.rowbytes);
}

// Returns the addresses of a world's first byte and past its last, whatever the sign of its row
// bytes.
std::pair<std::uintptr_t, std::uintptr_t> extent(const PF_LayerDef& world, int depth) {
  const auto first = reinterpret_cast<std::uintptr_t>(rowOf<char>(world, 0));
  const auto last = reinterpret_cast<std::uintptr_t>(rowOf<char>(world, world.height - 1));
  const auto rowBytes = static_cast<std::uintptr_t>(world.width * pixelBytes(depth));
  return {std::min(first, last), std::max(first, last) + rowBytes};
}

bool isFraction(float amount) { return amount >= 0.0f && amount <= 1.0f; }

// Returns whether the 8-bit vector code may draw the frame: it needs overlays in [0, 1], whose
// bytes do not wrap.
bool vectorSafe(const Frame& frame) {
  const LomixStruct& r = frame.record;
  if (frame.depth != 8) return true;
  const auto offOrFraction = [](float amount) { return !(amount > 0.0f) || amount <= 1.0f; };
  return offOrFraction(r.barsOverlay) && offOrFraction(r.noise) &&
         offOrFraction(r.scanlineOverlay) &&
         (!(r.effectAmount < 1.0f) || isFraction(r.effectAmount));
}

// Returns the factor for which colour + (colour * factor >> 16), at most 255, is the straight
// colour for all 256 bytes of that alpha; -1 where there is none.
int unmultFactor(int alpha) {
  if (alpha <= 128) return -1;
  const int factor = ((256 - alpha) * 65536 + alpha - 1) / alpha;
  bool identity = true;
  for (int v = 0; v < 256; ++v) {
    const int exact = unmultiplied(v, alpha);
    const int quick = std::min(v + (v * factor >> 16), 255);
    if (exact != quick) return -1;
    identity = identity && exact == v;
  }
  return identity ? 0 : factor;
}

// Returns an angle in radians, below about 2^30, as the fraction of a turn: 2^64 units are one
// turn.
std::uint64_t turnsOf(double phase) {
  constexpr double kTwoPi = 2.0 * std::numbers::pi;
  constexpr double kTwoPiRest = 2.0 * 1.2246467991473532e-16;
  const double turns = std::nearbyint(phase / kTwoPi);
  double rest = std::fma(-turns, kTwoPi, phase);
  rest = std::fma(-turns, kTwoPiRest, rest);
  // In two steps of 32 bits: a double has only 53.
  const double scaled = rest / kTwoPi * 0x1p32;
  const double high = std::floor(scaled);
  return (static_cast<std::uint64_t>(static_cast<std::int64_t>(high)) << 32) +
         static_cast<std::uint64_t>((scaled - high) * 0x1p32);
}

Frame withProfiles(Frame frame, const SimdTarget& target, const ForRowBands& forBands) {
  LomixStruct& record = frame.record;
  if (record.scanProfile.empty()) {
    fillProfiles(record, frame.output.height, frame.invYDown, -record.time, target, forBands);
  }
  return frame;
}

bool isSmallWhole(double factor) {
  return factor >= 1.0 && factor <= 64.0 && factor == std::floor(factor);
}

}  // namespace

Frame frameOf(const ParameterValues& values, double seconds, const Scale& scale,
              const PF_LayerDef& source, const PF_LayerDef& output, int depth,
              AlphaPlace alphaPlace) {
  // Scanline speed and thickness follow the horizontal factor, as in the plug-in.
  return {frameRecord(values, seconds, {scale.x, scale.x}),
          source,
          output,
          depth,
          1.0 / scale.x,
          1.0 / scale.y,
          alphaPlace};
}

bool worldsOverlap(const PF_LayerDef& a, const PF_LayerDef& b, int depth) {
  if (a.height <= 0 || b.height <= 0) return false;
  const auto [beginA, endA] = extent(a, depth);
  const auto [beginB, endB] = extent(b, depth);
  return beginA < endB && beginB < endA;
}

RowEngine::RowEngine(Frame frame, const SimdTarget& target, const ForRowBands& forBands)
    : frame_(withProfiles(std::move(frame), target, forBands)),
      target_(vectorSafe(frame_) ? target : formulaTarget()),
      columns_(frame_.record, frame_.source, frame_.output.width),
      streaming_(std::abs(static_cast<std::int64_t>(frame_.output.rowbytes)) *
                     frame_.output.height >
                 kStreamingBytes) {
  if (frame_.depth != 8) return;
  prepareOpaqueEnds();
  prepareColourMaps();
  if (!target_.byTable || !(frame_.record.effectAmount < 1.0f)) return;
  blendMap_.emplace(frame_.record.effectAmount);
  if (!blendMap_->exact()) blendMap_.reset();
}

void RowEngine::drawRows(int first, int last) const {
  const PF_LayerDef& output = frame_.output;
  if (output.data == nullptr) return;
  drawWindow({0, first, output.width, last, rowOf<char>(output, first), output.rowbytes});
}

void RowEngine::drawWindow(const Window& window) const {
  if (frame_.source.data == nullptr && window.reader == nullptr) return;
  for (int y = window.top; y < window.bottom; ++y) {
    if (frame_.depth == 8) drawRow<PF_Pixel>(window, y);
    if (frame_.depth == 32) drawRow<PF_PixelFloat>(window, y);
  }
  if (streaming_ && window.streaming) target_.finishStreaming();
}

template <typename Pixel>
void RowEngine::drawRow(const Window& window, int y) const {
  std::conditional_t<std::is_same_v<Pixel, PF_Pixel>, Row8, Row32> row;
  row.alphaPlace = frame_.alphaPlace;
  setBarsAndDark(row, y);
  row.grain = frame_.record.noise > 0.0f;
  if (row.grain) row.grainRow = grainRow(y);
  row.blend = frame_.record.effectAmount < 1.0f;
  row.effectAmount = frame_.record.effectAmount;
  finishRow(row);
  drawPixels<decltype(row), Pixel>(row, window, y);
}

template <typename Row>
void RowEngine::setBarsAndDark(Row& row, int y) const {
  const LomixStruct& record = frame_.record;
  const auto pixelOf = [](double level, double alpha) {
    if constexpr (std::is_same_v<Row, Row8>) {
      return GetPixel8({level, level, level, alpha});
    } else {
      return GetPixel32({level, level, level, alpha});
    }
  };
  const float bar = record.barsProfile.at(static_cast<std::size_t>(y));
  row.bars = record.barsOverlay > 0.0f;
  if (row.bars) row.barsPixel = pixelOf(bar * record.barsOverlay, record.barsOverlay);
  row.dark = record.scanlineOverlay > 0.0f && onDarkLine(record, y);
  if (row.dark) row.darkPixel = pixelOf(record.scanlineOverlay * 0.0f, record.scanlineOverlay);
}

// Switches off overlays whose alpha truncates to 0: at 8 bits they change nothing. Bars do, by hard
// light, even then.
void RowEngine::finishRow(Row8& row) const {
  row.grain = row.grain && grainAlpha_ > 0;
  row.grainAlpha = grainAlpha_;
  row.dark = row.dark && row.darkPixel.alpha > 0;
  const OpaqueEnd& end = opaqueEnds_[row.dark ? 1 : 0];
  row.opaqueAlpha = end.alpha;
  row.unmultFactor = static_cast<std::uint16_t>(std::max(end.unmultFactor, 0));
  const int map = mapOfSlot_[mapSlot(row.bars, row.barsPixel.red, row.dark)];
  row.colourMap = map < 0 ? nullptr : &maps_[static_cast<std::size_t>(map)];
  row.finish = &end.finish;
  row.blendMap = blendMap_ ? &*blendMap_ : nullptr;
  const bool lines = end.unmultFactor >= 0 && (row.colourMap == nullptr || row.colourMap->exact());
  row.vectorSafe = target_.byTable || lines;
}

void RowEngine::prepareOpaqueEnds() {
  const LomixStruct& record = frame_.record;
  const auto byteOf = [](float amount) {
    return amount > 0.0f ? GetPixel8({0.0, 0.0, 0.0, amount}).alpha : std::uint8_t{0};
  };
  grainAlpha_ = byteOf(record.noise);
  const int darkAlpha = byteOf(record.scanlineOverlay);
  int alpha = 255;
  const auto over = [&alpha](int overlay) { alpha = weightedByte(alpha, overlay) + overlay; };
  if (record.barsOverlay > 0.0f) over(byteOf(record.barsOverlay));
  if (grainAlpha_ > 0) over(grainAlpha_);
  const auto endOf = [](int endAlpha, int darkAfterGrain) {
    OpaqueEnd end{static_cast<std::uint8_t>(endAlpha), unmultFactor(endAlpha), {}};
    for (int c = 0; c < 256; ++c) {
      const int left = darkAfterGrain > 0 ? weightedByte(c, darkAfterGrain) : c;
      end.finish[static_cast<std::size_t>(c)] = unmultiplied(left, endAlpha);
    }
    return end;
  };
  opaqueEnds_[0] = endOf(alpha, 0);
  if (darkAlpha > 0) over(darkAlpha);
  opaqueEnds_[1] = endOf(alpha, grainAlpha_ > 0 ? darkAlpha : 0);
}

// Scanlines are drawn over the grain: with grain they are no part of the colour map.
std::size_t RowEngine::mapSlot(bool bars, int barsLevel, bool dark) const {
  const bool darkened = dark && grainAlpha_ == 0;
  return static_cast<std::size_t>((bars ? barsLevel : kNoBars) * 2 + (darkened ? 1 : 0));
}

void RowEngine::prepareColourMaps() {
  mapOfSlot_.assign(2 * (kNoBars + 1), -1);
  const LomixStruct& record = frame_.record;
  if (!(record.barsOverlay > 0.0f) && !(record.scanlineOverlay > 0.0f) && grainAlpha_ == 0) return;
  for (int y = 0; y < frame_.output.height; ++y) {
    Row8 row;
    setBarsAndDark(row, y);
    const bool dark = row.dark && row.darkPixel.alpha > 0;
    const int weightAlpha = grainAlpha_ > 0 ? grainAlpha_ : (dark ? row.darkPixel.alpha : 0);
    int& map = mapOfSlot_[mapSlot(row.bars, row.barsPixel.red, dark)];
    if (map >= 0 || (!row.bars && weightAlpha == 0)) continue;
    ByteTable table = kIdentityTable;
    ByteMap::Slopes slopes{1.0, 1.0};
    if (row.bars) {
      const float alpha = static_cast<float>(row.barsPixel.alpha / 255.0);
      // Two loops: hardLight8() branches at 128, and without the branch the compiler vectorizes.
      for (int d = 0; d < 128; ++d) {
        table[static_cast<std::size_t>(d)] =
            static_cast<std::uint8_t>(hardLight8(d, row.barsPixel.red, alpha));
      }
      for (int d = 128; d < 256; ++d) {
        table[static_cast<std::size_t>(d)] =
            static_cast<std::uint8_t>(hardLight8(d, row.barsPixel.red, alpha));
      }
      const double level = row.barsPixel.red / 255.0;
      slopes = {2.0 * level * alpha + 1.0 - alpha, 2.0 * (1.0 - level) * alpha + 1.0 - alpha};
    }
    if (weightAlpha > 0) {
      for (std::uint8_t& byte : table) byte = weightedByte(byte, weightAlpha);
      for (double& slope : slopes) slope *= (255 - weightAlpha) / 256.0;
    }
    map = static_cast<int>(maps_.size());
    maps_.push_back(target_.byTable ? ByteMap(table) : ByteMap(table, slopes));
  }
}

GrainRow RowEngine::grainRow(int y) const {
  const LomixStruct& record = frame_.record;
  const PF_LayerDef& source = frame_.source;
  GrainRow row;
  row.source = &source;
  row.invXDown = frame_.invXDown;
  row.invYDown = frame_.invYDown;
  row.time = record.time;
  row.amount = record.noise;
  row.y = y;
  row.yFull = fullResolution(y + kGrainOrigin, row.invYDown);
  row.yWeight = row.yFull * (row.yFull / fullResolution(source.height, row.invYDown));
  row.phase = static_cast<double>(record.time + record.time) * 10.0;

  // Upper bounds of the arguments of sine and cosine, reached at the end of the row.
  const double x = std::abs((frame_.output.width + kGrainOrigin) * row.invXDown);
  const double u = x * kGrainRate + std::abs(static_cast<double>(row.yFull));
  const double sine = u * x + std::abs(row.phase);
  const double cosine = u * std::abs(static_cast<double>(row.yWeight));
  constexpr double kReducible = 0x1p29;
  // Well above where the remainder of a quotient would be subnormal.
  constexpr float kLeastRow = 0x1p-60f;
  row.reducible = sine < kReducible && cosine < kReducible && std::abs(row.yFull) > kLeastRow;

  // Below this, sums of coordinates are exact in single precision.
  constexpr double kExactWhole = 0x1p24;
  row.wholeCoordinates = row.reducible && isSmallWhole(row.invXDown) &&
                         isSmallWhole(row.invYDown) && u < kExactWhole &&
                         std::abs(row.phase) < 0x1p24;
  if (row.wholeCoordinates) {
    row.xStep = static_cast<std::uint64_t>(row.invXDown);
    row.yWhole = static_cast<std::uint64_t>(row.yFull);
    row.phaseTurns = turnsOf(row.phase);
    row.weightTurns = turnsOf(row.yWeight);
    // Twice the error bound of single-precision sine, cosine and product (2^-20), and a bound of
    // five ulp of the sine's argument (5 * 2^-53 of it), by which the reference path's roundings
    // move it at most.
    row.levelMargin = 255.0f * row.amount * static_cast<float>(0x1p-19 + sine * 0x1p-50);
  }
  return row;
}

/// The source rows of an output row.
template <typename Pixel>
struct RowEngine::SourceRows {
  const Pixel* source;
  const Pixel* original;     ///< To blend with; null: no blend.
  std::ptrdiff_t toNextRow;  ///< 0 where the next row is not in memory.
};

template <typename Pixel>
RowEngine::SourceRows<Pixel> RowEngine::sourceRowsOf(const Window& window, int y,
                                                     bool blended) const {
  const PF_LayerDef& source = frame_.source;
  const int sourceY = sourceRow(frame_.record, source, y);
  if (window.reader == nullptr) {
    return {rowOf<Pixel>(source, sourceY), blended ? rowOf<Pixel>(source, y) : nullptr,
            source.rowbytes};
  }
  auto* const row = static_cast<Pixel*>(window.sourceRows);
  window.reader->read(sourceY, 0, source.width, row);
  if (!blended || sourceY == y) return {row, blended ? row : nullptr, 0};
  Pixel* const original = row + source.width;
  // The whole row may come from anywhere; the blend needs the window's own columns.
  const int first = std::min(window.left, source.width);
  window.reader->read(y, first, std::min(window.right, source.width), original);
  return {row, original, 0};
}

template <typename Row, typename Pixel>
void RowEngine::drawPixels(const Row& row, const Window& window, int y) const {
  // The row's column 0, which may be left of the window's memory; only the window's columns are
  // addressed.
  Pixel* output = reinterpret_cast<Pixel*>(static_cast<char*>(window.data) +
                                           (y - window.top) * window.rowBytes) -
                  window.left;
  const bool streaming = streaming_ && window.streaming;
  const auto [source, original, toNextRow] =
      sourceRowsOf<Pixel>(window, y, row.blend && y < frame_.source.height);

  SpanList spans;
  if (columns_.spansOfRow(y, spans)) {
    return drawRun<Row, Pixel>(row, {source, output, original, window.left, window.right,
                                     spans.begin(), streaming, toNextRow});
  }
  Pixel gathered[kChunk];
  for (int first = window.left; first < window.right; first += kChunk) {
    const int end = std::min(window.right, first + kChunk);
    for (int x = first; x < end; ++x) {
      gathered[x - first] = source[sourceColumn(frame_.record, frame_.source, x, y)];
    }
    const Span span{first, end - first, 0, false};
    drawRun<Row, Pixel>(row, {gathered, output, original, first, end, &span, streaming, 0});
  }
}

// Splits the run where the output is wider than the source: only columns of both are blended.
template <typename Row, typename Pixel>
void RowEngine::drawRun(const Row& row, const Run<Pixel>& run) const {
  const auto draw = [this, &row](const Run<Pixel>& part) {
    if constexpr (std::is_same_v<Row, Row8>) {
      target_.run8(row, part);
    } else {
      target_.run32(row, part);
    }
  };
  const int common = std::clamp(frame_.source.width, run.first, run.end);
  if (run.original == nullptr || common == run.end) return draw(run);
  Run<Pixel> blended = run;
  blended.end = common;
  draw(blended);
  Run<Pixel> rest = run;
  rest.original = nullptr;
  rest.first = common;
  draw(rest);
}

}  // namespace lomix::engine
