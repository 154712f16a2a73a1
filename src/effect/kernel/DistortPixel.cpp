#include "effect/kernel/DistortPixel.h"

#include <cstddef>

#include "effect/kernel/Grain.h"
#include "effect/kernel/Scanlines.h"
#include "effect/kernel/SourcePosition.h"

namespace lomix {

void distortPixel(Lomix& effect, const LomixStruct& record, PF_LayerDef& src, PF_LayerDef& dst,
                  int x, int y) {
  const AERender::PixelFunctions& functions = effect.pixelFuncs;
  const float bar = record.barsProfile.at(static_cast<std::size_t>(y));
  const int column = sourceColumn(record, src, x, y);
  const int row = sourceRow(record, src, y);
  void* const from = functions.sampleIntegralFunc(src, column, row);
  void* const pixel = functions.sampleIntegralFunc(dst, x, y);
  functions.copyAlphaFunc(from, pixel);
  functions.copyRedFunc(from, pixel);
  functions.copyGreenFunc(from, pixel);
  functions.copyBlueFunc(from, pixel);

  effect.PremultPixel(pixel);
  if (record.barsOverlay > 0.0f) {
    const float v = bar * record.barsOverlay;
    effect.blendpixelColor(pixel, {v, v, v, record.barsOverlay}, effect.barsBlend);
  }
  if (record.noise > 0.0f) {
    const float v =
        grainLevel(src, effect.invXDown, effect.invYDown, record.time, x, y) * record.noise;
    effect.blendpixelColor(pixel, {v, v, v, record.noise}, effect.overlayBlend);
  }
  if (record.scanlineOverlay > 0.0f && onDarkLine(record, y)) {
    const float black = record.scanlineOverlay * 0.0f;
    effect.blendpixelColor(pixel, {black, black, black, record.scanlineOverlay},
                           effect.overlayBlend);
  }
  effect.UnmultPixel(pixel);
}

}  // namespace lomix
