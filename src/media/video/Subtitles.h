// Converts text subtitles between the formats of containers.
#pragma once

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// Converts the packets of one stream of subtitles. One thread at a time.
class SubtitleConverter {
 public:
  /// from: the stream, which must outlive the object. Throws MediaError where the libraries cannot
  /// convert it.
  SubtitleConverter(const AVStream& from, AVCodecID to);

  /// Sets the parameters of the output's stream.
  void describe(AVCodecParameters& parameters) const;
  /// Converts a packet. Timestamps and duration stay. Returns null for one without text, and for a
  /// damaged one.
  FfmpegPtr<AVPacket> convert(AVPacket& packet);

 private:
  FfmpegPtr<AVCodecContext> decoder_;
  FfmpegPtr<AVCodecContext> encoder_;
};

}  // namespace lomix::media
