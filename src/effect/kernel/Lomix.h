// The effect object, whose Kernel computes one pixel of the output.
#pragma once

#include <vector>

#include "effect/framework/AERender.h"
#include "effect/geometry/Vec.h"
#include "effect/kernel/PixelFunctions.h"
#include "effect/signal/LomixStruct.h"

/// The effect object of one render call. At a depth other than 8 and 32 bits per channel its pixel
/// operations do nothing. Any number of threads may call its pixel operations on different pixels;
/// CreateDisplacementImage is for one thread in the process at a time.
class Lomix : public AERender {
 public:
  std::int32_t pixelDepth;                      ///< Bits per channel.
  lomix::BlendFunction barsBlend = nullptr;     ///< Hard light.
  lomix::BlendFunction overlayBlend = nullptr;  ///< Premultiplied "over", for grain and scanlines.

  /// Captures a host context, throws as AEBase::InitBase does, and chooses depth and blends.
  /// data: PF_SmartRenderExtra*, or null on the plain path.
  Lomix(PF_InData* in_data, PF_OutData* out_data, void* data);
  /// Shares a host context that was captured before; data as above.
  Lomix(const AEBase& base, void* data);

  using AERender::Initialize;
  /// Chooses the blends for the render base's bit depth; returns that depth. To change the depth,
  /// call Initialize(extra) before.
  int Initialize();

  /// Draws pixel (x, y) of dst from src and a private copy of the LomixStruct at data; returns 0.
  /// Throws std::out_of_range where a profile of the record has no row y.
  PF_Err Kernel(PF_LayerDef* src, PF_LayerDef* dst, int x, int y, void* data) override;

  /// Appends one entry per row of world to each of the record's three profiles; returns 0. Only the
  /// world's height is read. p: phase in seconds; for a frame at time t it is -t. Re-seeds the
  /// process-wide MTRand_int32, so that one thread in the process may call it at a time.
  PF_Err CreateDisplacementImage(PF_LayerDef* world, float p, LomixStruct* record);
  /// Does nothing; returns 0.
  PF_Err DisplaceImage(PF_LayerDef* world, std::vector<float>* scan, std::vector<float>* bars,
                       std::vector<float>* jitter);

  // Operations on one pixel of the render's depth. Colours are red, green, blue and where given
  // alpha, each in [0, 1]; other values wrap at 8 bits.

  /// Blends the colour, as a pixel of the render's depth, into pixel.
  void blendpixelColor(void* pixel, Vec4<float> colour, lomix::BlendFunction blend);
  /// Premultiplies red, green and blue by alpha; at 8 bits with the scale 256.
  void PremultPixel(void* pixel);
  /// Divides red, green and blue by alpha; at 8 bits with the scale 256.
  void UnmultPixel(void* pixel);
  /// Overwrites the pixel. At 8 bits its blue is the colour's red.
  void SetPixelColor(void* pixel, Vec4<float> colour);
  /// Moves red, green and blue towards the colour; t = 1 reaches it.
  void InterpolateColor(void* pixel, Vec3<float> colour, float t);
  /// Moves alpha towards a in [0, 1]; t = 1 reaches it.
  void InterpolateAlpha(void* pixel, float a, float t);
};
