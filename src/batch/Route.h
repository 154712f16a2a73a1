// Chooses the source and the sink of a run by the names of input and output.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/Frame.h"
#include "batch/FrameTime.h"
#include "batch/PictureFrames.h"
#include "batch/Share.h"
#include "support/NewFile.h"
#include "support/Warn.h"

namespace lomix::batch {

/// Input and output of a run, and which frames.
struct RouteOptions {
  std::string input;
  std::string output;
  std::optional<FrameTime> time;  ///< Of a single picture; nothing: 0.
  media::FrameChoice frames;      ///< Times count from the first frame: number 0 of pictures.
  std::optional<FrameRate> rate;  ///< Nothing: that of the input; 24 for pictures.
  std::optional<Share> share;     ///< Only these of the frames, or this segment of a film.
  std::string job;                ///< As in media::Segment.
  Existing existing = Existing::Refuse;
  /// Where the output may exist: whether temporary files of killed runs are removed from its
  /// folder.
  bool removesLeftovers = true;
  int threads = 1;  ///< Of decoders and encoders.
  // Of pictures.
  std::string format;          ///< An extension, ".png"; empty: the output's name chooses.
  std::optional<int> quality;  ///< Of JPEG, 1 to 100; nothing: media::kJpegQuality.
  // Of videos, as in media::VideoInput and media::VideoOutput.
  std::string codec;
  std::optional<int> crf;
  bool deinterlace = false;
  bool allowsPlaylists = false;
  bool sound = true;
  bool subtitles = true;
  bool data = true;
  bool keepTimestamps = false;
  std::string rawFormat;  ///< Pixel format of raw input frames; empty: the input is not raw.
  PairOfWholes rawSize{0, 0};
  // Files of the run beside input and output. Their names must not be those of other files.
  std::vector<NamedFile> otherInputs;
  std::vector<NamedFile> otherOutputs;  ///< A report or preset to write.
  std::string replacedOutput;  ///< The role of one of them that may be replaced in any case.
  Warn warn = [](const std::string&) {};  ///< Called for all that is lost or changed.
};

/// The source and the sink of a run.
struct Route {
  std::unique_ptr<FrameSource> source;
  std::unique_ptr<FrameSink> sink;
  std::string output;               ///< Its name; of a segment not that of the options.
  std::vector<std::int64_t> whole;  ///< Of a share: the frames of all shares.
  std::int64_t frames = 0;          ///< Of a share: how many frames it has; 0: none, and no sink.
  std::optional<int> jpegQuality;   ///< Where the output is JPEG.
  bool done = false;     ///< The output exists already and is kept; there is no source and sink.
  bool isVideo = false;  ///< The output is a video.
};

/// Checks that no output is the file of an input or of another output, and that each can be
/// written. Then opens the source and the sink: picture, sequence or video. The output of a share
/// is a sequence, or the segment of a film: for share 3 and film.##.mkv, the file film.03.mkv.
/// OUTPUT is a pattern where several frames are written or the input is a sequence or a video; the
/// output of a single picture has the very name that is given. A single picture of standard input
/// is read here, and one for standard output has its input's format unless another is given. Throws
/// UsageError for options that contradict each other and for shared files, MediaError when
/// something cannot be read or written.
Route makeRoute(const RouteOptions& options);

/// Opens the source alone, as makeRoute() does. Ignores all that concerns the output.
std::unique_ptr<FrameSource> openSource(const RouteOptions& options);

}  // namespace lomix::batch
