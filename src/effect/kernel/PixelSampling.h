// Addresses of pixels in a world. Nothing is checked against the world's size: callers clamp or
// wrap.
#pragma once

#include "effect/geometry/RectT.h"
#include "hostapi/Records.h"

/// The pixel at column x and row y; the number is the pixel's width in bits.
PF_Pixel* sampleIntegral32(PF_LayerDef& world, int x, int y);
void* sampleIntegral64(PF_LayerDef& world, int x, int y);
PF_PixelFloat* sampleIntegral128(PF_LayerDef& world, int x, int y);

void* sampleIntegral32Void(PF_LayerDef& world, int x, int y);
void* sampleIntegral128Void(PF_LayerDef& world, int x, int y);

/// The pixel at (x, y) as seen from rect's upper left corner; the number is the channel depth. Rows
/// are counted in whole pixels: padding that is no multiple of the pixel size is dropped, and rows
/// above the world give a wrong address.
PF_Pixel* sampleRectPixel8(PF_LayerDef* world, int x, int y, RectT<int>& rect);
PF_PixelFloat* sampleRectPixel32(PF_LayerDef* world, int x, int y, RectT<int>& rect);

void* sampleRectPixel8Void(PF_LayerDef* world, int x, int y, RectT<int>& rect);
void* sampleRectPixel32Void(PF_LayerDef* world, int x, int y, RectT<int>& rect);
