#include "effect/kernel/Lomix.h"

#include "effect/kernel/DistortPixel.h"

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
  // At other depths the table of pixel functions is not filled.
  if (pixelDepth != 8 && pixelDepth != 32) return PF_Err_NONE;

  // A private copy for every pixel: a kernel never depends on what others do to the record.
  const LomixStruct record(*static_cast<const LomixStruct*>(data));
  lomix::distortPixel(*this, record, *src, *dst, x, y);
  return PF_Err_NONE;
}

PF_Err Lomix::DisplaceImage(PF_LayerDef* /*world*/, std::vector<float>* /*scan*/,
                            std::vector<float>* /*bars*/, std::vector<float>* /*jitter*/) {
  return PF_Err_NONE;
}
