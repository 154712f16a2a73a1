#include "batch/PictureFrames.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::batch {
namespace {

namespace fs = std::filesystem;

bool isThere(const fs::path& file) {
  std::error_code ignored;
  return fs::exists(file, ignored);
}

/// The numbers between the first and the last that are not among them.
std::vector<std::int64_t> gapsOf(const std::vector<std::int64_t>& numbers) {
  constexpr std::size_t kMaxNamed = 1000;
  std::vector<std::int64_t> gaps;
  for (std::size_t i = 1; i < numbers.size() && gaps.size() < kMaxNamed; ++i) {
    for (std::int64_t n = numbers[i - 1] + 1; n < numbers[i] && gaps.size() < kMaxNamed; ++n) {
      gaps.push_back(n);
    }
  }
  return gaps;
}

}  // namespace

FrameTime frameTime(std::int64_t number, const FrameRate& rate) {
  return fittedTime(number * rate.seconds, rate.frames);
}

StillSource::StillSource(fs::path file, const FrameTime& time)
    : file_(std::move(file)), time_(time), numbers_{0} {}

StillSource::StillSource(fs::path file, std::vector<std::int64_t> numbers, const FrameRate& rate)
    : file_(std::move(file)), numbers_(std::move(numbers)), rate_(rate) {}

std::optional<std::int64_t> StillSource::count() const {
  return static_cast<std::int64_t>(numbers_.size());
}

std::optional<Frame> StillSource::next() {
  if (next_ == numbers_.size()) return std::nullopt;
  const std::int64_t number = numbers_[next_++];
  return Frame{number, rate_ ? frameTime(number, *rate_) : time_, nullptr};
}

void StillSource::load(const Frame&, media::Picture& picture) {
  picture = media::readPicture(file_);
}

SequenceSource::SequenceSource(media::SequenceName name, const std::vector<std::int64_t>& wanted,
                               const FrameRate& rate)
    : name_(std::move(name)), rate_(rate) {
  const std::vector<std::int64_t> existing = name_.existing();
  if (wanted.empty()) {
    numbers_ = existing;
    gaps_ = gapsOf(existing);
  } else {
    std::ranges::set_intersection(wanted, existing, std::back_inserter(numbers_));
    std::ranges::set_difference(wanted, existing, std::back_inserter(missing_));
  }
  if (numbers_.empty()) {
    const std::string which =
        wanted.empty() ? "no frame" : "none of the frames " + media::listed(wanted);
    throw MediaError(cannotRead(name_.pattern()) + which + " exists (looked for '" +
                     name_.file(wanted.empty() ? 1 : wanted.front()).string() + "')");
  }
}

std::optional<std::int64_t> SequenceSource::count() const {
  return static_cast<std::int64_t>(numbers_.size());
}

std::optional<Frame> SequenceSource::next() {
  if (next_ == numbers_.size()) return std::nullopt;
  const std::int64_t number = numbers_[next_++];
  return Frame{number, frameTime(number, rate_), nullptr};
}

void SequenceSource::load(const Frame& frame, media::Picture& picture) {
  picture = media::readPicture(name_.file(frame.number));
}

PictureSink::PictureSink(fs::path file, Existing existing)
    : file_(std::move(file)), existing_(existing) {
  // Before the work, so that a long render does not end at a name that was taken all along.
  media::checkWritable(file_, existing != Existing::Refuse);
}

bool PictureSink::has(const Frame&) const { return existing_ == Existing::Skip && isThere(file_); }

std::unique_ptr<media::EncodableFrame> PictureSink::take(const Frame&,
                                                         std::shared_ptr<media::Picture> picture) {
  media::writePicture(*picture, file_, existing_ == Existing::Overwrite);
  return nullptr;
}

SequenceSink::SequenceSink(media::SequenceName name, Existing existing)
    : name_(std::move(name)), existing_(existing) {
  media::checkWritable(name_.file(0), true);
}

void SequenceSink::checkFree(const std::vector<std::int64_t>& numbers) const {
  if (existing_ != Existing::Refuse) return;
  std::vector<std::int64_t> taken;
  for (const std::int64_t number : numbers) {
    if (isThere(name_.file(number))) taken.push_back(number);
  }
  if (taken.empty()) return;
  throw AvoidableError(Remedy::OverwriteOrSkip,
                       cannotWrite(name_.pattern()) + "frames exist: " + media::listed(taken),
                       "replace them");
}

bool SequenceSink::has(const Frame& frame) const {
  return existing_ == Existing::Skip && isThere(name_.file(frame.number));
}

std::unique_ptr<media::EncodableFrame> SequenceSink::take(const Frame& frame,
                                                          std::shared_ptr<media::Picture> picture) {
  media::writePicture(*picture, name_.file(frame.number), existing_ == Existing::Overwrite);
  return nullptr;
}

}  // namespace lomix::batch
