#include "effect/kernel/PixelSampling.h"

#include <cstddef>
#include <cstdint>

namespace lomix {
namespace {

template <std::size_t kPixelBytes>
char* addressOf(PF_LayerDef& world, int x, int y) {
  return reinterpret_cast<char*>(world.data) +
         static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(world.rowbytes) +
         static_cast<std::ptrdiff_t>(x) * static_cast<std::ptrdiff_t>(kPixelBytes);
}

// The row's offset is an unsigned 32-bit number of bytes, rounded down to whole pixels.
template <std::size_t kPixelBytes>
char* addressInRect(const PF_LayerDef& world, int x, int y, const RectT<int>& rect) {
  const std::uint32_t row = static_cast<std::uint32_t>(y) + static_cast<std::uint32_t>(rect.top());
  const std::uint32_t rowBytes = row * static_cast<std::uint32_t>(world.rowbytes);
  const std::ptrdiff_t pixels =
      static_cast<std::ptrdiff_t>(rowBytes / kPixelBytes) + x + rect.left();
  return reinterpret_cast<char*>(world.data) + pixels * static_cast<std::ptrdiff_t>(kPixelBytes);
}

}  // namespace
}  // namespace lomix

PF_Pixel* sampleIntegral32(PF_LayerDef& world, int x, int y) {
  return static_cast<PF_Pixel*>(sampleIntegral32Void(world, x, y));
}

void* sampleIntegral64(PF_LayerDef& world, int x, int y) {
  return lomix::addressOf<8>(world, x, y);
}

PF_PixelFloat* sampleIntegral128(PF_LayerDef& world, int x, int y) {
  return static_cast<PF_PixelFloat*>(sampleIntegral128Void(world, x, y));
}

void* sampleIntegral32Void(PF_LayerDef& world, int x, int y) {
  return lomix::addressOf<sizeof(PF_Pixel)>(world, x, y);
}

void* sampleIntegral128Void(PF_LayerDef& world, int x, int y) {
  return lomix::addressOf<sizeof(PF_PixelFloat)>(world, x, y);
}

PF_Pixel* sampleRectPixel8(PF_LayerDef* world, int x, int y, RectT<int>& rect) {
  return static_cast<PF_Pixel*>(sampleRectPixel8Void(world, x, y, rect));
}

PF_PixelFloat* sampleRectPixel32(PF_LayerDef* world, int x, int y, RectT<int>& rect) {
  return static_cast<PF_PixelFloat*>(sampleRectPixel32Void(world, x, y, rect));
}

void* sampleRectPixel8Void(PF_LayerDef* world, int x, int y, RectT<int>& rect) {
  return lomix::addressInRect<sizeof(PF_Pixel)>(*world, x, y, rect);
}

void* sampleRectPixel32Void(PF_LayerDef* world, int x, int y, RectT<int>& rect) {
  return lomix::addressInRect<sizeof(PF_PixelFloat)>(*world, x, y, rect);
}
