// Sine and cosine in double precision, as the system's C library computes them.
#pragma once

#include <cmath>

namespace lomix {

/// Return the sine and the cosine of an angle in radians; NaN for infinity and NaN. Any number of
/// threads may call them.
#ifdef __MINGW32__
// MinGW's own std::sin and std::cos use the x87 unit: they are inexact beyond small angles, and
// more so on threads that set the unit to 53 bits, as a host's threads do. These call the C runtime
// of Windows, or MinGW's own functions on a Windows without it.
double sine(double angle);
double cosine(double angle);
#else
inline double sine(double angle) { return std::sin(angle); }
inline double cosine(double angle) { return std::cos(angle); }
#endif

}  // namespace lomix
