// Sources and sinks of frames in video files.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "batch/Frame.h"
#include "media/video/Video.h"

namespace lomix::batch {

/// The frames of a video, numbered from 0. The first frame has time 0.
class VideoSource : public FrameSource {
 public:
  /// Throws MediaError.
  explicit VideoSource(const media::VideoInput& input) : reader_(media::openVideo(input)) {}

  /// Returns the reader, which lives as long as the source.
  media::VideoReader& reader() { return *reader_; }

  std::optional<std::int64_t> count() const override { return reader_->frameCount(); }
  std::optional<Frame> next() override;
  void load(const Frame& frame, media::Picture& picture) override;
  std::vector<std::int64_t> missing() const override;
  std::string damage() const override { return reader_->damage(); }
  std::string loss() const override { return reader_->loss(); }

 private:
  std::unique_ptr<media::VideoReader> reader_;
  bool atEnd_ = false;
};

/// A video file. Its frames are appended in the order of the source.
class VideoSink : public FrameSink {
 public:
  /// source: the video whose other streams are copied, which must outlive the sink; null for none.
  /// firstNumber: for frames from pictures, the number of the frame at time 0. Throws MediaError.
  VideoSink(const media::VideoOutput& output, media::VideoReader* source, std::int64_t firstNumber);

  Taken take(const Frame& frame, std::shared_ptr<media::Picture> picture) override;
  void finish() override { writer_->finish(); }

 private:
  std::unique_ptr<media::VideoWriter> writer_;
  std::int64_t firstNumber_;
  std::string name_;
  Warn warn_;
};

}  // namespace lomix::batch
