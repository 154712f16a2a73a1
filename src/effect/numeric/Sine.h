// Sine and cosine as the system computes them.
#pragma once

#include <cmath>

namespace lomix {

#ifdef __MINGW32__
/// std::sin and std::cos are code for the old floating-point unit here: far off beyond small
/// angles, and further on threads that have it round to 53 bits, as a host's threads do. These are
/// the functions of the system's C runtime.
double sine(double angle);
double cosine(double angle);
#else
inline double sine(double angle) { return std::sin(angle); }
inline double cosine(double angle) { return std::cos(angle); }
#endif

}  // namespace lomix
