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
