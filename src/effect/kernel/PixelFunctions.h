// Operations on single pixels: conversion of colours, blends and channel copies. A name with 8
// takes PF_Pixel, a name with 32 PF_PixelFloat. Untyped arguments are addresses of such pixels: one
// table of function pointers can then hold the functions of either depth. Any
// number of threads may call them on different pixels.
#pragma once

#include "effect/geometry/Vec.h"
#include "hostapi/Records.h"

namespace lomix {

/// Types of functions in such a table. They write dst only.
using BlendFunction = void (*)(void* dst, void* src);
using OpacityBlendFunction = void (*)(void* dst, void* src, float opacity);
using ChannelCopyFunction = void (*)(void* src, void* dst);

}  // namespace lomix

/// Return a colour of red, green, blue, alpha in [0, 1] as a pixel. The 8-bit form truncates
/// component * 255 and keeps the low 8 bits: 0.9999 gives 254, and values from 256/255 on wrap. The
/// float form does not clamp.
PF_Pixel GetPixel8(Vec4<double> colour);
PF_PixelFloat GetPixel32(Vec4<double> colour);

/// Lay src over dst by hard light, weighted by src's alpha. dst decides between multiply and
/// screen. The float form sets negative colours to 0 and leaves those above 1.
void hardLightBlend8Void(void* dst, void* src);
void hardLightBlend32Void(void* dst, void* src);

/// Lay src, whose colour is premultiplied, over dst. 8-bit colours wrap where the sum exceeds 255.
void alphaBlendPixel8(void* dst, void* src);
void alphaBlendPixel32(void* dst, void* src);

/// The same, with src's alpha and colour scaled by opacity, in [0, 1].
void alphaBlend8Void(void* dst, void* src, float opacity);
void alphaBlend32Void(void* dst, void* src, float opacity);

/// Copy one channel from src to dst.
void CopyAlpha8Void(void* src, void* dst);
void CopyRed8Void(void* src, void* dst);
void CopyGreen8Void(void* src, void* dst);
void CopyBlue8Void(void* src, void* dst);
void CopyAlpha32Void(void* src, void* dst);
void CopyRed32Void(void* src, void* dst);
void CopyGreen32Void(void* src, void* dst);
void CopyBlue32Void(void* src, void* dst);
