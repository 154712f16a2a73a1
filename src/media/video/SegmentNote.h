// What a segment of a film says about itself, as a tag of its file.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "media/video/Video.h"

namespace lomix::media {

/// What joining takes beside the frames.
struct SegmentNote {
  Segment segment;
  Ratio start;        ///< Time of the first frame in the film, in seconds.
  Ratio rate{24, 1};  ///< Frames a second; the number of frames is below 1 where it is unknown.
  bool keepsTimestamps = false;
  std::int64_t sourceBytes = 0;  ///< Size of the video that was rendered; 0: it was pictures.
  // What the film copies from that video.
  bool sound = false;
  bool subtitles = false;
  bool data = false;

  /// Returns the note as one line.
  std::string text() const;
  /// Reads such a line; nothing where it is something else.
  static std::optional<SegmentNote> parse(std::string_view text);
  /// Returns the part of the text that is the same in all segments of a film.
  std::string common() const;
};

}  // namespace lomix::media
