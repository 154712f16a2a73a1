// Plain vectors of two, three and four components of type int, float or double.
#pragma once

#include "effect/numeric/Truncate.h"

/// Two components. Arithmetic on ints saturates at their limits.
template <typename T>
struct Vec2 {
  T x, y;

  friend constexpr Vec2 operator+(Vec2 a, Vec2 b) {
    return {lomix::coordinate<T>(Wide(a.x) + Wide(b.x)),
            lomix::coordinate<T>(Wide(a.y) + Wide(b.y))};
  }
  friend constexpr Vec2 operator-(Vec2 a, Vec2 b) {
    return {lomix::coordinate<T>(Wide(a.x) - Wide(b.x)),
            lomix::coordinate<T>(Wide(a.y) - Wide(b.y))};
  }
  friend constexpr Vec2 operator*(Vec2 a, T s) {
    return {lomix::coordinate<T>(Wide(a.x) * Wide(s)), lomix::coordinate<T>(Wide(a.y) * Wide(s))};
  }
  friend constexpr bool operator==(const Vec2&, const Vec2&) = default;

 private:
  using Wide = lomix::WideCoordinate<T>;
};

/// Three components; as a colour red, green, blue. Arithmetic on ints saturates at their limits.
template <typename T>
struct Vec3 {
  T x, y, z;

  friend constexpr Vec3 operator+(Vec3 a, Vec3 b) {
    return {lomix::coordinate<T>(Wide(a.x) + Wide(b.x)),
            lomix::coordinate<T>(Wide(a.y) + Wide(b.y)),
            lomix::coordinate<T>(Wide(a.z) + Wide(b.z))};
  }
  friend constexpr Vec3 operator*(Vec3 a, T s) {
    return {lomix::coordinate<T>(Wide(a.x) * Wide(s)), lomix::coordinate<T>(Wide(a.y) * Wide(s)),
            lomix::coordinate<T>(Wide(a.z) * Wide(s))};
  }
  friend constexpr bool operator==(const Vec3&, const Vec3&) = default;

 private:
  using Wide = lomix::WideCoordinate<T>;
};

/// Four components; as a colour red, green, blue, alpha.
template <typename T>
struct Vec4 {
  T x, y, z, w;

  friend constexpr bool operator==(const Vec4&, const Vec4&) = default;
};
