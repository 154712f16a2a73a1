#include "effect/kernel/PixelFunctions.h"

#include <array>
#include <cstdint>

#include "effect/kernel/ByteArithmetic.h"
#include "effect/numeric/Truncate.h"
#include "effect/numeric/ZeroIfNegative.h"

namespace lomix {
namespace {

// The colour channels, in the order of the pixel.
template <typename Pixel>
constexpr std::array kColourChannels{&Pixel::red, &Pixel::green, &Pixel::blue};

std::uint8_t lowByte(int value) { return static_cast<std::uint8_t>(value & 0xFF); }

float hardLight32(float d, float s, float alpha) {
  const double wideD = d;
  const double wideS = s;
  const double h = d < 0.5f ? (wideS + wideS) * wideD : 1.0 - 2.0 * (1.0 - wideS) * (1.0 - wideD);
  const float kept = (1.0f - alpha) * d;
  const float blended =
      static_cast<float>(h * static_cast<double>(alpha) + static_cast<double>(kept));
  return zeroIfNegative(blended);
}

template <auto kChannel, typename Pixel>
void copyChannel(void* src, void* dst) {
  static_cast<Pixel*>(dst)->*kChannel = static_cast<const Pixel*>(src)->*kChannel;
}

}  // namespace
}  // namespace lomix

PF_Pixel GetPixel8(Vec4<double> colour) {
  return {lomix::truncateToByte(colour.w * 255.0), lomix::truncateToByte(colour.x * 255.0),
          lomix::truncateToByte(colour.y * 255.0), lomix::truncateToByte(colour.z * 255.0)};
}

PF_PixelFloat GetPixel32(Vec4<double> colour) {
  return {static_cast<float>(colour.w), static_cast<float>(colour.x), static_cast<float>(colour.y),
          static_cast<float>(colour.z)};
}

void hardLightBlend8Void(void* dst, void* src) {
  PF_Pixel& d = *static_cast<PF_Pixel*>(dst);
  const PF_Pixel& s = *static_cast<const PF_Pixel*>(src);
  const float alpha = static_cast<float>(s.alpha / 255.0);
  for (const auto channel : lomix::kColourChannels<PF_Pixel>) {
    d.*channel = lomix::lowByte(lomix::hardLight8(d.*channel, s.*channel, alpha));
  }
  d.alpha = lomix::lowByte(lomix::weightedByte(d.alpha, s.alpha) + s.alpha);
}

void hardLightBlend32Void(void* dst, void* src) {
  PF_PixelFloat& d = *static_cast<PF_PixelFloat*>(dst);
  const PF_PixelFloat& s = *static_cast<const PF_PixelFloat*>(src);
  for (const auto channel : lomix::kColourChannels<PF_PixelFloat>) {
    d.*channel = lomix::hardLight32(d.*channel, s.*channel, s.alpha);
  }
  d.alpha = (1.0f - s.alpha) * d.alpha + s.alpha;
}

void alphaBlendPixel8(void* dst, void* src) {
  PF_Pixel& d = *static_cast<PF_Pixel*>(dst);
  const PF_Pixel& s = *static_cast<const PF_Pixel*>(src);
  if (s.alpha > 254) {
    d = s;
    return;
  }
  if (s.alpha == 0) return;
  d.alpha = lomix::lowByte(lomix::weightedByte(d.alpha, s.alpha) + s.alpha);
  for (const auto channel : lomix::kColourChannels<PF_Pixel>) {
    d.*channel = lomix::lowByte(lomix::weightedByte(d.*channel, s.alpha) + s.*channel);
  }
}

void alphaBlendPixel32(void* dst, void* src) {
  PF_PixelFloat& d = *static_cast<PF_PixelFloat*>(dst);
  const PF_PixelFloat& s = *static_cast<const PF_PixelFloat*>(src);
  const float n = 1.0f - s.alpha;
  d.alpha = n * d.alpha + s.alpha;
  for (const auto channel : lomix::kColourChannels<PF_PixelFloat>) {
    d.*channel = n * d.*channel + s.*channel;
  }
}

void alphaBlend8Void(void* dst, void* src, float opacity) {
  PF_Pixel& d = *static_cast<PF_Pixel*>(dst);
  const PF_Pixel& s = *static_cast<const PF_Pixel*>(src);
  const int alpha = lomix::truncateToByte(static_cast<float>(s.alpha) * opacity);
  if (alpha == 255) {
    d = s;
    return;
  }
  if (alpha == 0) return;
  d.alpha = lomix::lowByte(lomix::weightedByte(d.alpha, alpha) + alpha);
  for (const auto channel : lomix::kColourChannels<PF_Pixel>) {
    d.*channel = lomix::truncateToByte(opacity * static_cast<float>(s.*channel) +
                                       static_cast<float>(lomix::weightedByte(d.*channel, alpha)));
  }
}

void alphaBlend32Void(void* dst, void* src, float opacity) {
  PF_PixelFloat& d = *static_cast<PF_PixelFloat*>(dst);
  const PF_PixelFloat& s = *static_cast<const PF_PixelFloat*>(src);
  const float alpha = opacity * s.alpha;
  const float n = 1.0f - alpha;
  d.alpha = n * d.alpha + alpha;
  for (const auto channel : lomix::kColourChannels<PF_PixelFloat>) {
    d.*channel = n * d.*channel + opacity * s.*channel;
  }
}

void CopyAlpha8Void(void* src, void* dst) {
  lomix::copyChannel<&PF_Pixel::alpha, PF_Pixel>(src, dst);
}
void CopyRed8Void(void* src, void* dst) { lomix::copyChannel<&PF_Pixel::red, PF_Pixel>(src, dst); }
void CopyGreen8Void(void* src, void* dst) {
  lomix::copyChannel<&PF_Pixel::green, PF_Pixel>(src, dst);
}
void CopyBlue8Void(void* src, void* dst) {
  lomix::copyChannel<&PF_Pixel::blue, PF_Pixel>(src, dst);
}

void CopyAlpha32Void(void* src, void* dst) {
  lomix::copyChannel<&PF_PixelFloat::alpha, PF_PixelFloat>(src, dst);
}
void CopyRed32Void(void* src, void* dst) {
  lomix::copyChannel<&PF_PixelFloat::red, PF_PixelFloat>(src, dst);
}
void CopyGreen32Void(void* src, void* dst) {
  lomix::copyChannel<&PF_PixelFloat::green, PF_PixelFloat>(src, dst);
}
void CopyBlue32Void(void* src, void* dst) {
  lomix::copyChannel<&PF_PixelFloat::blue, PF_PixelFloat>(src, dst);
}
