#include "effect/kernel/Lomix.h"

#include "effect/kernel/Grain.h"
#include "effect/kernel/SourcePosition.h"
#include "effect/numeric/Truncate.h"

namespace lomix {

bool onDarkLine(const LomixStruct& record, int y) {
  const float thickness = record.scanlineThickness;
  const float period = thickness + thickness;
  const float phase = static_cast<float>(y) - (record.time + 1.0f) * record.scanlineSpeed;
  const float periods = static_cast<float>(truncateToInt32(phase / period));
  const float offset = phase - period * periods;
  // The offset has the phase's sign; below zero the same band lies one period down.
  return (offset < 0.0f ? -thickness : thickness) <= offset;
}

}  // namespace lomix

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
  const int column = lomix::sourceColumn(record, *src, x, y);
  const int row = lomix::sourceRow(record, *src, y);
  void* const from = pixelFuncs.sampleIntegralFunc(*src, column, row);
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
    const float v = lomix::grainLevel(*src, invXDown, invYDown, record.time, x, y) * record.noise;
    blendpixelColor(pixel, {v, v, v, record.noise}, overlayBlend);
  }
  if (record.scanlineOverlay > 0.0f && lomix::onDarkLine(record, y)) {
    const float black = record.scanlineOverlay * 0.0f;
    blendpixelColor(pixel, {black, black, black, record.scanlineOverlay}, overlayBlend);
  }
  UnmultPixel(pixel);
}

PF_Err Lomix::DisplaceImage(PF_LayerDef* /*world*/, std::vector<float>* /*scan*/,
                            std::vector<float>* /*bars*/, std::vector<float>* /*jitter*/) {
  return PF_Err_NONE;
}
