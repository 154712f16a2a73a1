// Pictures in files, one by one or numbered, as sources and sinks of frames.
#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "batch/Frame.h"
#include "batch/FrameTime.h"
#include "media/picture/SequenceName.h"

namespace lomix::batch {

/// What becomes of an output that exists.
enum class Existing { Refuse, Overwrite, Skip };

/// One picture at one time, or still for the given frames.
class StillSource : public FrameSource {
 public:
  StillSource(std::filesystem::path file, const FrameTime& time);
  StillSource(std::filesystem::path file, std::vector<std::int64_t> numbers, const FrameRate& rate);

  std::optional<std::int64_t> count() const override;
  std::optional<Frame> next() override;
  void load(const Frame& frame, media::Picture& picture) override;

 private:
  std::filesystem::path file_;
  FrameTime time_;
  std::vector<std::int64_t> numbers_;
  std::optional<FrameRate> rate_;  ///< Nothing: the only frame stands at time_.
  std::size_t next_ = 0;
};

/// A numbered sequence.
class SequenceSource : public FrameSource {
 public:
  /// wanted: the frames to take, empty for all that exist. Throws MediaError when there is
  /// none at all.
  SequenceSource(media::SequenceName name, const std::vector<std::int64_t>& wanted,
                 const FrameRate& rate);

  const std::vector<std::int64_t>& numbers() const { return numbers_; }
  /// Where all frames are taken: the numbers between them that do not exist.
  const std::vector<std::int64_t>& gaps() const { return gaps_; }

  std::optional<std::int64_t> count() const override;
  std::optional<Frame> next() override;
  std::vector<std::int64_t> missing() const override { return missing_; }
  void load(const Frame& frame, media::Picture& picture) override;

 private:
  media::SequenceName name_;
  FrameRate rate_;
  std::vector<std::int64_t> numbers_;
  std::vector<std::int64_t> missing_;
  std::vector<std::int64_t> gaps_;
  std::size_t next_ = 0;
};

/// One file for the only frame.
class PictureSink : public FrameSink {
 public:
  /// Throws MediaError when the file cannot be written.
  PictureSink(std::filesystem::path file, Existing existing);

  bool has(const Frame& frame) const override;
  std::unique_ptr<media::EncodableFrame> take(const Frame& frame,
                                              std::shared_ptr<media::Picture> picture) override;

 private:
  std::filesystem::path file_;
  Existing existing_;
};

/// A numbered sequence.
class SequenceSink : public FrameSink {
 public:
  /// Throws MediaError when no file of the kind can be written.
  SequenceSink(media::SequenceName name, Existing existing);

  /// Throws MediaError when a frame's file is in the way.
  void checkFree(const std::vector<std::int64_t>& numbers) const;

  bool has(const Frame& frame) const override;
  bool allowsGaps() const override { return true; }
  std::unique_ptr<media::EncodableFrame> take(const Frame& frame,
                                              std::shared_ptr<media::Picture> picture) override;

 private:
  media::SequenceName name_;
  Existing existing_;
};

/// The time of frame number at the rate: number / rate seconds.
FrameTime frameTime(std::int64_t number, const FrameRate& rate);

}  // namespace lomix::batch
