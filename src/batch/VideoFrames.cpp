#include "batch/VideoFrames.h"

#include <utility>

namespace lomix::batch {

VideoSource::VideoSource(const media::VideoInput& input, std::vector<std::int64_t> wanted)
    : reader_(media::openVideo(input)), wanted_(std::move(wanted)) {}

std::optional<std::int64_t> VideoSource::count() const {
  if (!wanted_.empty()) return static_cast<std::int64_t>(wanted_.size());
  return reader_->frameCount();
}

std::optional<Frame> VideoSource::next() {
  for (;;) {
    if (!wanted_.empty() && nextWanted_ == wanted_.size()) return std::nullopt;
    std::unique_ptr<media::VideoFrame> decoded = reader_->next();
    if (!decoded) {
      atEnd_ = true;
      return std::nullopt;
    }
    const std::int64_t number = number_++;
    if (!wanted_.empty()) {
      if (wanted_[nextWanted_] != number) continue;
      ++nextWanted_;
    }
    const media::Ratio time = decoded->time;
    return Frame{number, fittedTime(time.num, time.den), std::move(decoded)};
  }
}

void VideoSource::load(const Frame& frame, media::Picture& picture) {
  reader_->toPicture(*frame.decoded, picture);
}

std::vector<std::int64_t> VideoSource::missing() const {
  if (!atEnd_) return {};
  return {wanted_.begin() + static_cast<std::ptrdiff_t>(nextWanted_), wanted_.end()};
}

VideoSink::VideoSink(const media::VideoOutput& output, media::VideoReader* source,
                     std::int64_t firstNumber)
    : writer_(media::createVideo(output, source)), firstNumber_(firstNumber) {}

std::unique_ptr<media::EncodableFrame> VideoSink::take(const Frame& frame,
                                                       std::shared_ptr<media::Picture> picture) {
  return writer_->prepare(std::move(picture), frame.decoded.get(), frame.number - firstNumber_);
}

}  // namespace lomix::batch
