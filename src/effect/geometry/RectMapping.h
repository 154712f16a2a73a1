// Mapping of points and rectangles from one rectangle onto another.
#pragma once

#include "effect/geometry/RectT.h"

class RectMapping {
 public:
  RectT<float> src;
  RectT<float> dst;

  /// With keepAspect the destination is narrowed or lowered about its centre until it has the
  /// source's aspect ratio; otherwise the source is stretched onto it. A source without width or
  /// height divides by zero.
  RectMapping(const RectT<float>& src, const RectT<float>& dst, bool keepAspect);

  Vec2<float> map(const Vec2<float>& p) const;
  /// The rectangle between the mapped upper left and lower right corners.
  RectT<float> map(const RectT<float>& r) const;
};
