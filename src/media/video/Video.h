// Reads and writes video files. Timestamps, sound, subtitles and tags are copied from input to
// output along with the frames.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "media/picture/Picture.h"

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

/// The video to read.
struct VideoInput {
  std::string name;
  int threads = 1;        ///< Of the decoder.
  std::string rawFormat;  ///< FFmpeg's pixel format of raw frames; empty: a container says it.
  int rawWidth = 0;
  int rawHeight = 0;
  Ratio rawRate{24, 1};
};

/// The video to write.
struct VideoOutput {
  std::string name;
  std::string codec;       ///< h264, prores, ffv1, png, raw or y4m; empty: by the name.
  int crf = 16;            ///< Of h264, 0 to 51.
  int threads = 1;         ///< Of the encoder.
  Ratio rate{24, 1};       ///< Of frames that come from pictures.
  bool videoOnly = false;  ///< Sound and subtitles are left out.
  bool overwrite = false;
};

/// A decoded frame. Its reader must outlive it.
class VideoFrame {
 public:
  VideoFrame() = default;
  virtual ~VideoFrame() = default;
  VideoFrame(const VideoFrame&) = delete;
  VideoFrame& operator=(const VideoFrame&) = delete;

  /// Seconds since the video's first frame.
  Ratio time;
};

/// Reads the frames of one video.
class VideoReader {
 public:
  VideoReader() = default;
  virtual ~VideoReader() = default;
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  /// Returns the number of frames that the file states or implies; nothing when it does not. It may
  /// be wrong.
  virtual std::optional<std::int64_t> frameCount() const = 0;
  /// Returns the next frame in the order of display; null after the last. One thread at a time.
  /// Throws MediaError.
  virtual std::unique_ptr<VideoFrame> next() = 0;
  /// Returns the number of parts after the first frame that could not be decoded and were skipped.
  virtual std::int64_t damagedCount() const = 0;
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

/// Opens a video. Throws MediaError when the file is missing, damaged or has no video stream that
/// can be decoded.
std::unique_ptr<VideoReader> openVideo(const VideoInput& input);

/// Starts a video. source: the video whose sound, subtitles, timestamps and tags are copied, which
/// must outlive the writer; null for none. Throws MediaError for a codec, container or name that
/// cannot be used, and AvoidableError for a source stream that the container cannot hold.
std::unique_ptr<VideoWriter> createVideo(const VideoOutput& output, VideoReader* source);

}  // namespace lomix::media
