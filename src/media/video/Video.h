// Video files, as far as the rest of the program sees them. Timestamps, sound, subtitles and tags
// go past the effect inside the frames.
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

/// Whether a file of that name is a video: by its extension, or the standard stream.
bool isVideoName(const std::string& name);

struct VideoInput {
  std::string name;
  int threads = 1;        ///< Of the decoder.
  std::string rawFormat;  ///< Pixel format of frames without a container; empty: there is one.
  int rawWidth = 0;
  int rawHeight = 0;
  Ratio rawRate{24, 1};
};

struct VideoOutput {
  std::string name;
  std::string codec;       ///< h264, prores, ffv1, png, raw or y4m; empty: by the name.
  int crf = 16;            ///< Of h264, 0 to 51.
  int threads = 1;         ///< Of the encoder.
  Ratio rate{24, 1};       ///< Of frames that come from pictures.
  bool videoOnly = false;  ///< Leave sound and subtitles out.
  bool overwrite = false;
};

/// A decoded frame.
class VideoFrame {
 public:
  VideoFrame() = default;
  virtual ~VideoFrame() = default;
  VideoFrame(const VideoFrame&) = delete;
  VideoFrame& operator=(const VideoFrame&) = delete;

  /// Seconds since the video's first frame.
  Ratio time;
};

class VideoReader {
 public:
  VideoReader() = default;
  virtual ~VideoReader() = default;
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  /// How many frames there are, as far as the file tells; it may be wrong.
  virtual std::optional<std::int64_t> frameCount() const = 0;
  /// The next frame as it is shown; null after the last. One thread at a time. Throws MediaError.
  virtual std::unique_ptr<VideoFrame> next() = 0;
  /// Parts of the file after the first frame that could not be decoded and were left out.
  virtual std::int64_t damagedCount() const = 0;
  /// The frame set upright, 8 bits for 8-bit videos, else float. Any thread. Throws MediaError.
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

/// Throws MediaError when the file is missing, damaged or holds no video that can be decoded.
std::unique_ptr<VideoReader> openVideo(const VideoInput& input);

/// source: the video whose sound, subtitles, timestamps and tags go along; null for none. It must
/// outlive the writer. Throws MediaError for an impossible codec, container or name.
std::unique_ptr<VideoWriter> createVideo(const VideoOutput& output, VideoReader* source);

}  // namespace lomix::media
