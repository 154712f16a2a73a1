// Smooth threshold.
#pragma once

/// 0 up to edge0, 1 from edge1 on, a cubic without corners between; NaN passes through.
template <typename T>
constexpr T smoothStep(T x, T edge0, T edge1) {
  T t = (x - edge0) / (edge1 - edge0);
  if (t < T(0)) {
    t = T(0);
  } else if (t > T(1)) {
    t = T(1);
  }
  return (t * t) * (T(3) - T(2) * t);
}
