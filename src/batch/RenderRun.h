#pragma once

#include <string>

#include "batch/FrameRenderer.h"
#include "batch/Route.h"
#include "support/Streams.h"

namespace lomix::cli {

/// What "lomix render" was told.
struct RunOptions {
  RenderOptions rendering;
  RouteOptions route;
  int threads = 1;
  std::string reportFile;   ///< Empty for none.
  std::string savedPreset;  ///< File for the look as a preset; empty for none.
  bool quiet = false;
};

/// Renders everything, tells how it gets on and writes the report. Throws as Command::run does.
void runRender(const RunOptions& options, const Streams& streams);

}  // namespace lomix::cli
