// Reads lists of frames.
#pragma once

#include <string_view>

#include "media/video/Video.h"

namespace lomix::cli {

/// Reads a list of numbers "1-10,15,20-40x5" (x5: every fifth), times "2s-5.5s" or "2s", and
/// timecodes "00:00:02:00-00:00:05:12". Returns the numbers ascending, each once. Throws UsageError
/// for any other text, for a range that runs backwards, and for more than ten million frames.
media::FrameChoice parseFrames(std::string_view text);

}  // namespace lomix::cli
