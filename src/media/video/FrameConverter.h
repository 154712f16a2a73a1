// Converts between FFmpeg's frames and pictures.
#pragma once

#include <map>
#include <mutex>
#include <vector>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// Returns the Y'CbCr matrix of a frame: the tagged one; untagged, BT.709 from a height of 720
/// pixels and BT.601 below, as is the convention.
AVColorSpace effectiveMatrix(AVColorSpace tagged, int height);

/// Converts frames to pictures and back. Keeps its scaler and buffer for the next frame of the same
/// kind. One thread at a time.
class FrameConverter {
 public:
  /// Converts a frame to a picture of the frame's size: depth 8 for frames of up to 8 bits,
  /// else 32. Throws MediaError.
  void toPicture(const AVFrame& frame, Picture& picture);

  /// Returns whether the format has the bytes of an 8-bit picture in another order.
  static bool isReordered(AVPixelFormat format);
  /// Reorders an 8-bit picture's bytes to those of such a format.
  static void reorderInPlace(Picture& picture, AVPixelFormat format);

  /// Converts a picture to a frame. frame: of the picture's size, its format, colour tags and
  /// buffers already set. Throws MediaError.
  void toFrame(const Picture& picture, AVFrame& frame);

 private:
  void convert(const AVFrame& from, AVFrame& to);
  AVFrame& scratch(AVPixelFormat format, int width, int height);

  FfmpegPtr<SwsContext> scaler_;
  std::vector<int> scalerKey_;
  FfmpegPtr<AVFrame> scratch_;
};

/// Idle converters. use() runs work with one of them, or with a new one. Any thread.
class ConverterPool {
 public:
  template <typename Work>
  void use(Work work) {
    std::unique_ptr<FrameConverter> converter;
    {
      const std::lock_guard lock(mutex_);
      if (!idle_.empty()) {
        converter = std::move(idle_.back());
        idle_.pop_back();
      }
    }
    if (!converter) converter = std::make_unique<FrameConverter>();
    work(*converter);
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(converter));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<FrameConverter>> idle_;
};

}  // namespace lomix::media
