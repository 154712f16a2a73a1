// A whole render: from the names of input and output to the report.
#pragma once

#include <string>

#include "batch/FrameRenderer.h"
#include "batch/Route.h"
#include "support/Streams.h"

namespace lomix::batch {

/// The options of a whole render.
struct RunOptions {
  RouteOptions route;
  int threads = 1;
  std::string reportFile;   ///< Empty for none.
  std::string savedPreset;  ///< File to save the parameters to as a preset; empty for none.
  bool byPlugin = false;    ///< The engine that the report names: plugin or rows.
  bool quiet = false;
};

/// Renders all frames, prints progress and writes the report. look: made for the renderer's
/// parameters. Throws CommandError, FramesFailed, Interrupted, MediaError or host::HostError.
void runRender(const RunOptions& options, FrameRenderer& renderer, const looks::Look& look,
               const Streams& streams);

}  // namespace lomix::batch
