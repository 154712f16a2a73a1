#include "batch/VideoFrames.h"

#include <utility>

#include "media/picture/PictureFile.h"

namespace lomix::batch {

std::optional<Frame> VideoSource::next() {
  std::unique_ptr<media::VideoFrame> decoded = reader_->next();
  if (!decoded) {
    atEnd_ = true;
    return std::nullopt;
  }
  const media::Ratio time = decoded->time;
  const std::int64_t number = decoded->number;
  return Frame{number, fittedTime(time.num, time.den), std::move(decoded)};
}

void VideoSource::load(const Frame& frame, media::Picture& picture) {
  reader_->toPicture(*frame.decoded, picture);
}

std::vector<std::int64_t> VideoSource::missing() const {
  if (!atEnd_) return {};
  return reader_->missingFrames();
}

VideoSink::VideoSink(const media::VideoOutput& output, media::VideoReader* source,
                     std::int64_t firstNumber)
    : writer_(media::createVideo(output, source)),
      firstNumber_(firstNumber),
      name_(output.name),
      warn_(output.warn) {}

Taken VideoSink::take(const Frame& frame, std::shared_ptr<media::Picture> picture) {
  for (const std::string& loss : media::lossesInVideo(*picture)) warn_("'" + name_ + "': " + loss);
  return {writer_->prepare(std::move(picture), frame.decoded.get(), frame.number - firstNumber_),
          false};
}

}  // namespace lomix::batch
