#include "effect/geometry/HostRect.h"

#include "effect/geometry/RectT.h"

namespace lomix {
namespace {

RectT<int> fromHost(const PF_LegacyRect& r) { return {r.left, r.top, r.right, r.bottom}; }

}  // namespace
}  // namespace lomix

bool Rect_Intersect(const PF_LegacyRect& a, const PF_LegacyRect& b) {
  return lomix::fromHost(a).intersects(lomix::fromHost(b));
}

PF_LegacyRect ConstrainRectangle(PF_LegacyRect a, PF_LegacyRect b) {
  const RectT<int> clipped = lomix::fromHost(a).getClipBy(lomix::fromHost(b));
  return {static_cast<A_short>(clipped.top()), static_cast<A_short>(clipped.left()),
          static_cast<A_short>(clipped.bottom()), static_cast<A_short>(clipped.right())};
}
