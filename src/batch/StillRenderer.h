#pragma once

#include "batch/Plugin.h"
#include "looks/Look.h"
#include "looks/Numbers.h"
#include "media/picture/Picture.h"

namespace lomix::cli {

/// Puts single pictures through the effect of this program.
class StillRenderer {
 public:
  const ParameterTable& parameters() const { return plugin_.parameters(); }

  /// The picture with a look at a time, at its own depth.
  media::Picture render(const media::Picture& picture, const Look& look, const FrameTime& time);

 private:
  Plugin plugin_{host::Personality::AfterEffects};
};

}  // namespace lomix::cli
