#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Frame.h"
#include "cli/PictureFrames.h"

namespace lomix::cli {

struct RouteOptions {
  std::string input;
  std::string output;
  std::optional<FrameTime> time;     ///< Of a single picture; nothing: 0.
  std::vector<std::int64_t> frames;  ///< Empty for all.
  std::optional<FrameRate> rate;     ///< Nothing: as the input has it, 24 for pictures.
  Existing existing = Existing::Refuse;
};

/// From where to where the frames go.
struct Route {
  std::unique_ptr<FrameSource> source;
  std::unique_ptr<FrameSink> sink;
  std::vector<std::int64_t> missing;  ///< Frames that were wanted and do not exist.
  std::string note;                   ///< What the user should know; empty for nothing.
};

/// Finds out from the names what is a picture, a sequence or a video. Throws UsageError for what
/// does not fit together, media::MediaError for what cannot be read or written.
Route makeRoute(const RouteOptions& options);

}  // namespace lomix::cli
