// Which codecs a container can hold. For src/media/video only.
#pragma once

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// Returns whether files of the format can hold streams of the codec, so that other programs can
/// read them. Never throws.
bool holdsCodec(const AVOutputFormat& format, AVCodecID codec);

}  // namespace lomix::media
