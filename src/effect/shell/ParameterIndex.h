// Positions of the parameters in the host's array.
#pragma once

enum ParameterIndex : int {
  kInputLayer,
  kTimeControl,
  kTime,
  kDistortionMode,
  kSignalDistortion,
  kScanDistortion,
  kHorizontalSync,
  kVerticalSync,
  kBarsOverlay,
  kNoise,
  kScanlineOverlay,
  kScanlineSpeed,
  kScanlineThickness,
  kBlendWithOriginal,
  kParameterCount
};

/// The choice of "Time Control" that follows the host's clock.
inline constexpr int kAutomaticTime = 1;
