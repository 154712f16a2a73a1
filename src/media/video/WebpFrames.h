// Reads animated WebP pictures, which FFmpeg's libraries write but do not decode. For
// src/media/video only.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "media/video/Ffmpeg.h"

struct WebPAnimDecoder;

namespace lomix::media {

/// The frames of one animated WebP, as a container with one stream of raw pictures. One thread.
class WebpFrames {
 public:
  /// Reads the file. Throws MediaError where it is not whole, no animated WebP, or too large.
  explicit WebpFrames(const std::string& name);
  ~WebpFrames();
  WebpFrames(const WebpFrames&) = delete;
  WebpFrames& operator=(const WebpFrames&) = delete;

  /// Returns a new container that describes the stream; avformat_close_input() frees it. It has no
  /// packets: read() has them. Throws std::bad_alloc.
  AVFormatContext* makeContainer() const;

  /// Reads the next frame into an empty packet. Returns 0 or an error of FFmpeg's libraries:
  /// AVERROR_EOF after the last frame, AVERROR_INVALIDDATA at a damaged one.
  int read(AVPacket& packet);

  /// Returns whether the file has an ICC profile, Exif or XMP, none of which the container has.
  bool hasMetadata() const;

 private:
  struct Deleter {
    void operator()(WebPAnimDecoder* decoder) const;
  };

  std::string bytes_;  ///< The whole file.
  std::unique_ptr<WebPAnimDecoder, Deleter> decoder_;
  std::pair<int, int> size_;  ///< Width and height of all frames.
  int frames_ = 0;
  std::int64_t end_ = 0;  ///< Of the last frame read, in milliseconds.
};

}  // namespace lomix::media
