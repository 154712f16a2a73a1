// Sources and sinks of frames in picture files, single or numbered.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/Frame.h"
#include "batch/FrameTime.h"
#include "media/picture/PictureFile.h"
#include "media/picture/SequenceName.h"
#include "media/picture/TransparencyCheck.h"
#include "media/video/Video.h"
#include "support/Warn.h"

namespace lomix::batch {

/// What to do with an output that exists already.
enum class Existing { Refuse, Overwrite, Skip };

/// Frames whose numbers and times are known before they are read.
class NumberedSource : public FrameSource {
 public:
  /// Returns the numbers of the frames, ascending.
  const std::vector<std::int64_t>& numbers() const { return numbers_; }

  std::optional<std::int64_t> count() const override;
  std::optional<Frame> next() override;

 protected:
  /// rate: gives each frame the time number / rate; nothing: the only frame has the time onlyTime.
  /// Throws MediaError where a frame has no exact time.
  NumberedSource(std::vector<std::int64_t> numbers, std::optional<FrameRate> rate,
                 const FrameTime& onlyTime);

 private:
  std::vector<std::int64_t> numbers_;
  std::optional<FrameRate> rate_;
  FrameTime onlyTime_;
  std::size_t next_ = 0;
};

/// One picture, for a single frame or repeated for several.
class StillSource : public NumberedSource {
 public:
  /// One frame, number 0, at that time.
  StillSource(std::filesystem::path file, const FrameTime& time);
  /// The same picture for every one of the frames.
  StillSource(std::filesystem::path file, std::vector<std::int64_t> numbers, const FrameRate& rate);

  void load(const Frame& frame, media::Picture& picture) override;

 private:
  std::filesystem::path file_;
};

/// The files of a numbered sequence that are to be rendered.
struct SequenceSelection {
  std::vector<std::int64_t> numbers;  ///< Of the frames that exist and are wanted, ascending.
  std::vector<std::int64_t> missing;  ///< Wanted ones that do not exist.
  std::vector<std::int64_t> gaps;     ///< Where all are wanted: missing between first and last.
};

/// Looks for the files of a sequence. wanted: the frames to take, ascending; empty for all that
/// exist. Throws MediaError when none of them exists.
SequenceSelection selectFrames(const media::SequenceName& name,
                               const std::vector<std::int64_t>& wanted);

/// A numbered sequence.
class SequenceSource : public NumberedSource {
 public:
  SequenceSource(media::SequenceName name, SequenceSelection selection, const FrameRate& rate);

  bool isSequence() const override { return true; }
  std::vector<std::int64_t> missing() const override { return missing_; }
  void load(const Frame& frame, media::Picture& picture) override;

 private:
  media::SequenceName name_;
  std::vector<std::int64_t> missing_;
};

/// How the pictures of a run are written.
struct PictureWriting {
  Existing existing = Existing::Refuse;
  std::string extension;  ///< Chooses the format: ".png"; empty: that of the output's name.
  int quality = media::kJpegQuality;
  Warn warn = [](const std::string&) {};  ///< Called for what is lost.
};

/// Writes pictures and warns of what they lose.
class PictureWriter {
 public:
  /// output: the name to warn about, which has the pictures' extension unless another is given.
  /// Throws MediaError for an extension that no picture has.
  PictureWriter(const std::filesystem::path& output, PictureWriting writing);

  /// Writes a picture. Warns where it has transparency and its file has not, once for all pictures,
  /// and of what else the file does not keep. With Existing::Skip, keeps a file that exists. Any
  /// thread. Throws MediaError.
  Taken write(const media::Picture& picture, const std::filesystem::path& file);

  const PictureWriting& writing() const { return writing_; }

 private:
  std::string subject_;  ///< Of warnings.
  PictureWriting writing_;
  media::TransparencyCheck transparency_;
};

/// One picture file, for a run of a single frame.
class PictureSink : public FrameSink {
 public:
  /// Throws MediaError when the file cannot be written.
  PictureSink(std::filesystem::path file, const PictureWriting& writing);

  bool has(const Frame& frame) const override;
  Taken take(const Frame& frame, std::shared_ptr<media::Picture> picture) override;

 private:
  std::filesystem::path file_;
  PictureWriter writer_;
};

/// A numbered sequence.
class SequenceSink : public FrameSink {
 public:
  /// Throws MediaError when no file of the kind can be written.
  SequenceSink(media::SequenceName name, const PictureWriting& writing);

  /// Throws AvoidableError when a file of one of these frames exists and may not be replaced.
  void checkFree(const std::vector<std::int64_t>& numbers) const;

  bool has(const Frame& frame) const override;
  bool allowsGaps() const override { return true; }
  Taken take(const Frame& frame, std::shared_ptr<media::Picture> picture) override;

 private:
  media::SequenceName name_;
  PictureWriter writer_;
};

}  // namespace lomix::batch
