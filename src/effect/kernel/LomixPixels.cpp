// The effect's operations on one pixel, dispatched by bit depth.

#include <cstdint>

#include "effect/kernel/ByteArithmetic.h"
#include "effect/kernel/Lomix.h"
#include "effect/numeric/Truncate.h"

namespace lomix {
namespace {

std::uint8_t interpolated8(std::uint8_t from, float towards, float t) {
  return lerpByte(from, truncateToByte(towards * 255.0f), t);
}

float interpolated32(float from, float towards, float t) { return t * (towards - from) + from; }

}  // namespace
}  // namespace lomix

void Lomix::blendpixelColor(void* pixel, Vec4<float> colour, lomix::BlendFunction blend) {
  const Vec4<double> wide{colour.x, colour.y, colour.z, colour.w};
  if (pixelDepth == 8) {
    PF_Pixel overlay = GetPixel8(wide);
    blend(pixel, &overlay);
  } else if (pixelDepth == 32) {
    PF_PixelFloat overlay = GetPixel32(wide);
    blend(pixel, &overlay);
  }
}

void Lomix::PremultPixel(void* pixel) {
  if (pixelDepth == 8) PixelPremult8(static_cast<PF_Pixel*>(pixel));
  if (pixelDepth == 32) PixelPremult32(static_cast<PF_PixelFloat*>(pixel));
}

void Lomix::UnmultPixel(void* pixel) {
  if (pixelDepth == 8) PixelUnmult8(static_cast<PF_Pixel*>(pixel));
  if (pixelDepth == 32) PixelUnmult32(static_cast<PF_PixelFloat*>(pixel));
}

void Lomix::SetPixelColor(void* pixel, Vec4<float> colour) {
  if (pixelDepth == 8) {
    // Blue is the colour's red: existing pictures depend on it.
    *static_cast<PF_Pixel*>(pixel) = {
        lomix::truncateToByte(colour.w * 255.0f), lomix::truncateToByte(colour.x * 255.0f),
        lomix::truncateToByte(colour.y * 255.0f), lomix::truncateToByte(colour.x * 255.0f)};
  } else if (pixelDepth == 32) {
    *static_cast<PF_PixelFloat*>(pixel) = {colour.w, colour.x, colour.y, colour.z};
  }
}

void Lomix::InterpolateColor(void* pixel, Vec3<float> colour, float t) {
  if (pixelDepth == 8) {
    PF_Pixel& p = *static_cast<PF_Pixel*>(pixel);
    p.red = lomix::interpolated8(p.red, colour.x, t);
    p.green = lomix::interpolated8(p.green, colour.y, t);
    p.blue = lomix::interpolated8(p.blue, colour.z, t);
  } else if (pixelDepth == 32) {
    PF_PixelFloat& p = *static_cast<PF_PixelFloat*>(pixel);
    p.red = lomix::interpolated32(p.red, colour.x, t);
    p.green = lomix::interpolated32(p.green, colour.y, t);
    p.blue = lomix::interpolated32(p.blue, colour.z, t);
  }
}

void Lomix::InterpolateAlpha(void* pixel, float a, float t) {
  if (pixelDepth == 8) {
    PF_Pixel& p = *static_cast<PF_Pixel*>(pixel);
    p.alpha = lomix::interpolated8(p.alpha, a, t);
  } else if (pixelDepth == 32) {
    PF_PixelFloat& p = *static_cast<PF_PixelFloat*>(pixel);
    p.alpha = lomix::interpolated32(p.alpha, a, t);
  }
}
