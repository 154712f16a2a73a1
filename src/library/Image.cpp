#include "library/Image.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "library/Guard.h"

namespace lomix::library {

Format formatOf(const lomix_image& image, const std::string& name) {
  switch (image.format) {
    case LOMIX_ARGB8:
      return {8, engine::AlphaPlace::First};
    case LOMIX_RGBA8:
    case LOMIX_BGRA8:
      return {8, engine::AlphaPlace::Last};
    case LOMIX_ARGB32F:
      return {32, engine::AlphaPlace::First};
    case LOMIX_RGBA32F:
      return {32, engine::AlphaPlace::Last};
    default:
      throw Failure(LOMIX_BAD_ARGUMENT, name + ": format " + std::to_string(image.format) +
                                            " is unknown (use LOMIX_ARGB8, ...)");
  }
}

void failImage(const char* name, const std::string& cause) {
  throw Failure(LOMIX_BAD_ARGUMENT, std::string(name) + ": " + cause);
}

PF_LayerDef layerOf(const lomix_image& image, const char* name) {
  const int pixelBytes = formatOf(image, name).depth / 2;
  if (image.data == nullptr) failImage(name, "data is null (pass the first pixel)");
  if (image.width < 1 || image.height < 1) {
    failImage(name, std::to_string(image.width) + " x " + std::to_string(image.height) +
                        " is no size (use at least 1 x 1)");
  }
  // Far beyond any picture: a damaged size must not ask for all the memory.
  constexpr std::int32_t kMostPixels = 1 << 24;
  if (image.width > kMostPixels || image.height > kMostPixels) {
    failImage(name, std::to_string(image.width) + " x " + std::to_string(image.height) +
                        " is too large (use at most 16777216 pixels a side)");
  }
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  const std::int64_t needed = std::int64_t{image.width} * pixelBytes;
  if (needed > kMost || image.row_bytes > kMost || image.row_bytes < -kMost) {
    failImage(name, "a row has more than 2^31 - 1 bytes (use a smaller image)");
  }
  if (std::abs(image.row_bytes) < needed) {
    failImage(name, "row_bytes " + std::to_string(image.row_bytes) + " is less than the " +
                        std::to_string(needed) + " bytes of a row (pass the distance of two rows)");
  }
  const bool isFloat = pixelBytes == 16;
  if (isFloat && (image.row_bytes % 4 != 0 || reinterpret_cast<std::uintptr_t>(image.data) % 4)) {
    failImage(name, "floats are not aligned (use multiples of 4 for data and row_bytes)");
  }
  PF_LayerDef layer{};
  layer.data = static_cast<PF_Pixel*>(image.data);
  layer.width = image.width;
  layer.height = image.height;
  layer.rowbytes = static_cast<std::int32_t>(image.row_bytes);
  layer.extent_hint = {0, 0, image.width, image.height};
  return layer;
}

}  // namespace lomix::library
