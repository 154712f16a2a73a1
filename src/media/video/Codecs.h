#pragma once

#include <string>
#include <string_view>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// One of the codecs that can be chosen for output.
struct CodecChoice {
  const char* name;     ///< As on the command line.
  const char* encoder;  ///< FFmpeg's name.
  bool alpha;
  // Pixel formats: opaque and with alpha, for 8-bit and for float pictures.
  AVPixelFormat plain8, alpha8, plain32, alpha32;

  /// Frames after frames: without timestamps and other streams.
  bool isPlain() const {
    return std::string_view(name) == "raw" || std::string_view(name) == "y4m";
  }

  AVPixelFormat formatFor(int depth, bool withAlpha) const {
    if (depth == 8) return withAlpha ? alpha8 : plain8;
    return withAlpha ? alpha32 : plain32;
  }
};

/// The codec for an output: the one that was asked for or the one that its extension suggests.
/// Throws MediaError.
const CodecChoice& chooseCodec(const VideoOutput& output);

/// The container for it. Throws MediaError where they do not fit together.
const AVOutputFormat* chooseContainer(const VideoOutput& output, const CodecChoice& codec);

}  // namespace lomix::media
