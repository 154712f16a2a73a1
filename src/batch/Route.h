#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/Frame.h"
#include "batch/FrameTime.h"
#include "batch/PictureFrames.h"

namespace lomix::batch {

struct RouteOptions {
  std::string input;
  std::string output;
  std::optional<FrameTime> time;     ///< Of a single picture; nothing: 0.
  std::vector<std::int64_t> frames;  ///< Empty for all.
  std::optional<FrameRate> rate;     ///< Nothing: as the input has it, 24 for pictures.
  Existing existing = Existing::Refuse;
  int threads = 1;  ///< Of decoders and encoders.
  // Of videos, as in media::VideoInput and media::VideoOutput.
  std::string codec;
  int crf = 16;
  bool videoOnly = false;
  std::string rawFormat;  ///< Of raw frames that are read; empty for none.
  PairOfWholes rawSize{0, 0};
};

/// From where to where the frames go.
struct Route {
  std::unique_ptr<FrameSource> source;
  std::unique_ptr<FrameSink> sink;
  std::string note;   ///< What the user should know; empty for nothing.
  bool done = false;  ///< The output is there already and to be kept; no source and sink.
};

/// Finds out from the names what is a picture, a sequence or a video. Throws UsageError for what
/// does not fit together, MediaError for what cannot be read or written.
Route makeRoute(const RouteOptions& options);

}  // namespace lomix::batch
