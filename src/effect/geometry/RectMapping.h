// Mapping of points and rectangles from one rectangle onto another.
#pragma once

#include "effect/geometry/RectT.h"

/// Maps src onto dst, linearly along each axis. Points are computed in single precision.
class RectMapping {
 public:
  RectT<float> src;
  RectT<float> dst;

  /// Stretches src onto dst. keepAspect: dst is first made narrower or lower about its centre,
  /// until it has src's aspect ratio. A source without width or height maps to infinities or NaN.
  RectMapping(const RectT<float>& src, const RectT<float>& dst, bool keepAspect);

  /// Returns the mapped point; p may be outside src.
  Vec2<float> map(const Vec2<float>& p) const;
  /// Returns the rectangle between the mapped upper left and lower right corners.
  RectT<float> map(const RectT<float>& r) const;
};
