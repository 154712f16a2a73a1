// Reads videos with FFmpeg's libraries.
#pragma once

#include <vector>

#include "media/video/Ffmpeg.h"
#include "media/video/FrameConverter.h"

namespace lomix::media {

/// A decoded frame, and the packets of the other streams between it and the frame before.
class DecodedFrame : public VideoFrame {
 public:
  FfmpegPtr<AVFrame> frame;                  ///< Timestamp in the stream's time base.
  std::vector<FfmpegPtr<AVPacket>> packets;  ///< Of the other streams.
};

/// Reads any container and codec that FFmpeg's libraries support.
class Reader : public VideoReader {
 public:
  explicit Reader(const VideoInput& input);
  ~Reader() override;

  std::optional<std::int64_t> frameCount() const override;
  std::int64_t damagedCount() const override { return damaged_; }
  std::unique_ptr<VideoFrame> next() override;
  void toPicture(const VideoFrame& frame, Picture& picture) override;

  /// Returns the packets of the other streams after the last frame.
  std::vector<FfmpegPtr<AVPacket>> takePackets() { return std::move(packets_); }
  const AVFormatContext& container() const { return *container_; }
  const AVStream& stream() const { return *stream_; }
  const AVCodecContext& decoder() const { return *decoder_; }
  /// Returns the stored orientation, as upright() in Picture.h takes it.
  int orientation() const { return orientation_; }
  bool isRaw() const { return isRaw_; }

 private:
  void open(const VideoInput& input);
  void openDecoder(int threads);
  void readOrientation();
  bool feed();
  void requireDecoded(int error);
  void stamp(AVFrame& frame);
  [[noreturn]] void fail(int error, const char* hint) const;

  std::string name_;
  bool isRaw_;
  AVFormatContext* container_ = nullptr;
  AVStream* stream_ = nullptr;
  FfmpegPtr<AVCodecContext> decoder_;
  FfmpegPtr<AVPacket> packet_ = newPacket();
  std::vector<FfmpegPtr<AVPacket>> packets_;
  int orientation_ = 1;
  bool atEnd_ = false;
  std::int64_t damaged_ = 0;
  int errorsInARow_ = 0;
  std::optional<std::int64_t> firstTime_;
  std::int64_t nextTime_ = 0;  ///< Timestamp for the next frame if the file gives none.
  ConverterPool converters_;
};

}  // namespace lomix::media
