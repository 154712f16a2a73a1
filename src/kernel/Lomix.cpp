#include "kernel/Lomix.h"

#include <cmath>

#include "geometry/Truncate.h"
#include "signal/SyncFunctions.h"

namespace {

// The grain's positions start here, so that its formula never divides by row 0.
constexpr int kGrainOrigin = 10;
constexpr float kGrainRate = 5.0f;
constexpr int kTile = 1;
constexpr int kStretch = 2;

// Row and column of the source pixel while they are derived.
struct SourcePosition {
  int x, y;
};

// One correction each way: what lies further out is left to the clamp.
int wrapOnce(int position, int size) {
  if (position < 0) position += size;
  if (position >= size) position -= size;
  return position;
}

int clampToEdge(int position, int size) {
  const float last = static_cast<float>(size) - 1.0f;
  float value = static_cast<float>(position);
  if (value < 0.0f) {
    value = 0.0f;
  } else if (value > last) {
    value = last;
  }
  return truncateToInt32(value);
}

int displacedColumn(const LomixStruct& record, int column, int y, float width) {
  const bool displaces = record.scanDistortion > 0.0f || record.signalDistortion > 0.0f;
  const auto row = static_cast<std::size_t>(y);
  if (!displaces || row >= record.scanProfile.size()) return column;
  // The jitter alone is centred; the scan weights push one way.
  const float shift = record.scanProfile.at(row) * width * record.scanDistortion +
                      width * record.signalProfile.at(row) * -0.5f * record.signalDistortion;
  return truncateToInt32(static_cast<float>(column) - shift);
}

SourcePosition sourcePosition(const LomixStruct& record, const PF_LayerDef& src, int x, int y) {
  const float width = static_cast<float>(src.width);
  const float height = static_cast<float>(src.height);
  SourcePosition at{
      truncateToInt32(std::fma(-width, record.horizontalSyncOffset, static_cast<float>(x))),
      truncateToInt32(std::fma(-height, record.verticalSyncOffset, static_cast<float>(y)))};
  if (record.distortionMode == kTile) at.x = displacedColumn(record, at.x, y, width);
  at.y = wrapOnce(at.y, src.height);
  at.x = wrapOnce(at.x, src.width);
  // Displaced after the wrap, a stretched row meets the clamp and repeats its edge pixel.
  if (record.distortionMode == kStretch) at.x = displacedColumn(record, at.x, y, width);
  return {clampToEdge(at.x, src.width), clampToEdge(at.y, src.height)};
}

float grainLevel(const LomixStruct& record, const AEBase& base, const PF_LayerDef& src, int x,
                 int y) {
  const auto fullResolution = [](int pixels, double inverseFactor) {
    return static_cast<float>(pixels * inverseFactor);
  };
  const float r = legacyRandom(
      fullResolution(x + kGrainOrigin, base.invXDown),
      fullResolution(y + kGrainOrigin, base.invYDown), fullResolution(src.width, base.invXDown),
      fullResolution(src.height, base.invYDown), record.time + record.time, kGrainRate);
  if (r < 0.0f) return 0.0f;
  if (r > 1.0f) return 1.0f;
  return r;
}

}  // namespace

bool onDarkLine(const LomixStruct& record, int y) {
  const float thickness = record.scanlineThickness;
  const float period = thickness + thickness;
  const float phase = static_cast<float>(y) - (record.time + 1.0f) * record.scanlineSpeed;
  const float periods = static_cast<float>(truncateToInt32(phase / period));
  const float offset = phase - period * periods;
  // The offset has the phase's sign; below zero the same band lies one period down.
  return (offset < 0.0f ? -thickness : thickness) <= offset;
}

Lomix::Lomix(PF_InData* inData, PF_OutData* outData, void* data) : AERender(inData, outData, data) {
  Initialize();
}

Lomix::Lomix(const AEBase& base, void* data) : AERender(base, data) { Initialize(); }

int Lomix::Initialize() {
  pixelDepth = GetBitDepth();
  if (pixelDepth == 8) {
    barsBlend = hardLightBlend8Void;
    overlayBlend = alphaBlendPixel8;
  } else if (pixelDepth == 32) {
    barsBlend = hardLightBlend32Void;
    overlayBlend = alphaBlendPixel32;
  }
  return pixelDepth;
}

PF_Err Lomix::Kernel(PF_LayerDef* src, PF_LayerDef* dst, int x, int y, void* data) {
  // The table of pixel functions is empty at every other depth.
  if (pixelDepth != 8 && pixelDepth != 32) return PF_Err_NONE;

  // A private copy for every pixel: no kernel ever reads the caller's record while it works.
  const LomixStruct record(*static_cast<const LomixStruct*>(data));
  DistortPixel(record, src, dst, x, y);
  return PF_Err_NONE;
}

void Lomix::DistortPixel(const LomixStruct& record, PF_LayerDef* src, PF_LayerDef* dst, int x,
                         int y) {
  const float bar = record.barsProfile.at(static_cast<std::size_t>(y));
  const SourcePosition at = sourcePosition(record, *src, x, y);
  void* const from = pixelFuncs.sampleIntegralFunc(*src, at.x, at.y);
  void* const pixel = pixelFuncs.sampleIntegralFunc(*dst, x, y);
  pixelFuncs.copyAlphaFunc(from, pixel);
  pixelFuncs.copyRedFunc(from, pixel);
  pixelFuncs.copyGreenFunc(from, pixel);
  pixelFuncs.copyBlueFunc(from, pixel);

  PremultPixel(pixel);
  if (record.barsOverlay > 0.0f) {
    const float v = bar * record.barsOverlay;
    blendpixelColor(pixel, {v, v, v, record.barsOverlay}, barsBlend);
  }
  if (record.noise > 0.0f) {
    const float v = grainLevel(record, *this, *src, x, y) * record.noise;
    blendpixelColor(pixel, {v, v, v, record.noise}, overlayBlend);
  }
  if (record.scanlineOverlay > 0.0f && onDarkLine(record, y)) {
    const float black = record.scanlineOverlay * 0.0f;
    blendpixelColor(pixel, {black, black, black, record.scanlineOverlay}, overlayBlend);
  }
  UnmultPixel(pixel);
}

PF_Err Lomix::DisplaceImage(PF_LayerDef* /*world*/, std::vector<float>* /*scan*/,
                            std::vector<float>* /*bars*/, std::vector<float>* /*jitter*/) {
  return PF_Err_NONE;
}
