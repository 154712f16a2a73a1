// The phase of a lost sync, the random value of the grain, and a remainder. Pure functions.
#pragma once

/// Returns the vertical roll or horizontal slide of a frame, as a fraction of its size in [0, 1);
/// rounding may give 1. Returns 0 for amount 0, and NaN where amount or time is not finite or the
/// number of turns overflows. amount: [-1, 1], turns per 0.2 s; time: seconds.
float legacySync(float amount, float time);

/// Returns a pseudo-random value in [-1, 1] of a pixel position and a phase: a sine times a cosine,
/// or NaN where their arguments are not finite, as for y = 0. x, y, height: full-resolution pixels;
/// phase: adds 10 radians per unit to the sine; rate: weight of x against y. width is ignored.
float legacyRandom(float x, float y, float width, float height, float phase, float rate);

/// Returns a - b * trunc(a / b), where the quotient saturates at the limits of int32: for quotients
/// in range the remainder of a / b, with the sign of a.
float legacymod(float a, float b);
