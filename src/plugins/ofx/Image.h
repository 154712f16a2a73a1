// Pictures of the host, and their pixels in the form that the library draws.
#pragma once

#include <cstddef>
#include <vector>

#include "lomix/lomix.h"
#include "plugins/ofx/Instance.h"

namespace lomix::ofx {

bool isEmpty(const OfxRectI& rect);
OfxRectI intersection(const OfxRectI& a, const OfxRectI& b);
bool contains(const OfxRectI& outer, const OfxRectI& inner);
bool operator==(const OfxRectI& a, const OfxRectI& b);

/// Kind and state of a picture's pixels.
struct PixelForm {
  bool isFloat = false;
  bool premultiplied =
      false;  ///< Opaque pictures count as straight: their colours are used as they are.
  bool bgra = false;

  int pixelBytes() const { return isFloat ? 16 : 4; }
  std::int32_t format() const { return isFloat ? LOMIX_RGBA32F : LOMIX_RGBA8; }
};

/// Pixels in memory. (x, y) are the host's pixel coordinates; y points up.
struct PixelArea {
  void* data = nullptr;  ///< Of the pixel (bounds.x1, bounds.y1), the lowest row's first.
  std::ptrdiff_t rowBytes = 0;
  OfxRectI bounds{};

  std::byte* address(int x, int y, int pixelBytes) const;
};

/// An image of a clip, released in the end.
class Image {
 public:
  /// Fetches the image at a time. Where the host has none the object is empty. Throws Failure.
  Image(const Instance& instance, ClipHandle clip, OfxTime time);
  ~Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  bool empty() const { return set_ == nullptr; }
  const PixelArea& pixels() const { return pixels_; }
  const OfxRectI& regionOfDefinition() const { return regionOfDefinition_; }
  const PixelForm& form() const { return form_; }
  /// Whether the host says if colours are premultiplied.
  bool saysPremultiplied() const { return saysPremultiplied_; }

 private:
  void read(const Instance& instance, ClipHandle clip);

  const Suites& suites_;
  PropertySet set_ = nullptr;
  PixelArea pixels_;
  OfxRectI regionOfDefinition_{};
  PixelForm form_;
  bool saysPremultiplied_ = false;
};

/// Divides a row's colours by alpha. 8 bits: round(colour * 255 / alpha), at most 255. Colours
/// under alpha 0 stay.
void makeStraight(void* row, int pixels, bool isFloat);
/// Multiplies a row's colours by alpha. 8 bits: round(colour * alpha / 255), which gives the
/// colours back that makeStraight() was given, where they were at most alpha. keepUnderZero:
/// colours under alpha 0 stay, otherwise they become 0.
void makePremultiplied(void* row, int pixels, bool isFloat, bool keepUnderZero);
/// Swaps red and blue.
void swapRedAndBlue(void* row, int pixels, bool isFloat);

/// Returns part of an area as an image of the library, top row first.
lomix_image imageOf(const PixelArea& area, const OfxRectI& part, const PixelForm& form);
/// Whether the library takes it: floats have to be aligned.
bool isAligned(const PixelArea& area, const PixelForm& form);

}  // namespace lomix::ofx
