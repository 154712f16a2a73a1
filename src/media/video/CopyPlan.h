// Decides what becomes of a source's sound, subtitles, cover art and data in an output.
#pragma once

#include <vector>

#include "media/video/Reader.h"

namespace lomix::media {

/// What becomes of one stream.
enum class Treatment {
  LeaveOut,
  Copy,         ///< Packets are copied as they are.
  ConvertText,  ///< Subtitles are converted to the text format of the container.
  CoverArt      ///< The one picture is copied.
};

/// Returns whether the format is MP4, QuickTime or a relative: their edit lists say where playing
/// begins.
bool isMp4Family(const AVOutputFormat& format);
/// Returns whether the format is Matroska or WebM.
bool isMatroska(const AVOutputFormat& format);

/// Returns the codec of text subtitles that such a file holds; AV_CODEC_ID_NONE for none.
AVCodecID textSubtitleCodec(const AVOutputFormat& format);

/// Returns the treatment of every stream of the source; the video's own is LeaveOut. Warns of
/// streams that are left out although the output asks for their kind. Throws AvoidableError for
/// sound that such a file cannot hold.
std::vector<Treatment> planCopies(const Reader& source, const AVOutputFormat& format,
                                  const VideoOutput& output);

}  // namespace lomix::media
