// Images of the caller, checked.
#pragma once

#include <cstdint>
#include <string>

#include "engine/RowEngine.h"
#include "library/PixelRow.h"
#include "lomix/lomix.h"

namespace lomix::library {

/// An image, and where it is in the picture that it is a part of.
struct Image {
  PF_LayerDef memory{};
  Format format{};
  bool premultiplied = false;
  int pictureWidth = 0, pictureHeight = 0;
  std::int64_t left = 0, top = 0;  ///< Of the memory in the picture.

  /// Returns the address of a pixel of the memory, which may be outside of it.
  unsigned char* at(std::int64_t x, std::int64_t y) const;
  /// Returns whether the engine can address the pixels.
  bool isAligned() const;
  /// Returns the picture as the engine has it, without data where the memory does not hold it.
  PF_LayerDef picture() const;
};

/// Returns the image's format. name: the argument's, for messages. Throws LOMIX_BAD_ARGUMENT.
Format formatOf(const lomix_image& image, const char* name);
/// Throws LOMIX_BAD_ARGUMENT for an alpha that is none of LOMIX_STRAIGHT, ...
void requireAlpha(const lomix_image& image, const char* name);

/// Return the caller's image; only a source may be a part of a picture. name: the argument's, for
/// messages. Throw LOMIX_BAD_ARGUMENT.
Image readSource(const lomix_image* given, const char* name);
Image readTarget(const lomix_image* given, const char* name);

/// Returns an output of that size for a source, without memory. Throws LOMIX_BAD_ARGUMENT.
PF_LayerDef outputOfSize(std::int32_t width, std::int32_t height, const Image& source);

/// Throws LOMIX_BAD_ARGUMENT where frames of that source cannot be drawn into the target.
void requireTarget(const Image& target, const char* name, const Image& source);

}  // namespace lomix::library
