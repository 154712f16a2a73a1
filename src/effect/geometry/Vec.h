// Plain vectors of two, three and four components.
#pragma once

template <typename T>
struct Vec2 {
  T x, y;

  friend constexpr Vec2 operator+(Vec2 a, Vec2 b) {
    return {static_cast<T>(a.x + b.x), static_cast<T>(a.y + b.y)};
  }
  friend constexpr Vec2 operator-(Vec2 a, Vec2 b) {
    return {static_cast<T>(a.x - b.x), static_cast<T>(a.y - b.y)};
  }
  friend constexpr Vec2 operator*(Vec2 a, T s) {
    return {static_cast<T>(a.x * s), static_cast<T>(a.y * s)};
  }
  friend constexpr bool operator==(const Vec2&, const Vec2&) = default;
};

template <typename T>
struct Vec3 {
  T x, y, z;

  friend constexpr Vec3 operator+(Vec3 a, Vec3 b) {
    return {static_cast<T>(a.x + b.x), static_cast<T>(a.y + b.y), static_cast<T>(a.z + b.z)};
  }
  friend constexpr Vec3 operator*(Vec3 a, T s) {
    return {static_cast<T>(a.x * s), static_cast<T>(a.y * s), static_cast<T>(a.z * s)};
  }
  friend constexpr bool operator==(const Vec3&, const Vec3&) = default;
};

/// As a colour the components are red, green, blue, alpha.
template <typename T>
struct Vec4 {
  T x, y, z, w;

  friend constexpr bool operator==(const Vec4&, const Vec4&) = default;
};
