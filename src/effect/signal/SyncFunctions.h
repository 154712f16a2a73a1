// Sync phases and the grain's random value.
#pragma once

/// Vertical roll or horizontal slide of a frame as a fraction of its size.
/// amount: [-1, 1], turns per 0.2 s; time: seconds. Returns the phase in [0, 1) for finite input
/// (rounding may bring it up to 1); 0 when amount is 0.
float legacySync(float amount, float time);

/// A value in [-1, 1] that looks random over pixel positions and phases. x, y and height are in
/// full-resolution pixels; y must not be 0. width plays no part.
float legacyRandom(float x, float y, float width, float height, float phase, float rate);

/// Remainder of a / b with the sign of a.
float legacymod(float a, float b);
