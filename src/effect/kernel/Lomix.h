// The effect: what happens to one pixel.
#pragma once

#include <vector>

#include "effect/framework/AERender.h"
#include "effect/geometry/Vec.h"
#include "effect/kernel/PixelFunctions.h"
#include "effect/signal/LomixStruct.h"

/// The effect object of one render call. At a depth other than 8 and 32 bits per channel its pixel
/// operations do nothing.
class Lomix : public AERender {
 public:
  std::int32_t pixelDepth;                      ///< Bits per channel.
  lomix::BlendFunction barsBlend = nullptr;     ///< Hard light.
  lomix::BlendFunction overlayBlend = nullptr;  ///< Premultiplied "over", for grain and scanlines.

  Lomix(PF_InData* in_data, PF_OutData* out_data, void* data);
  Lomix(const AEBase& base, void* data);

  using AERender::Initialize;
  /// Chooses the blends for the render base's bit depth; returns that depth. To change the depth,
  /// call Initialize(extra) before.
  int Initialize();

  /// Pixel (x, y) of dst from src and the LomixStruct at data; returns 0. Throws std::out_of_range
  /// where a profile of the record has no row y.
  PF_Err Kernel(PF_LayerDef* src, PF_LayerDef* dst, int x, int y, void* data) override;

  /// Appends to the record's three profiles one entry per row of world, whose height alone counts.
  /// p: phase in seconds; the pattern moves with -p. Returns 0.
  PF_Err CreateDisplacementImage(PF_LayerDef* world, float p, LomixStruct* record);
  /// Does nothing; returns 0.
  PF_Err DisplaceImage(PF_LayerDef* world, std::vector<float>* scan, std::vector<float>* bars,
                       std::vector<float>* jitter);

  // On one pixel of the render's depth. Colours are red, green, blue (and alpha), 0-1.

  void blendpixelColor(void* pixel, Vec4<float> colour, lomix::BlendFunction blend);
  void PremultPixel(void* pixel);
  void UnmultPixel(void* pixel);
  /// At 8 bits blue takes the colour's red.
  void SetPixelColor(void* pixel, Vec4<float> colour);
  /// Moves red, green and blue by t towards the colour.
  void InterpolateColor(void* pixel, Vec3<float> colour, float t);
  /// Moves alpha by t towards a.
  void InterpolateAlpha(void* pixel, float a, float t);
};
