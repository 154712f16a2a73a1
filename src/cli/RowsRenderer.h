#pragma once

#include <vector>

#include "host/Host.h"

namespace lomix::cli {

/// Renders one frame by the row engine in this process: the bytes that the plug-in gives.
/// parameters: as the effect declared them, with their values. input, output: of one depth, 8
/// or 32. threads: from 1.
void renderRows(const std::vector<host::Parameter>& parameters, const host::FrameSettings& frame,
                host::World& input, host::World& output, int threads);

}  // namespace lomix::cli
