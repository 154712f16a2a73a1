#pragma once

#include <map>
#include <mutex>
#include <vector>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// How luma and colour differences stand for colours.
struct YuvCoding {
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  bool fullRange = false;
};

/// The matrix that is meant: the tagged one, or by convention that of the picture's size.
AVColorSpace effectiveMatrix(AVColorSpace tagged, int height);

/// Frames of FFmpeg's libraries to pictures and back. Keeps what it needs for frames of one kind;
/// one thread at a time.
class FrameConverter {
 public:
  /// picture takes the frame's size and is made of 8 bits for frames of 8 bits or less, else of
  /// float. Throws MediaError.
  void toPicture(const AVFrame& frame, Picture& picture);

  /// Whether frames of the format are 8-bit pictures with their bytes in another order.
  static bool isReordered(AVPixelFormat format);
  /// Puts a picture's bytes in the format's order.
  static void reorderInPlace(Picture& picture, AVPixelFormat format);

  /// frame: its buffers made, its format, size and coding set. picture of that size. Throws
  /// MediaError.
  void toFrame(const Picture& picture, AVFrame& frame);

 private:
  void convert(const AVFrame& from, AVFrame& to);
  AVFrame& scratch(AVPixelFormat format, int width, int height);

  FfmpegPtr<SwsContext> scaler_;
  std::vector<int> scalerKey_;
  FfmpegPtr<AVFrame> scratch_;
};

/// Converters that wait for work: one for each thread that asks at a time.
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
