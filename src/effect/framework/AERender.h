// Base of an effect that is written as an operation on one pixel.
#pragma once

#include "effect/framework/AEBase.h"
#include "effect/geometry/RectT.h"
#include "effect/kernel/PixelFunctions.h"

/// Adds to the host context the render's bit depth, the pixel functions of that depth and the drive
/// over all pixels of a world.
class AERender : public AEBase {
 public:
  using SampleRectFunction = void* (*)(PF_LayerDef* world, int x, int y, RectT<int>& rect);
  using SampleIntegralFunction = void* (*)(PF_LayerDef& world, int x, int y);

  /// Set for 8 and 32 bits per channel. Any other depth leaves the table as it was, null at first,
  /// and nobody may call through it.
  struct PixelFunctions {
    lomix::OpacityBlendFunction blendFunc = nullptr;
    SampleRectFunction sampleRectFunc = nullptr;
    SampleIntegralFunction sampleIntegralFunc = nullptr;
    lomix::ChannelCopyFunction copyAlphaFunc = nullptr;
    lomix::ChannelCopyFunction copyRedFunc = nullptr;
    lomix::ChannelCopyFunction copyGreenFunc = nullptr;
    lomix::ChannelCopyFunction copyBlueFunc = nullptr;
  };

  PixelFunctions pixelFuncs;
  void* smartExtra;       ///< PF_SmartRenderExtra*, or null on the plain path.
  std::int32_t bitDepth;  ///< Bits per channel: 8, 16 or 32.
  /// Never set here: a subclass that wants the world-level Premult and Unmult stores it first.
  const PF_WorldSuite2* worldSuite;

  /// extra: PF_SmartRenderExtra*, or null on the plain path, which is always 8 bits per channel.
  AERender(PF_InData* in_data, PF_OutData* out_data, void* extra);
  /// Shares a host context that was captured before.
  AERender(const AEBase& base, void* extra);

  /// Chooses depth and pixel functions anew; the host context is untouched.
  void Initialize(void* extra);

  std::int32_t GetBitDepth() const { return bitDepth; }
  /// The host's number of the world type: 1, 2, 3 for 8, 16, 32 bits; 0 for any other depth.
  int GetWorldType() const;
  /// Needs worldSuite; the suite's own error is not reported.
  PF_PixelFormat GetEffectWorldPixelFormat(PF_LayerDef* world);

  /// Calls Kernel for every pixel of dst, rows top to bottom, columns left to right, whatever the
  /// kernel returns. Nothing where either world has no pixels. Returns 0.
  PF_Err ExecuteKernel(PF_LayerDef* src, PF_LayerDef* dst, void* data);

  /// Computes pixel (x, y) of dst; data is ExecuteKernel's. Returns an error code that nobody
  /// reads.
  virtual PF_Err Kernel(PF_LayerDef* src, PF_LayerDef* dst, int x, int y, void* data);

  // Straight to premultiplied alpha and back. The 8-bit scale is 256: opaque 255 becomes 254, and
  // the pair is not an exact inverse. Alpha itself never changes.

  static void PixelPremult8(PF_Pixel* p);
  static void PixelPremult32(PF_PixelFloat* p);
  static void PixelUnmult8(PF_Pixel* p);
  static void PixelUnmult32(PF_PixelFloat* p);
  /// b becomes a + t * (b - a) in all four channels; 8 bits wrap where t lies outside 0-1.
  static void PixelLerp8(PF_Pixel* a, PF_Pixel* b, float t);
  static void PixelLerp32(PF_PixelFloat* a, PF_PixelFloat* b, float t);

  // The same over whole worlds; nothing for a world without pixels. All return 0.

  PF_Err Premult8(PF_LayerDef* w);
  PF_Err Premult32(PF_LayerDef* w);
  PF_Err Unmult8(PF_LayerDef* w);
  PF_Err Unmult32(PF_LayerDef* w);
  /// By the world's pixel format; nothing for formats other than 8-bit and float ARGB. Need
  /// worldSuite.
  PF_Err Premult(PF_LayerDef* w);
  PF_Err Unmult(PF_LayerDef* w);
  /// Blend the top left area that both worlds have; the result stands in b.
  PF_Err Lerp8(PF_LayerDef* a, PF_LayerDef* b, float t);
  PF_Err Lerp32(PF_LayerDef* a, PF_LayerDef* b, float t);
  /// By the bit depth; nothing for depths other than 8 and 32.
  PF_Err Lerp(PF_LayerDef* a, PF_LayerDef* b, float t);
};
