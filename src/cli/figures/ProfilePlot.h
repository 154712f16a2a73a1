// A plot of the row profiles of a frame.
#pragma once

#include "media/drawing/Drawing.h"

namespace lomix::cli {

/// The range that a plot of the row profiles covers.
struct ProfileRange {
  int rows;            ///< Height of the frame.
  double seconds;      ///< The time of the curves.
  double fromSeconds;  ///< The time axis of the images.
  double toSeconds;
};

inline constexpr int kProfilePlotWidth = 1200;
inline constexpr int kProfilePlotHeight = 1140;

/// Draws the three row profiles, each as a curve over the rows at one time, and beside it as an
/// image over time and rows. drawing: white, of the size above. Throws CommandError.
void drawProfiles(media::Drawing& drawing, const ProfileRange& range);

}  // namespace lomix::cli
