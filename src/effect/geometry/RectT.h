// An axis-parallel rectangle of int, float or double coordinates.
#pragma once

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

#include "effect/geometry/Vec.h"
#include "effect/numeric/Truncate.h"

/// Left, top, right and bottom in that order. No invariant is enforced: a rectangle may be inverted
/// until canonicalize() is called, and ratios of empty rectangles divide by zero.
///
/// An int rectangle is computed in double and its results are truncated toward zero, saturate at
/// the limits of int32 and are 0 for NaN: (2e9, 0, 2e9, 10) times 10 is (2147483647, 0, 2147483647,
/// 100). A float or double rectangle is computed in its own type.
template <typename T>
class RectT {
 public:
  /// Type of widths, heights and areas: wider than the coordinate for float.
  using Extent = std::conditional_t<std::is_same_v<T, float>, double, T>;
  /// Type of scale factors: an int rectangle can be scaled by a fraction.
  using Factor = lomix::WideCoordinate<T>;

  T x1, y1, x2, y2;

  RectT() = default;
  constexpr RectT(T left, T top, T right, T bottom) : x1(left), y1(top), x2(right), y2(bottom) {}
  constexpr RectT(const Vec2<T>& upperLeft, const Vec2<T>& lowerRight)
      : x1(upperLeft.x), y1(upperLeft.y), x2(lowerRight.x), y2(lowerRight.y) {}

  constexpr void set(T left, T top, T right, T bottom) { *this = RectT(left, top, right, bottom); }

  constexpr T getX1() const { return x1; }
  constexpr T getY1() const { return y1; }
  constexpr T getX2() const { return x2; }
  constexpr T getY2() const { return y2; }
  constexpr T left() const { return x1; }
  constexpr T top() const { return y1; }
  constexpr T right() const { return x2; }
  constexpr T bottom() const { return y2; }
  constexpr void left(T value) { x1 = value; }
  constexpr void top(T value) { y1 = value; }
  constexpr void right(T value) { x2 = value; }
  constexpr void bottom(T value) { y2 = value; }

  /// Returns x2 - x1; negative for an inverted rectangle.
  constexpr Extent getWidth() const { return lomix::coordinate<Extent>(exactWidth()); }
  /// Returns y2 - y1; negative for an inverted rectangle.
  constexpr Extent getHeight() const { return lomix::coordinate<Extent>(exactHeight()); }
  /// Returns width / height as a real number for every coordinate type.
  constexpr double getAspectRatio() const { return exactWidth() / exactHeight(); }
  /// Returns width * height; negative where one of them is.
  constexpr Extent calcArea() const {
    return lomix::coordinate<Extent>(exactWidth() * exactHeight());
  }

  constexpr Vec2<T> getUpperLeft() const { return {x1, y1}; }
  constexpr Vec2<T> getUpperRight() const { return {x2, y1}; }
  constexpr Vec2<T> getLowerRight() const { return {x2, y2}; }
  constexpr Vec2<T> getLowerLeft() const { return {x1, y2}; }
  constexpr Vec2<T> getCenter() const {
    const Vec2<Factor> center = wideCenter();
    return {lomix::coordinate<T>(center.x), lomix::coordinate<T>(center.y)};
  }
  /// Returns p relative to the upper left corner.
  constexpr Vec2<T> relativeUpperLeft(const Vec2<T>& p) const { return p - getUpperLeft(); }

  /// Swaps left and right, and top and bottom, where they are inverted.
  constexpr void canonicalize() {
    if (x2 < x1) std::swap(x1, x2);
    if (y2 < y1) std::swap(y1, y2);
  }

  /// Grows to cover p.
  constexpr void include(const Vec2<T>& p) {
    x1 = std::min(x1, p.x);
    x2 = std::max(x2, p.x);
    y1 = std::min(y1, p.y);
    y2 = std::max(y2, p.y);
  }
  /// Grows to cover the upper left and the lower right corner of r.
  constexpr void include(const RectT& r) {
    include(r.getUpperLeft());
    include(r.getLowerRight());
  }
  /// Grows to cover all points in order, of int, float or double, each converted to T first.
  template <typename P>
  constexpr void include(const std::vector<Vec2<P>>& points) {
    for (const Vec2<P>& p : points) {
      include(Vec2<T>{lomix::coordinate<T>(p.x), lomix::coordinate<T>(p.y)});
    }
  }

  /// Moves every edge into r. A rectangle outside collapses onto r's nearest edge.
  constexpr void clipBy(const RectT& r) {
    x1 = raiseThenLower(x1, r.x1, r.x2);
    x2 = raiseThenLower(x2, r.x1, r.x2);
    y1 = raiseThenLower(y1, r.y1, r.y2);
    y2 = raiseThenLower(y2, r.y1, r.y2);
  }
  /// Returns a copy clipped by r.
  constexpr RectT getClipBy(const RectT& r) const {
    RectT clipped = *this;
    clipped.clipBy(r);
    return clipped;
  }
  /// Returns whether the rectangles have a point in common, edges included.
  constexpr bool intersects(const RectT& r) const {
    return x1 <= r.x2 && r.x1 <= x2 && y1 <= r.y2 && r.y1 <= y2;
  }

  // Translation by v, or by -v.

  constexpr RectT& operator+=(const Vec2<T>& v) { return translate(Factor(v.x), Factor(v.y)); }
  constexpr RectT& operator-=(const Vec2<T>& v) { return translate(-Factor(v.x), -Factor(v.y)); }
  constexpr RectT operator+(const Vec2<T>& v) const { return RectT(*this) += v; }
  constexpr RectT operator-(const Vec2<T>& v) const { return RectT(*this) -= v; }
  constexpr void offset(const Vec2<T>& v) { *this += v; }
  constexpr RectT getOffset(const Vec2<T>& v) const { return *this + v; }

  // Scaling about the origin.

  constexpr RectT& operator*=(Factor s) {
    x1 = lomix::coordinate<T>(Factor(x1) * s);
    y1 = lomix::coordinate<T>(Factor(y1) * s);
    x2 = lomix::coordinate<T>(Factor(x2) * s);
    y2 = lomix::coordinate<T>(Factor(y2) * s);
    return *this;
  }
  constexpr RectT& operator/=(Factor s) {
    x1 = lomix::coordinate<T>(Factor(x1) / s);
    y1 = lomix::coordinate<T>(Factor(y1) / s);
    x2 = lomix::coordinate<T>(Factor(x2) / s);
    y2 = lomix::coordinate<T>(Factor(y2) / s);
    return *this;
  }
  constexpr RectT operator*(Factor s) const { return RectT(*this) *= s; }
  constexpr RectT operator/(Factor s) const { return RectT(*this) /= s; }
  constexpr void scale(Factor s) { *this *= s; }
  constexpr RectT scaled(Factor s) const { return *this * s; }

  // Scaling about the centre, by one factor or by one for each axis. Factors of another type are
  // converted to Factor first.

  constexpr void scaleCentered(const Vec2<Factor>& s) {
    const Factor half = Factor(0.5);
    const Vec2<Factor> center = wideCenter();
    const Factor halfWidth = static_cast<Factor>(exactWidth()) * half * s.x;
    const Factor halfHeight = static_cast<Factor>(exactHeight()) * half * s.y;
    set(lomix::coordinate<T>(center.x - halfWidth), lomix::coordinate<T>(center.y - halfHeight),
        lomix::coordinate<T>(center.x + halfWidth), lomix::coordinate<T>(center.y + halfHeight));
  }
  template <typename S>
  constexpr void scaleCentered(const Vec2<S>& s) {
    scaleCentered(Vec2<Factor>{static_cast<Factor>(s.x), static_cast<Factor>(s.y)});
  }
  constexpr void scaleCentered(Factor s) { scaleCentered(Vec2<Factor>{s, s}); }
  constexpr RectT scaledCentered(const Vec2<Factor>& s) const {
    RectT result = *this;
    result.scaleCentered(s);
    return result;
  }
  template <typename S>
  constexpr RectT scaledCentered(const Vec2<S>& s) const {
    RectT result = *this;
    result.scaleCentered(s);
    return result;
  }
  constexpr RectT scaledCentered(Factor s) const { return scaledCentered(Vec2<Factor>{s, s}); }

  /// Translates so that the centre becomes p.
  constexpr void offsetCenterTo(const Vec2<T>& p) {
    const Vec2<T> center = getCenter();
    translate(Factor(p.x) - Factor(center.x), Factor(p.y) - Factor(center.y));
  }

  /// Returns this rectangle centred in target. Where it does not fit strictly inside, or
  /// alwaysScale asks for it, the copy is scaled about its centre until it touches target on the
  /// limiting sides.
  constexpr RectT getCenteredFit(const RectT& target, bool alwaysScale) const {
    RectT result = *this;
    result.offsetCenterTo(target.getCenter());
    const bool fits =
        result.exactWidth() < target.exactWidth() && result.exactHeight() < target.exactHeight();
    if (fits && !alwaysScale) return result;
    const bool widthLimits = result.getAspectRatio() / target.getAspectRatio() >= 1.0;
    result.scaleCentered(widthLimits ? static_cast<Factor>(target.exactWidth()) /
                                           static_cast<Factor>(result.exactWidth())
                                     : static_cast<Factor>(target.exactHeight()) /
                                           static_cast<Factor>(result.exactHeight()));
    return result;
  }

  friend constexpr bool operator==(const RectT&, const RectT&) = default;

 private:
  // In double for every coordinate type.
  constexpr double exactWidth() const { return static_cast<double>(x2) - static_cast<double>(x1); }
  constexpr double exactHeight() const { return static_cast<double>(y2) - static_cast<double>(y1); }

  constexpr Vec2<Factor> wideCenter() const {
    const Factor half = Factor(0.5);
    return {(Factor(x1) + Factor(x2)) * half, (Factor(y1) + Factor(y2)) * half};
  }

  constexpr RectT& translate(Factor x, Factor y) {
    x1 = lomix::coordinate<T>(Factor(x1) + x);
    y1 = lomix::coordinate<T>(Factor(y1) + y);
    x2 = lomix::coordinate<T>(Factor(x2) + x);
    y2 = lomix::coordinate<T>(Factor(y2) + y);
    return *this;
  }

  // Unlike std::clamp, defined for an inverted clip rectangle too: the upper bound wins.
  static constexpr T raiseThenLower(T value, T low, T high) {
    if (value < low) value = low;
    if (value > high) value = high;
    return value;
  }
};
