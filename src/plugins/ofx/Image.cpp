#include "plugins/ofx/Image.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace lomix::ofx {
namespace {

constexpr int kChannels = 4;
constexpr int kAlpha = 3;

/// Calls change(colours, alpha) for every pixel of a row.
template <typename Channel, typename Change>
void forPixels(void* row, int pixels, Change change) {
  auto* const first = static_cast<Channel*>(row);
  for (int x = 0; x < pixels; ++x) {
    Channel* const pixel = first + std::ptrdiff_t{x} * kChannels;
    for (int c = 0; c < kAlpha; ++c) change(pixel[c], pixel[kAlpha]);
  }
}

}  // namespace

bool isEmpty(const OfxRectI& rect) { return rect.x1 >= rect.x2 || rect.y1 >= rect.y2; }

OfxRectI intersection(const OfxRectI& a, const OfxRectI& b) {
  return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

bool contains(const OfxRectI& outer, const OfxRectI& inner) {
  return intersection(outer, inner) == inner;
}

bool operator==(const OfxRectI& a, const OfxRectI& b) {
  return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2;
}

std::byte* PixelArea::address(int x, int y, int pixelBytes) const {
  return static_cast<std::byte*>(data) + (std::ptrdiff_t{y} - bounds.y1) * rowBytes +
         (std::ptrdiff_t{x} - bounds.x1) * pixelBytes;
}

Image::Image(const Instance& instance, ClipHandle clip, OfxTime time) : suites_(instance.suites()) {
  const OfxStatus status = suites_.effect->clipGetImage(clip, time, nullptr, &set_);
  if (status != kOk) set_ = nullptr;
  if (status != kFailed) require(status, "image");  // kFailed: there is no image at that time.
  if (set_ == nullptr) return;
  try {
    read(instance, clip);
  } catch (...) {
    suites_.effect->clipReleaseImage(set_);
    throw;
  }
}

Image::~Image() {
  if (set_ != nullptr) suites_.effect->clipReleaseImage(set_);
}

void Image::read(const Instance& instance, ClipHandle clip) {
  const Properties image(suites_, set_);
  const std::string depth = image.get(prop::kPixelDepth, "");
  const std::string components = image.get(prop::kComponents, "");
  form_.isFloat = depth == kDepthFloat || depth == kDepthFloatBgra;
  form_.bgra = depth == kDepthByteBgra || depth == kDepthFloatBgra;
  if (!form_.isFloat && depth != kDepthByte && depth != kDepthByteBgra) {
    throw Failure(kFailed, "image: its depth is '" + depth + "' (use 8 bits or float)");
  }
  if (components != kRgba) {
    throw Failure(kFailed, "image: its components are '" + components + "' (use RGBA)");
  }
  // Images do not say it in every host that has another order; their clips do.
  const Properties properties = instance.clipProperties(clip);
  const auto either = [&](const char* name) {
    const std::string value = image.get(name, "");
    return value.empty() ? properties.get(name, "") : value;
  };
  form_.bgra = form_.bgra || either(prop::kPixelOrder) == kOrderBgra;
  const std::string state = either(prop::kPremultiplication);
  form_.premultiplied = state == kPremultiplied;
  saysPremultiplied_ = form_.premultiplied || state == kStraight;
  pixels_.data = image.needPointer(prop::kData);
  pixels_.rowBytes = image.needInt(prop::kRowBytes);
  pixels_.bounds = image.needRect(prop::kBounds);
  const OfxRectI& bounds = pixels_.bounds;
  if (pixels_.data == nullptr || isEmpty(bounds)) {
    throw Failure(kFailed, "image: it has no pixels (check the input)");
  }
  const std::int64_t width = std::int64_t{bounds.x2} - bounds.x1;
  if (std::abs(pixels_.rowBytes) < width * form_.pixelBytes()) {
    throw Failure(kFailed, "image: its rows are shorter than its bounds (see the host's log)");
  }
  regionOfDefinition_ = bounds;
  try {
    regionOfDefinition_ = image.needRect(prop::kRegionOfDefinition);
  } catch (const Failure&) {
    // Some hosts' images do not say it: then they are whole.
  }
  if (isEmpty(regionOfDefinition_)) regionOfDefinition_ = bounds;
}

void makeStraight(void* row, int pixels, bool isFloat) {
  if (isFloat) {
    forPixels<float>(row, pixels, [](float& colour, float alpha) {
      if (alpha != 0.0f && alpha != 1.0f) colour /= alpha;
    });
  } else {
    forPixels<std::uint8_t>(row, pixels, [](std::uint8_t& colour, int alpha) {
      if (alpha == 0 || alpha == 255) return;
      colour = static_cast<std::uint8_t>(std::min(255, (colour * 255 * 2 + alpha) / (2 * alpha)));
    });
  }
}

void makePremultiplied(void* row, int pixels, bool isFloat, bool keepUnderZero) {
  if (isFloat) {
    forPixels<float>(row, pixels, [keepUnderZero](float& colour, float alpha) {
      if (alpha == 1.0f || (alpha == 0.0f && keepUnderZero)) return;
      colour = alpha == 0.0f ? 0.0f : colour * alpha;
    });
  } else {
    forPixels<std::uint8_t>(row, pixels, [keepUnderZero](std::uint8_t& colour, int alpha) {
      if (alpha == 0 && keepUnderZero) return;
      colour = static_cast<std::uint8_t>((colour * alpha * 2 + 255) / (2 * 255));
    });
  }
}

void swapRedAndBlue(void* row, int pixels, bool isFloat) {
  const auto swap = [pixels](auto* channel) {
    for (int x = 0; x < pixels; ++x, channel += kChannels) std::swap(channel[0], channel[2]);
  };
  if (isFloat) {
    swap(static_cast<float*>(row));
  } else {
    swap(static_cast<std::uint8_t*>(row));
  }
}

lomix_image imageOf(const PixelArea& area, const OfxRectI& part, const PixelForm& form) {
  lomix_image image = LOMIX_IMAGE_INIT;
  image.format = form.format();
  image.width = part.x2 - part.x1;
  image.height = part.y2 - part.y1;
  image.row_bytes = -static_cast<std::int64_t>(area.rowBytes);
  image.data = area.address(part.x1, part.y2 - 1, form.pixelBytes());
  return image;
}

bool isAligned(const PixelArea& area, const PixelForm& form) {
  return !form.isFloat ||
         (area.rowBytes % 4 == 0 && reinterpret_cast<std::uintptr_t>(area.data) % 4 == 0);
}

}  // namespace lomix::ofx
