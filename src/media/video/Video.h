// Reads and writes video files. Timestamps, sound, subtitles and tags are copied from input to
// output along with the frames.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media/picture/Picture.h"
#include "support/Warn.h"

namespace lomix::media {

/// num / den; den is above 0.
struct Ratio {
  std::int64_t num = 0;
  std::int64_t den = 1;
};

/// The name that means standard input or output.
inline constexpr const char* kStandardStream = "-";

/// Returns whether the name is a video's: by its extension, or the standard stream.
bool isVideoName(const std::string& name);

/// Returns whether an input can be read only once, and has no size: the standard stream, a pipe or
/// a device.
bool isReadOnce(const std::string& name);

/// Returns whether a file without a video's name is to be read as one: a picture of several frames
/// (GIF, PNG, WebP), which its content tells, a play list, or a file of sound, for which the reader
/// has a clear error. False for a file that cannot be read.
bool isVideoFile(const std::filesystem::path& file);

/// Returns whether such a file is an animated WebP, which FFmpeg does not decode.
bool isAnimatedWebp(const std::filesystem::path& file);

/// The names of the codecs that can be chosen for output.
inline constexpr std::array<std::string_view, 11> kVideoCodecNames{
    "h264", "hevc", "vp9", "prores", "ffv1", "png", "webp", "apng", "gif", "raw", "y4m"};

/// Throws UsageError for a name that kVideoCodecNames does not have. subject: what has the name,
/// for the message: "--codec".
void requireVideoCodec(const std::string& name, const std::string& subject);

/// Returns the names and versions of the libraries that read and write videos, such as
/// "libavcodec 59.37.100"; none in builds without video.
std::vector<std::string> videoLibraries();

/// The frames that begin in a span of time, in seconds since the first frame: from first to before
/// last. Where both are the same, the frame that is shown then.
struct TimeSpan {
  double first = 0.0;
  double last = 0.0;
};

/// The frames from one timecode to another, both included: "01:00:02:03". Where the video has a
/// timecode, it counts from that; otherwise from 00:00:00:00.
struct TimecodeSpan {
  std::string first;
  std::string last;
};

/// Frames without an end: first, first + step, first + 2 * step and so on. step: from 1.
struct FrameSeries {
  std::int64_t first = 0;
  std::int64_t step = 1;
};

/// Frames of a video. All where nothing is chosen.
struct FrameChoice {
  std::vector<std::int64_t> numbers;  ///< Ascending, from 0.
  std::vector<TimeSpan> spans;
  std::vector<TimecodeSpan> timecodes;
  std::optional<FrameSeries> series;  ///< Begins after the last of numbers.

  /// Brings numbers into ascending order, each once.
  void sortNumbers() {
    std::ranges::sort(numbers);
    const auto repeated = std::ranges::unique(numbers);
    numbers.erase(repeated.begin(), repeated.end());
  }

  bool isAll() const { return numbers.empty() && spans.empty() && timecodes.empty() && !series; }
  /// Returns whether this is one frame.
  bool isOne() const {
    const bool one = (spans.size() == 1 && spans[0].first == spans[0].last) ||
                     (timecodes.size() == 1 && timecodes[0].first == timecodes[0].last);
    return numbers.size() + spans.size() + timecodes.size() == 1 && (numbers.size() == 1 || one) &&
           !series;
  }
};

/// The frames of a film of which one run writes a part, a segment.
struct Film {
  std::int64_t frames = 0;  ///< How many frames it has.
  std::int64_t first = 0;   ///< The number of its first frame.
  bool isAll = true;        ///< Whether it has all frames of its source.
};

/// Returns the place among total at which a block begins, of count blocks as even as possible.
/// number: of the block, from 0; count itself gives the end of the last.
constexpr std::int64_t blockBegin(std::int64_t total, std::int64_t number, std::int64_t count) {
  return number * total / count;
}

/// A part of a film, as several runs write a film together. It has no sound and no subtitles;
/// joinSegments() copies them from the source.
struct Segment {
  std::int64_t number = 1;  ///< Among the segments, from 1 to count.
  std::int64_t count = 1;
  std::int64_t frames = 0;  ///< How many frames it should have.
  /// Of pictures: the number of the segment's first frame minus that of the film's first frame.
  std::int64_t place = 0;
  Film film;
  /// What the segments of a film have in common, without spaces: others are not joined with them.
  std::string job;
};

/// The video to read.
struct VideoInput {
  std::string name;
  std::string start;   ///< Of standard input: its first bytes, where they were read already.
  FrameChoice frames;  ///< Those that next() returns.
  int threads = 1;     ///< Of the decoder.
  /// Whether frames of two fields become frames of one time, a frame for a frame. Where the video
  /// says which frames are interlaced, only those; where it says nothing of it, all.
  bool deinterlace = false;
  /// Whether a play list (HLS, DASH, ffconcat) may open the files that it names.
  bool allowsPlaylists = false;
  std::optional<Film> film;  ///< Of a segment: what it is a part of.
  std::string rawFormat;     ///< FFmpeg's pixel format of raw frames; empty: a container says it.
  Warn warn = [](const std::string&) {};  ///< Called for what is assumed.
  int rawWidth = 0;
  int rawHeight = 0;
  Ratio rawRate{24, 1};
};

/// The video to write.
struct VideoOutput {
  std::string name;
  std::string codec;               ///< One of kVideoCodecNames; empty: by the name.
  std::optional<int> crf;          ///< Of h264, hevc and vp9: 0 (best) to 51 or, vp9, 63.
  int threads = 1;                 ///< Of the encoder.
  Ratio rate{24, 1};               ///< Of frames that come from pictures.
  bool sound = true;               ///< Whether sound of the source is copied.
  bool subtitles = true;           ///< Whether subtitles and their fonts are copied.
  bool data = true;                ///< Whether data that cannot be copied is worth a warning.
  bool keepTimestamps = false;     ///< False: the output begins at time 0.
  std::optional<Segment> segment;  ///< The output is this part of a film.
  bool overwrite = false;
  Warn warn = [](const std::string&) {};  ///< Called for all that is lost or changed.
};

/// A decoded frame. Its reader must outlive it.
class VideoFrame {
 public:
  VideoFrame() = default;
  virtual ~VideoFrame() = default;
  VideoFrame(const VideoFrame&) = delete;
  VideoFrame& operator=(const VideoFrame&) = delete;

  std::int64_t number = 0;  ///< Among all frames of the video, from 0.
  Ratio time;               ///< Seconds since the video's first frame.
};

/// What a video has beside its pictures.
enum class StreamKind { Sound, Subtitles };

/// Reads the frames of one video.
class VideoReader {
 public:
  VideoReader() = default;
  virtual ~VideoReader() = default;
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  /// Returns the number of frames that next() returns, as far as the file states or implies it;
  /// nothing when it does not. It may be wrong.
  virtual std::optional<std::int64_t> frameCount() const = 0;
  /// Returns whether the video has a stream of the kind.
  virtual bool has(StreamKind kind) const = 0;
  /// Returns the next chosen frame in the order of display; null after the last. One thread at a
  /// time. Throws MediaError.
  virtual std::unique_ptr<VideoFrame> next() = 0;
  /// Returns how many of the frames so far are damaged, such as "2 frames damaged and left out";
  /// empty where none is known to be. Frames of which next() has returned what could be decoded are
  /// counted too.
  virtual std::string damage() const = 0;
  /// Returns the numbers of the chosen frames that the video does not have. Call after the last
  /// frame.
  virtual std::vector<std::int64_t> missingFrames() const = 0;
  /// Returns what the file promises but does not have, such as "2.48 of 5 seconds are missing at
  /// the end"; empty where it is whole or promises nothing. Call after the last frame.
  virtual std::string loss() const = 0;
  /// Converts a frame of next() to a picture, upright, of depth 8 for 8-bit videos and 32 for
  /// others. Any thread. Throws MediaError.
  virtual void toPicture(const VideoFrame& frame, Picture& picture) = 0;
};

/// A frame in the form that its encoder takes. Its writer must outlive it.
class EncodableFrame {
 public:
  EncodableFrame() = default;
  virtual ~EncodableFrame() = default;
  EncodableFrame(const EncodableFrame&) = delete;
  EncodableFrame& operator=(const EncodableFrame&) = delete;

  /// Encodes the frame. Once, one thread at a time for all frames of a video, in the video's order.
  /// Throws MediaError.
  virtual void append() = 0;
};

/// Writes one video.
class VideoWriter {
 public:
  VideoWriter() = default;
  virtual ~VideoWriter() = default;
  VideoWriter(const VideoWriter&) = delete;
  VideoWriter& operator=(const VideoWriter&) = delete;

  /// Converts a picture to the frame that the encoder takes. Any thread. picture: may be changed,
  /// and is kept until the frame's append() returns. origin: the decoded frame that the picture was
  /// made from; null for a picture from a file, whose time is place, in frames. The first call
  /// fixes size and pixel format. Throws MediaError.
  virtual std::unique_ptr<EncodableFrame> prepare(std::shared_ptr<Picture> picture,
                                                  const VideoFrame* origin, std::int64_t place) = 0;
  /// Completes the file after the last frame; only then it appears under its name. Throws
  /// MediaError.
  virtual void finish() = 0;
};

/// Returns the number of frames of a video, which it reads to the end: without decoding where each
/// packet is a frame that can be shown. It may be wrong for a damaged one. Throws MediaError.
std::int64_t countFrames(const VideoInput& input);

/// Opens a video. Throws MediaError when the file is missing, damaged or has no video stream that
/// can be decoded, AvoidableError for a play list that is not allowed.
std::unique_ptr<VideoReader> openVideo(const VideoInput& input);

/// Starts a video. source: the video whose sound, subtitles, timestamps and tags are copied, which
/// must outlive the writer; null for none. Throws MediaError for a codec, container or name that
/// cannot be used, and AvoidableError for a source stream that the container cannot hold.
std::unique_ptr<VideoWriter> createVideo(const VideoOutput& output, VideoReader* source);

/// Returns whether segments of a film can be written to files of that name: MP4, QuickTime,
/// Matroska and WebM.
bool holdsSegments(const std::string& name);

/// The segments to join.
struct JoinInput {
  std::vector<std::string> segments;  ///< In any order.
  std::string source;      ///< The video that was rendered; empty: nothing is copied from it.
  bool fromSource = true;  ///< False: nothing is copied although there is a source.
};

/// What joinSegments() wrote.
struct JoinedFilm {
  std::int64_t frames = 0;
  std::vector<std::string> losses;  ///< Segments that lack frames: "'b.mkv' has 3 of its 5 frames".
  std::string sourceLoss;  ///< What the source lacks of what was copied, as loss() says it.
};

/// Writes the film that the segments are parts of: their frames as they are encoded, with the times
/// that a single run gives them, and sound, subtitles, chapters and tags of the source. output:
/// name, overwrite and warn alone count; the rest is as the segments say. Throws UsageError for a
/// source that is missing or not needed, MediaError for a segment that is missing, damaged or of
/// another film, and for what cannot be read or written.
JoinedFilm joinSegments(const JoinInput& input, const VideoOutput& output);

}  // namespace lomix::media
