// Addresses of pixels in a world. Coordinates are not checked against the world's size: callers
// clamp or wrap them first.
#pragma once

#include "effect/geometry/RectT.h"
#include "hostapi/Records.h"

/// Return the address of the pixel at column x and row y. The number in the name is the pixel's
/// width in bits: 32 for four channels of 8 bits. The row stride may be negative.
PF_Pixel* sampleIntegral32(PF_LayerDef& world, int x, int y);
void* sampleIntegral64(PF_LayerDef& world, int x, int y);
PF_PixelFloat* sampleIntegral128(PF_LayerDef& world, int x, int y);

void* sampleIntegral32Void(PF_LayerDef& world, int x, int y);
void* sampleIntegral128Void(PF_LayerDef& world, int x, int y);

/// Return the address of the pixel at (x, y) relative to rect's upper left corner. The number in
/// the name is the channel's depth in bits. The offset of a row is rounded down to whole pixels:
/// with a stride of 1608 bytes row 1 of float pixels starts at byte 1600. Negative rows and
/// negative strides give a wrong address.
PF_Pixel* sampleRectPixel8(PF_LayerDef* world, int x, int y, RectT<int>& rect);
PF_PixelFloat* sampleRectPixel32(PF_LayerDef* world, int x, int y, RectT<int>& rect);

void* sampleRectPixel8Void(PF_LayerDef* world, int x, int y, RectT<int>& rect);
void* sampleRectPixel32Void(PF_LayerDef* world, int x, int y, RectT<int>& rect);
