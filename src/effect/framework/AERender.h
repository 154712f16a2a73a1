// Base of an effect that is written as an operation on one pixel, and the operations on worlds.
#pragma once

#include "effect/framework/AEBase.h"
#include "effect/geometry/RectT.h"
#include "effect/kernel/PixelFunctions.h"

/// Adds to the host context the bit depth of the render, the pixel functions of that depth and the
/// loop over all pixels of a world. An object serves one render call on one thread.
class AERender : public AEBase {
 public:
  using SampleRectFunction = void* (*)(PF_LayerDef* world, int x, int y, RectT<int>& rect);
  using SampleIntegralFunction = void* (*)(PF_LayerDef& world, int x, int y);

  /// Functions of one bit depth: 8 or 32 bits per channel. Any other depth leaves the table as it
  /// was, null at first; it must not be called through then.
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
  /// Null: a subclass that calls Premult, Unmult or GetEffectWorldPixelFormat stores the suite
  /// first.
  const PF_WorldSuite2* worldSuite;

  /// Captures a host context, throws as AEBase::InitBase does, and chooses depth and pixel
  /// functions. extra: PF_SmartRenderExtra*, or null on the plain path, which has 8 bits per
  /// channel.
  AERender(PF_InData* in_data, PF_OutData* out_data, void* extra);
  /// Shares a host context that was captured before; extra as above.
  AERender(const AEBase& base, void* extra);

  /// Chooses depth and pixel functions again for another extra; the host context stays.
  void Initialize(void* extra);

  std::int32_t GetBitDepth() const { return bitDepth; }
  /// Returns the host's number of the world type: 1, 2, 3 for 8, 16, 32 bits; 0 for other depths.
  int GetWorldType() const;
  /// Returns the world's pixel format, 0 where the host gives none. Needs worldSuite.
  PF_PixelFormat GetEffectWorldPixelFormat(PF_LayerDef* world);

  /// Calls Kernel for every pixel of dst, rows top to bottom, columns left to right, and ignores
  /// what it returns. Does nothing where either world has no pixel data. Returns 0.
  PF_Err ExecuteKernel(PF_LayerDef* src, PF_LayerDef* dst, void* data);

  /// Computes pixel (x, y) of dst from src, both with pixel data; (x, y) is inside dst. data: what
  /// ExecuteKernel was given. Returns an error code, which ExecuteKernel ignores. This one does
  /// nothing and returns 0.
  virtual PF_Err Kernel(PF_LayerDef* src, PF_LayerDef* dst, int x, int y, void* data);

  // Convert one pixel from straight to premultiplied alpha and back. The 8-bit scale is 256: opaque
  // 255 becomes 254, and the two are no exact inverses. Alpha never changes. Where it is 0, the
  // colours become 0.

  static void PixelPremult8(PF_Pixel* p);
  static void PixelPremult32(PF_PixelFloat* p);
  static void PixelUnmult8(PF_Pixel* p);
  static void PixelUnmult32(PF_PixelFloat* p);
  // Set all four channels of b to a + t * (b - a). Results of 8 bits wrap where t is outside [0,
  // 1].

  static void PixelLerp8(PF_Pixel* a, PF_Pixel* b, float t);
  static void PixelLerp32(PF_PixelFloat* a, PF_PixelFloat* b, float t);

  // The same for every pixel of a world. All do nothing for a world without pixel data and return
  // 0.

  PF_Err Premult8(PF_LayerDef* w);
  PF_Err Premult32(PF_LayerDef* w);
  PF_Err Unmult8(PF_LayerDef* w);
  PF_Err Unmult32(PF_LayerDef* w);
  // Choose by the world's pixel format and do nothing for formats other than 8-bit and float ARGB.
  // Both need worldSuite.
  PF_Err Premult(PF_LayerDef* w);
  PF_Err Unmult(PF_LayerDef* w);
  // Blend the top left area that both worlds have and write the result to b.
  PF_Err Lerp8(PF_LayerDef* a, PF_LayerDef* b, float t);
  PF_Err Lerp32(PF_LayerDef* a, PF_LayerDef* b, float t);
  /// Calls Lerp8 or Lerp32 by the bit depth; does nothing at depths other than 8 and 32.
  PF_Err Lerp(PF_LayerDef* a, PF_LayerDef* b, float t);
};
