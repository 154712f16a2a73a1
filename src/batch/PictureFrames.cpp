#include "batch/PictureFrames.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "media/picture/PictureFile.h"
#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::batch {
namespace {

namespace fs = std::filesystem;

/// Returns the numbers that are missing between the first and the last, at most kMaxNamed.
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

/// output: the name to warn about. Throws MediaError for an extension that no picture has.
media::TransparencyCheck transparencyCheck(const fs::path& output, const PictureWriting& writing) {
  const std::string extension =
      writing.extension.empty() ? output.extension().string() : writing.extension;
  return {media::storesAlpha(output, writing.extension), output.string(),
          extension + " files have none; .png files do", writing.warn};
}

}  // namespace

NumberedSource::NumberedSource(std::vector<std::int64_t> numbers, std::optional<FrameRate> rate,
                               const FrameTime& onlyTime)
    : numbers_(std::move(numbers)), rate_(rate), onlyTime_(onlyTime) {
  if (!rate_) return;
  for (const std::int64_t number : numbers_) {
    if (frameTime(number, *rate_)) continue;
    throw MediaError("frame " + std::to_string(number) + ": its time at " +
                     std::to_string(rate_->frames) + "/" + std::to_string(rate_->seconds) +
                     " frames a second is too long a number (renumber the frames)");
  }
}

std::optional<std::int64_t> NumberedSource::count() const {
  return static_cast<std::int64_t>(numbers_.size());
}

std::optional<Frame> NumberedSource::next() {
  if (next_ == numbers_.size()) return std::nullopt;
  const std::int64_t number = numbers_[next_++];
  return Frame{number, rate_ ? frameTime(number, *rate_).value() : onlyTime_, nullptr};
}

StillSource::StillSource(fs::path file, const FrameTime& time)
    : NumberedSource({0}, std::nullopt, time), file_(std::move(file)) {}

StillSource::StillSource(fs::path file, std::vector<std::int64_t> numbers, const FrameRate& rate)
    : NumberedSource(std::move(numbers), rate, {}), file_(std::move(file)) {}

void StillSource::load(const Frame&, media::Picture& picture) {
  picture = media::readPicture(file_);
}

SequenceSelection selectFrames(const media::SequenceName& name,
                               const std::vector<std::int64_t>& wanted) {
  const std::vector<std::int64_t> existing = name.existing();
  SequenceSelection selection;
  if (wanted.empty()) {
    selection.numbers = existing;
    selection.gaps = gapsOf(existing);
  } else {
    std::ranges::set_intersection(wanted, existing, std::back_inserter(selection.numbers));
    std::ranges::set_difference(wanted, existing, std::back_inserter(selection.missing));
  }
  if (selection.numbers.empty()) {
    const std::string which =
        wanted.empty() ? "no frame" : "none of the frames " + media::listed(wanted);
    throw MediaError(cannotRead(name.pattern()) + which + " exists (looked for '" +
                     name.file(wanted.empty() ? 1 : wanted.front()).string() + "')");
  }
  return selection;
}

SequenceSource::SequenceSource(media::SequenceName name, SequenceSelection selection,
                               const FrameRate& rate)
    : NumberedSource(std::move(selection.numbers), rate, {}),
      name_(std::move(name)),
      missing_(std::move(selection.missing)) {}

void SequenceSource::load(const Frame& frame, media::Picture& picture) {
  picture = media::readPicture(name_.file(frame.number));
}

PictureWriter::PictureWriter(const fs::path& output, PictureWriting writing)
    : subject_("'" + output.string() + "': "),
      writing_(std::move(writing)),
      transparency_(transparencyCheck(output, writing_)) {}

Taken PictureWriter::write(const media::Picture& picture, const fs::path& file) {
  transparency_.check(picture);
  media::PictureOutput options;
  options.overwrite = writing_.existing == Existing::Overwrite;
  options.extension = writing_.extension;
  options.quality = writing_.quality;
  try {
    for (const std::string& loss : media::writePicture(picture, file, options)) {
      writing_.warn(subject_ + loss);
    }
  } catch (const FileExistsError&) {
    // With Existing::Skip, several processes may share the frames of a sequence.
    if (writing_.existing != Existing::Skip) throw;
    return {nullptr, true};
  }
  return {};
}

PictureSink::PictureSink(fs::path file, const PictureWriting& writing)
    : file_(std::move(file)), writer_(file_, writing) {
  // Checked before the render, which may take long.
  media::checkWritable(file_, writing.existing != Existing::Refuse, writing.extension);
}

bool PictureSink::has(const Frame&) const {
  return writer_.writing().existing == Existing::Skip && fileExists(file_);
}

Taken PictureSink::take(const Frame&, std::shared_ptr<media::Picture> picture) {
  return writer_.write(*picture, file_);
}

SequenceSink::SequenceSink(media::SequenceName name, const PictureWriting& writing)
    : name_(std::move(name)), writer_(name_.pattern(), writing) {
  media::checkWritable(name_.file(0), true, writing.extension);
}

void SequenceSink::checkFree(const std::vector<std::int64_t>& numbers) const {
  if (writer_.writing().existing != Existing::Refuse) return;
  std::vector<std::int64_t> taken;
  for (const std::int64_t number : numbers) {
    if (fileExists(name_.file(number))) taken.push_back(number);
  }
  if (taken.empty()) return;
  throw AvoidableError(Remedy::OverwriteOrSkip,
                       cannotWrite(name_.pattern()) + "frames exist: " + media::listed(taken),
                       "replace them");
}

bool SequenceSink::has(const Frame& frame) const {
  return writer_.writing().existing == Existing::Skip && fileExists(name_.file(frame.number));
}

Taken SequenceSink::take(const Frame& frame, std::shared_ptr<media::Picture> picture) {
  return writer_.write(*picture, name_.file(frame.number));
}

}  // namespace lomix::batch
