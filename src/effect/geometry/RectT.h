// An axis-parallel rectangle of int, float or double coordinates.
#pragma once

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

#include "effect/geometry/Vec.h"

/// Left, top, right and bottom in that order. Nothing is enforced: a rectangle may be inverted
/// until canonicalize() is called, and ratios of empty rectangles divide by zero.
template <typename T>
class RectT {
 public:
  /// Widths, heights and areas: wider than the coordinate for float.
  using Extent = std::conditional_t<std::is_same_v<T, float>, double, T>;
  /// Factors of scaling: an int rectangle can be scaled by a fraction, its corners then truncate.
  using Factor = std::conditional_t<std::is_integral_v<T>, double, T>;

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

  constexpr Extent getWidth() const { return static_cast<Extent>(x2) - static_cast<Extent>(x1); }
  constexpr Extent getHeight() const { return static_cast<Extent>(y2) - static_cast<Extent>(y1); }
  constexpr double getAspectRatio() const {
    return static_cast<double>(getWidth()) / static_cast<double>(getHeight());
  }
  constexpr Extent calcArea() const { return getWidth() * getHeight(); }

  constexpr Vec2<T> getUpperLeft() const { return {x1, y1}; }
  constexpr Vec2<T> getUpperRight() const { return {x2, y1}; }
  constexpr Vec2<T> getLowerRight() const { return {x2, y2}; }
  constexpr Vec2<T> getLowerLeft() const { return {x1, y2}; }
  constexpr Vec2<T> getCenter() const {
    return {static_cast<T>((x1 + x2) * Factor(0.5)), static_cast<T>((y1 + y2) * Factor(0.5))};
  }
  /// p as seen from the upper left corner.
  constexpr Vec2<T> relativeUpperLeft(const Vec2<T>& p) const { return p - getUpperLeft(); }

  /// Swaps edges that stand in the wrong order.
  constexpr void canonicalize() {
    if (x2 < x1) std::swap(x1, x2);
    if (y2 < y1) std::swap(y1, y2);
  }

  /// Grows to cover a point, a rectangle's two corners, or all points in order.
  constexpr void include(const Vec2<T>& p) {
    x1 = std::min(x1, p.x);
    x2 = std::max(x2, p.x);
    y1 = std::min(y1, p.y);
    y2 = std::max(y2, p.y);
  }
  constexpr void include(const RectT& r) {
    include(r.getUpperLeft());
    include(r.getLowerRight());
  }
  constexpr void include(const std::vector<Vec2<T>>& points) {
    for (const Vec2<T>& p : points) include(p);
  }

  /// Pulls every edge into r; a rectangle outside collapses onto r's nearest edge.
  constexpr void clipBy(const RectT& r) {
    x1 = raiseThenLower(x1, r.x1, r.x2);
    x2 = raiseThenLower(x2, r.x1, r.x2);
    y1 = raiseThenLower(y1, r.y1, r.y2);
    y2 = raiseThenLower(y2, r.y1, r.y2);
  }
  constexpr RectT getClipBy(const RectT& r) const {
    RectT clipped = *this;
    clipped.clipBy(r);
    return clipped;
  }
  /// Touching edges count.
  constexpr bool intersects(const RectT& r) const {
    return x1 <= r.x2 && r.x1 <= x2 && y1 <= r.y2 && r.y1 <= y2;
  }

  constexpr RectT& operator+=(const Vec2<T>& v) {
    x1 += v.x;
    x2 += v.x;
    y1 += v.y;
    y2 += v.y;
    return *this;
  }
  constexpr RectT& operator-=(const Vec2<T>& v) {
    x1 -= v.x;
    x2 -= v.x;
    y1 -= v.y;
    y2 -= v.y;
    return *this;
  }
  constexpr RectT operator+(const Vec2<T>& v) const { return RectT(*this) += v; }
  constexpr RectT operator-(const Vec2<T>& v) const { return RectT(*this) -= v; }
  constexpr void offset(const Vec2<T>& v) { *this += v; }
  constexpr RectT getOffset(const Vec2<T>& v) const { return *this + v; }

  /// Scaling about the origin.
  constexpr RectT& operator*=(Factor s) {
    x1 = static_cast<T>(x1 * s);
    y1 = static_cast<T>(y1 * s);
    x2 = static_cast<T>(x2 * s);
    y2 = static_cast<T>(y2 * s);
    return *this;
  }
  constexpr RectT& operator/=(Factor s) {
    x1 = static_cast<T>(x1 / s);
    y1 = static_cast<T>(y1 / s);
    x2 = static_cast<T>(x2 / s);
    y2 = static_cast<T>(y2 / s);
    return *this;
  }
  constexpr RectT operator*(Factor s) const { return RectT(*this) *= s; }
  constexpr RectT operator/(Factor s) const { return RectT(*this) /= s; }
  constexpr void scale(Factor s) { *this *= s; }
  constexpr RectT scaled(Factor s) const { return *this * s; }

  /// Scaling about the centre, by one factor or one per axis.
  constexpr void scaleCentered(const Vec2<Factor>& s) {
    const Factor half = Factor(0.5);
    const Factor centerX = (Factor(x1) + Factor(x2)) * half;
    const Factor centerY = (Factor(y1) + Factor(y2)) * half;
    const Factor halfWidth = static_cast<Factor>(getWidth()) * half * s.x;
    const Factor halfHeight = static_cast<Factor>(getHeight()) * half * s.y;
    set(static_cast<T>(centerX - halfWidth), static_cast<T>(centerY - halfHeight),
        static_cast<T>(centerX + halfWidth), static_cast<T>(centerY + halfHeight));
  }
  constexpr void scaleCentered(Factor s) { scaleCentered(Vec2<Factor>{s, s}); }
  constexpr RectT scaledCentered(const Vec2<Factor>& s) const {
    RectT result = *this;
    result.scaleCentered(s);
    return result;
  }
  constexpr RectT scaledCentered(Factor s) const { return scaledCentered(Vec2<Factor>{s, s}); }

  constexpr void offsetCenterTo(const Vec2<T>& p) { offset(p - getCenter()); }

  /// This rectangle centred in target and, where it does not fit strictly inside or alwaysScale
  /// asks for it, scaled about its centre until it touches target on the limiting sides.
  constexpr RectT getCenteredFit(const RectT& target, bool alwaysScale) const {
    RectT result = *this;
    result.offsetCenterTo(target.getCenter());
    const bool fits =
        result.getWidth() < target.getWidth() && result.getHeight() < target.getHeight();
    if (fits && !alwaysScale) return result;
    const bool widthLimits = result.getAspectRatio() / target.getAspectRatio() >= 1.0;
    result.scaleCentered(
        widthLimits
            ? static_cast<Factor>(target.getWidth()) / static_cast<Factor>(result.getWidth())
            : static_cast<Factor>(target.getHeight()) / static_cast<Factor>(result.getHeight()));
    return result;
  }

  friend constexpr bool operator==(const RectT&, const RectT&) = default;

 private:
  // Unlike std::clamp this has a meaning where the clip rectangle is inverted: the upper bound
  // wins.
  static constexpr T raiseThenLower(T value, T low, T high) {
    if (value < low) value = low;
    if (value > high) value = high;
    return value;
  }
};
