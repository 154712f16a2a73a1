#pragma once

#include <vector>

#include "host/Host.h"
#include "media/picture/Picture.h"

namespace lomix::cli {

/// Renders one frame by the row engine in this process: the bytes that the plug-in gives.
/// parameters: as the effect declared them, with their values. input, output: of one size and
/// depth. threads: from 1. Any number of frames may be rendered at once.
void renderRows(const std::vector<host::Parameter>& parameters, const host::FrameSettings& frame,
                const media::Picture& input, media::Picture& output, int threads);

}  // namespace lomix::cli
