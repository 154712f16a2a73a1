#pragma once

#include <string>

#include "batch/FrameRenderer.h"
#include "batch/Route.h"
#include "support/Streams.h"

namespace lomix::batch {

/// The options of a whole render, of `lomix render` for one.
struct RunOptions {
  RouteOptions route;
  int threads = 1;
  std::string reportFile;   ///< Empty for none.
  std::string savedPreset;  ///< File for the look as a preset; empty for none.
  bool byPlugin = false;    ///< For the report.
  bool quiet = false;
};

/// Renders everything, prints its progress and writes the report. look: made for the renderer's
/// parameters. Throws CommandError, FramesFailed, Interrupted, MediaError or host::HostError.
void runRender(const RunOptions& options, FrameRenderer& renderer, const looks::Look& look,
               const Streams& streams);

}  // namespace lomix::batch
