// A smooth threshold.
#pragma once

/// Returns 0 for x up to edge0, 1 from edge1 on and between them t^2 (3 - 2t), where t is the
/// fraction of the way. NaN stays NaN. edge0 < edge1; equal edges divide by zero.
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
