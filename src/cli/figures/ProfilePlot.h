#pragma once

#include "media/drawing/Drawing.h"

namespace lomix::cli {

/// What a plot of the row profiles shows.
struct ProfileRange {
  int rows;            ///< Height of the frame.
  double seconds;      ///< The moment of the curves.
  double fromSeconds;  ///< The time axis of the images.
  double toSeconds;
};

inline constexpr int kProfilePlotWidth = 1200;
inline constexpr int kProfilePlotHeight = 1140;

/// Draws the three row profiles: each as a curve over the rows at one moment, and beside it over
/// rows and time as an image. drawing: white, of the size above.
void drawProfiles(media::Drawing& drawing, const ProfileRange& range);

}  // namespace lomix::cli
