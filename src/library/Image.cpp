#include "library/Image.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "library/Guard.h"

namespace lomix::library {
namespace {

// Far beyond any picture: a damaged size must not ask for all the memory.
constexpr std::int32_t kMostPixels = 1 << 24;
constexpr std::int64_t kMostRowBytes = std::numeric_limits<std::int32_t>::max();

[[noreturn]] void fail(const char* name, const std::string& cause) {
  throw Failure(LOMIX_BAD_ARGUMENT, std::string(name) + ": " + cause);
}

void requireSize(std::int32_t width, std::int32_t height, int pixelBytes, const char* name) {
  const std::string size = std::to_string(width) + " x " + std::to_string(height);
  if (width < 1 || height < 1) fail(name, size + " is no size (use at least 1 x 1)");
  if (width > kMostPixels || height > kMostPixels) {
    fail(name, size + " is too large (use at most 16777216 pixels a side)");
  }
  if (std::int64_t{width} * pixelBytes > kMostRowBytes) {
    fail(name, "a row has more than 2^31 - 1 bytes (use a smaller image)");
  }
}

/// Returns a world of that size without memory.
PF_LayerDef worldOf(std::int32_t width, std::int32_t height, const Format& format) {
  PF_LayerDef world{};
  world.width = width;
  world.height = height;
  world.rowbytes = width * format.pixelBytes();
  world.extent_hint = {0, 0, width, height};
  return world;
}

Image imageOf(const lomix_image& given, const char* name) {
  Image image;
  image.format = formatOf(given, name);
  if (given.data == nullptr) fail(name, "data is null (pass the first pixel)");
  requireSize(given.width, given.height, image.format.pixelBytes(), name);
  if (given.row_bytes > kMostRowBytes || given.row_bytes < -kMostRowBytes) {
    fail(name, "a row has more than 2^31 - 1 bytes (use a smaller image)");
  }
  const std::int64_t needed = std::int64_t{given.width} * image.format.pixelBytes();
  if (std::abs(given.row_bytes) < needed) {
    fail(name, "row_bytes " + std::to_string(given.row_bytes) + " is less than the " +
                   std::to_string(needed) + " bytes of a row (pass the distance of two rows)");
  }
  requireAlpha(given, name);
  image.memory = worldOf(given.width, given.height, image.format);
  image.memory.data = static_cast<PF_Pixel*>(given.data);
  image.memory.rowbytes = static_cast<std::int32_t>(given.row_bytes);
  image.premultiplied = given.alpha == LOMIX_PREMULTIPLIED;
  image.pictureWidth = given.width;
  image.pictureHeight = given.height;
  return image;
}

}  // namespace

Format formatOf(const lomix_image& image, const char* name) {
  using engine::AlphaPlace;
  switch (image.format) {
    case LOMIX_ARGB8:
      return {8, AlphaPlace::First, false};
    case LOMIX_RGBA8:
      return {8, AlphaPlace::Last, false};
    case LOMIX_BGRA8:
      return {8, AlphaPlace::Last, true};
    case LOMIX_ARGB32F:
      return {32, AlphaPlace::First, false};
    case LOMIX_RGBA32F:
      return {32, AlphaPlace::Last, false};
    case LOMIX_BGRA32F:
      return {32, AlphaPlace::Last, true};
    default:
      fail(name, "format " + std::to_string(image.format) + " is unknown (use LOMIX_ARGB8, ...)");
  }
}

void requireAlpha(const lomix_image& image, const char* name) {
  if (image.alpha < LOMIX_STRAIGHT || image.alpha > LOMIX_OPAQUE) {
    fail(name, "alpha " + std::to_string(image.alpha) + " is unknown (use LOMIX_STRAIGHT, ...)");
  }
}

unsigned char* Image::at(std::int64_t x, std::int64_t y) const {
  return reinterpret_cast<unsigned char*>(memory.data) +
         static_cast<std::ptrdiff_t>(y * memory.rowbytes + x * format.pixelBytes());
}

bool Image::isAligned() const {
  return format.depth == 8 ||
         (memory.rowbytes % 4 == 0 && reinterpret_cast<std::uintptr_t>(memory.data) % 4 == 0);
}

PF_LayerDef Image::picture() const {
  PF_LayerDef world = worldOf(pictureWidth, pictureHeight, format);
  const bool whole = left <= 0 && top <= 0 && left + memory.width >= pictureWidth &&
                     top + memory.height >= pictureHeight;
  if (whole && isAligned()) {
    world.data = reinterpret_cast<PF_Pixel*>(at(-left, -top));
    world.rowbytes = memory.rowbytes;
  }
  return world;
}

Image readSource(const lomix_image* given, const char* name) {
  const lomix_image source = readStruct(given, name);
  // No part of the picture at all.
  const bool absent = source.data == nullptr && source.width == 0 && source.height == 0 &&
                      source.picture_width != 0;
  Image image = absent ? Image{.format = formatOf(source, name)} : imageOf(source, name);
  if (source.picture_width != 0 || source.picture_height != 0) {
    const std::string picture = std::string(name) + ": picture";
    requireSize(source.picture_width, source.picture_height, image.format.pixelBytes(),
                picture.c_str());
    image.pictureWidth = source.picture_width;
    image.pictureHeight = source.picture_height;
    image.left = source.left;
    image.top = source.top;
  } else if (source.left != 0 || source.top != 0) {
    fail(name, "left and top need a picture (set picture_width and picture_height)");
  }
  return image;
}

Image readTarget(const lomix_image* given, const char* name) {
  const lomix_image target = readStruct(given, name);
  if (target.picture_width != 0 || target.picture_height != 0 || target.left != 0 ||
      target.top != 0) {
    fail(name, "only a source is a part of a picture (set picture_width, left, ... to 0)");
  }
  return imageOf(target, name);
}

PF_LayerDef outputOfSize(std::int32_t width, std::int32_t height, const Image& source) {
  requireSize(width, height, source.format.pixelBytes(), "output");
  return worldOf(width, height, source.format);
}

void requireTarget(const Image& target, const char* name, const Image& source) {
  if (target.format.depth != source.format.depth || target.format.alpha != source.format.alpha) {
    fail(name, "its format is not the source's (use one format for both)");
  }
  if (engine::worldsOverlap(source.memory, target.memory, source.format.depth)) {
    fail(name, "its memory overlaps the source's (draw into memory of its own)");
  }
}

}  // namespace lomix::library
