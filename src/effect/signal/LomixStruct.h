// The record of one frame.
#pragma once

#include <cstdint>
#include <vector>

/// The scaled parameter values of one frame and its three profiles of one entry per output row. The
/// profiles are appended to, so a record serves one frame. A copy owns copies of the profiles.
struct LomixStruct {
  std::int32_t timeControl;     ///< 1 automatic, 2 manual.
  std::int32_t distortionMode;  ///< 1 tile, 2 stretch.
  float time;                   ///< Seconds.
  float signalDistortion;       ///< 0-1.
  float scanDistortion;         ///< 0-1.
  float horizontalSyncOffset;   ///< Turns per 0.2 s, then replaced by the frame's phase in [0, 1).
  float verticalSyncOffset;     ///< As horizontalSyncOffset.
  float barsOverlay;            ///< 0-1.
  float noise;                  ///< 0-1.
  float scanlineOverlay;        ///< 0-1.
  float scanlineSpeed;          ///< Rows of the render a second.
  float scanlineThickness;      ///< Rows of the render.
  float effectAmount;           ///< Weight of the effect against the original, 0-1.
  std::vector<float> scanProfile;    ///< Scan distortion of each row, in [0, 0.3].
  std::vector<float> barsProfile;    ///< Bar brightness of each row, in [0, 1].
  std::vector<float> signalProfile;  ///< Signal jitter of each row, in [-1, 1].
};
