// Chooses codec, container and pixel format of a video output.
#pragma once

#include <string>
#include <string_view>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// One of the codecs that can be chosen for output.
struct CodecChoice {
  std::string_view name;  ///< One of kVideoCodecNames.
  const char* encoder;    ///< FFmpeg's name.
  bool alpha;             ///< Whether it stores alpha.
  int crf;                ///< Its usual constant rate factor; 0: it has none.
  // Pixel formats: opaque and with alpha, for 8-bit and for float pictures.
  AVPixelFormat plain8, alpha8, plain32, alpha32;

  /// Returns whether the output is only a series of frames, without timestamps or other streams.
  bool isPlain() const { return name == "raw" || name == "y4m"; }

  /// Returns the pixel format for pictures of depth 8 or 32.
  AVPixelFormat formatFor(int depth, bool withAlpha) const {
    if (depth == 8) return withAlpha ? alpha8 : plain8;
    return withAlpha ? alpha32 : plain32;
  }
};

/// Returns the codec that the output asks for or, by default, the one for its extension. Throws
/// UsageError for one that does not exist, AvoidableError for one that cannot be written here.
const CodecChoice& chooseCodec(const VideoOutput& output);

/// Returns the name of the codec that gives such packets in a container; empty where none does.
std::string codecNameOf(AVCodecID id);

/// Returns the container for the output's name. Throws MediaError where there is none,
/// AvoidableError where it cannot hold the codec.
const AVOutputFormat* chooseContainer(const VideoOutput& output, const CodecChoice& codec);

}  // namespace lomix::media
