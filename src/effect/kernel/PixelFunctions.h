// Small operations on single pixels: conversion of colours, blends and channel copies. A name ends
// in 8 for PF_Pixel and in 32 for PF_PixelFloat. The untyped arguments let one table of function
// pointers hold either form; they must be the addresses of pixels of that form.
#pragma once

#include "effect/geometry/Vec.h"
#include "hostapi/Records.h"

namespace lomix {

/// Changes dst only, by what src says.
using BlendFunction = void (*)(void* dst, void* src);
using OpacityBlendFunction = void (*)(void* dst, void* src, float opacity);
using ChannelCopyFunction = void (*)(void* src, void* dst);

}  // namespace lomix

/// A colour of red, green, blue, alpha in 0-1 as a pixel. The 8-bit form truncates and keeps the
/// low 8 bits, so it wraps from 256/255 on; the float form does not clamp.
PF_Pixel GetPixel8(Vec4<double> colour);
PF_PixelFloat GetPixel32(Vec4<double> colour);

/// Hard light, weighted by the source's alpha; dst decides between multiply and screen. The float
/// form leaves no negative colour, but may leave one above 1.
void hardLightBlend8Void(void* dst, void* src);
void hardLightBlend32Void(void* dst, void* src);

/// "Over" of a premultiplied source.
void alphaBlendPixel8(void* dst, void* src);
void alphaBlendPixel32(void* dst, void* src);

/// "Over" of a premultiplied source whose alpha and colour are scaled by opacity.
void alphaBlend8Void(void* dst, void* src, float opacity);
void alphaBlend32Void(void* dst, void* src, float opacity);

/// Each copies one channel from src to dst and touches nothing else.
void CopyAlpha8Void(void* src, void* dst);
void CopyRed8Void(void* src, void* dst);
void CopyGreen8Void(void* src, void* dst);
void CopyBlue8Void(void* src, void* dst);
void CopyAlpha32Void(void* src, void* dst);
void CopyRed32Void(void* src, void* dst);
void CopyGreen32Void(void* src, void* dst);
void CopyBlue32Void(void* src, void* dst);
