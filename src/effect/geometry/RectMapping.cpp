#include "effect/geometry/RectMapping.h"

RectMapping::RectMapping(const RectT<float>& source, const RectT<float>& destination,
                         bool keepAspect)
    : src(source), dst(destination) {
  if (!keepAspect) return;
  const double aspect = src.getAspectRatio();
  const double oldWidth = dst.getWidth();
  const double oldHeight = dst.getHeight();
  if (aspect < oldWidth / oldHeight) {
    const double width = aspect * oldHeight;
    dst.x1 = static_cast<float>(dst.x1 + (oldWidth - width) / 2.0);
    dst.x2 = static_cast<float>(dst.x1 + width);
  } else {
    const double height = oldWidth / aspect;
    dst.y1 = static_cast<float>(dst.y1 + (oldHeight - height) / 2.0);
    dst.y2 = static_cast<float>(dst.y1 + height);
  }
}

Vec2<float> RectMapping::map(const Vec2<float>& p) const {
  return {(p.x - src.x1) / (src.x2 - src.x1) * (dst.x2 - dst.x1) + dst.x1,
          (p.y - src.y1) / (src.y2 - src.y1) * (dst.y2 - dst.y1) + dst.y1};
}

RectT<float> RectMapping::map(const RectT<float>& r) const {
  return RectT<float>(map(r.getUpperLeft()), map(r.getLowerRight()));
}
