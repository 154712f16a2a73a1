// Formats whose files name other files. For src/media/video only.
#pragma once

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// Returns whether files of the format name further files or programs, which the libraries then
/// open.
bool isPlaylist(const AVInputFormat& format);

/// Sets what avformat_open_input() may open beside the input itself: no address of a network and,
/// unless playlists is true, no other file.
void limitWhatIsOpened(FfmpegOptions& options, bool playlists);

}  // namespace lomix::media
