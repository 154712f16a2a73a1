// AERender's operations on pixels and worlds: premultiply, unmultiply and linear blend.

#include <algorithm>
#include <cmath>

#include "effect/framework/AERender.h"
#include "effect/kernel/ByteArithmetic.h"
#include "effect/kernel/PixelSampling.h"
#include "hostapi/Commands.h"

namespace lomix {
namespace {

float lerp32(float a, float b, float t) { return std::fma(t, b - a, a); }

// Rows are addressed in whole 8-bit pixels, counted without a sign, as sampleRectPixel8 does.
PF_Pixel* rowPixel8(PF_LayerDef& w, int x, int y) {
  RectT<int> origin(0, 0, 0, 0);
  return sampleRectPixel8(&w, x, y, origin);
}

template <typename Operation>
PF_Err forEachPixel(const PF_LayerDef& w, Operation operation) {
  if (w.data == nullptr) return PF_Err_NONE;
  for (int y = 0; y < w.height; ++y) {
    for (int x = 0; x < w.width; ++x) operation(x, y);
  }
  return PF_Err_NONE;
}

template <typename Operation>
PF_Err forEachCommonPixel(const PF_LayerDef& a, const PF_LayerDef& b, Operation operation) {
  if (a.data == nullptr || b.data == nullptr) return PF_Err_NONE;
  for (int y = 0; y < std::min(a.height, b.height); ++y) {
    for (int x = 0; x < std::min(a.width, b.width); ++x) operation(x, y);
  }
  return PF_Err_NONE;
}

}  // namespace
}  // namespace lomix

void AERender::PixelPremult8(PF_Pixel* p) {
  p->red = lomix::premultiplied(p->red, p->alpha);
  p->green = lomix::premultiplied(p->green, p->alpha);
  p->blue = lomix::premultiplied(p->blue, p->alpha);
}

void AERender::PixelPremult32(PF_PixelFloat* p) {
  // Set, not multiplied, where alpha is 0: 0 times an infinite colour would be NaN.
  const bool transparent = p->alpha == 0.0f;
  p->red = transparent ? 0.0f : p->alpha * p->red;
  p->green = transparent ? 0.0f : p->alpha * p->green;
  p->blue = transparent ? 0.0f : p->alpha * p->blue;
}

void AERender::PixelUnmult8(PF_Pixel* p) {
  p->red = lomix::unmultiplied(p->red, p->alpha);
  p->green = lomix::unmultiplied(p->green, p->alpha);
  p->blue = lomix::unmultiplied(p->blue, p->alpha);
}

void AERender::PixelUnmult32(PF_PixelFloat* p) {
  const bool transparent = p->alpha == 0.0f;
  p->red = transparent ? 0.0f : p->red / p->alpha;
  p->green = transparent ? 0.0f : p->green / p->alpha;
  p->blue = transparent ? 0.0f : p->blue / p->alpha;
}

void AERender::PixelLerp8(PF_Pixel* a, PF_Pixel* b, float t) {
  *b = {lomix::lerpByte(a->alpha, b->alpha, t), lomix::lerpByte(a->red, b->red, t),
        lomix::lerpByte(a->green, b->green, t), lomix::lerpByte(a->blue, b->blue, t)};
}

void AERender::PixelLerp32(PF_PixelFloat* a, PF_PixelFloat* b, float t) {
  *b = {lomix::lerp32(a->alpha, b->alpha, t), lomix::lerp32(a->red, b->red, t),
        lomix::lerp32(a->green, b->green, t), lomix::lerp32(a->blue, b->blue, t)};
}

PF_Err AERender::Premult8(PF_LayerDef* w) {
  return lomix::forEachPixel(*w, [&](int x, int y) { PixelPremult8(lomix::rowPixel8(*w, x, y)); });
}

PF_Err AERender::Premult32(PF_LayerDef* w) {
  return lomix::forEachPixel(*w,
                             [&](int x, int y) { PixelPremult32(sampleIntegral128(*w, x, y)); });
}

PF_Err AERender::Unmult8(PF_LayerDef* w) {
  return lomix::forEachPixel(*w, [&](int x, int y) { PixelUnmult8(lomix::rowPixel8(*w, x, y)); });
}

PF_Err AERender::Unmult32(PF_LayerDef* w) {
  return lomix::forEachPixel(*w, [&](int x, int y) { PixelUnmult32(sampleIntegral128(*w, x, y)); });
}

PF_Err AERender::Premult(PF_LayerDef* w) {
  switch (GetEffectWorldPixelFormat(w)) {
    case PF_PixelFormat_ARGB128:
      return Premult32(w);
    case PF_PixelFormat_ARGB32:
      return Premult8(w);
    default:
      return PF_Err_NONE;
  }
}

PF_Err AERender::Unmult(PF_LayerDef* w) {
  switch (GetEffectWorldPixelFormat(w)) {
    case PF_PixelFormat_ARGB128:
      return Unmult32(w);
    case PF_PixelFormat_ARGB32:
      return Unmult8(w);
    default:
      return PF_Err_NONE;
  }
}

// Like ExecuteKernel, Lerp8 and Lerp32 have a branch for After Effects; both branches blend the
// same way.

PF_Err AERender::Lerp8(PF_LayerDef* a, PF_LayerDef* b, float t) {
  const auto blendPixels = [&] {
    return lomix::forEachCommonPixel(*a, *b, [&](int x, int y) {
      PixelLerp8(sampleIntegral32(*a, x, y), sampleIntegral32(*b, x, y), t);
    });
  };
  return InAfterEffects() ? blendPixels() : blendPixels();
}

PF_Err AERender::Lerp32(PF_LayerDef* a, PF_LayerDef* b, float t) {
  const auto blendPixels = [&] {
    return lomix::forEachCommonPixel(*a, *b, [&](int x, int y) {
      PixelLerp32(sampleIntegral128(*a, x, y), sampleIntegral128(*b, x, y), t);
    });
  };
  return InAfterEffects() ? blendPixels() : blendPixels();
}

PF_Err AERender::Lerp(PF_LayerDef* a, PF_LayerDef* b, float t) {
  if (bitDepth == 8) return Lerp8(a, b, t);
  if (bitDepth == 32) return Lerp32(a, b, t);
  return PF_Err_NONE;
}
