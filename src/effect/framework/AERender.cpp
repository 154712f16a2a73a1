#include "effect/framework/AERender.h"

#include "effect/kernel/PixelSampling.h"

namespace lomix {
namespace {

constexpr AERender::PixelFunctions kPixelFunctions8{
    alphaBlend8Void, sampleRectPixel8Void, sampleIntegral32Void, CopyAlpha8Void,
    CopyRed8Void,    CopyGreen8Void,       CopyBlue8Void};

constexpr AERender::PixelFunctions kPixelFunctions32{
    alphaBlend32Void, sampleRectPixel32Void, sampleIntegral128Void, CopyAlpha32Void,
    CopyRed32Void,    CopyGreen32Void,       CopyBlue32Void};

}  // namespace
}  // namespace lomix

AERender::AERender(PF_InData* inData, PF_OutData* outData, void* extra) : AEBase(inData, outData) {
  Initialize(extra);
}

AERender::AERender(const AEBase& base, void* extra) : AEBase(base) { Initialize(extra); }

void AERender::Initialize(void* extra) {
  smartExtra = extra;
  bitDepth = extra == nullptr ? 8 : static_cast<PF_SmartRenderExtra*>(extra)->input->bitdepth;
  if (bitDepth == 8) pixelFuncs = lomix::kPixelFunctions8;
  if (bitDepth == 32) pixelFuncs = lomix::kPixelFunctions32;
  worldSuite = nullptr;
}

int AERender::GetWorldType() const {
  switch (bitDepth) {
    case 8:
      return 1;
    case 16:
      return 2;
    case 32:
      return 3;
    default:
      return 0;
  }
}

PF_PixelFormat AERender::GetEffectWorldPixelFormat(PF_LayerDef* world) {
  PF_PixelFormat format = 0;
  worldSuite->PF_GetPixelFormat(world, &format);
  return format;
}

PF_Err AERender::ExecuteKernel(PF_LayerDef* src, PF_LayerDef* dst, void* data) {
  if (src->data == nullptr || dst->data == nullptr) return PF_Err_NONE;
  const auto visitPixels = [&] {
    for (int y = 0; y < dst->height; ++y) {
      for (int x = 0; x < dst->width; ++x) Kernel(src, dst, x, y, data);
    }
  };
  // Here an effect may treat After Effects and other hosts differently; both branches are the same.
  if (InAfterEffects()) {
    visitPixels();
  } else {
    visitPixels();
  }
  return PF_Err_NONE;
}

PF_Err AERender::Kernel(PF_LayerDef* /*src*/, PF_LayerDef* /*dst*/, int /*x*/, int /*y*/,
                        void* /*data*/) {
  return PF_Err_NONE;
}
