// A single picture from standard input or to standard output.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "batch/PictureFrames.h"
#include "support/TemporaryFile.h"

namespace lomix::batch {

/// What standard input holds, as far as it had to be read.
struct StandardInput {
  std::shared_ptr<TemporaryFile> picture;  ///< A copy of the only picture in it; null: no picture.
  std::string format;                      ///< The picture's format, as media::formatOf() names it.
  std::string start;                       ///< Where it is no picture: what was read.
};

/// Reads standard input until it is known whether it is a single picture, whose end is its own, or
/// frames of a video. extension: names the format of a picture whose content does not tell; empty:
/// that is a video. Throws MediaError when it is empty or cannot be read.
StandardInput readStandardPicture(const std::string& extension);

/// The picture of standard input.
class PipedSource : public StillSource {
 public:
  /// One frame, number 0, at that time. extension: as above.
  PipedSource(std::shared_ptr<TemporaryFile> file, std::string extension, const FrameTime& time);
  /// The same picture for every one of the frames.
  PipedSource(std::shared_ptr<TemporaryFile> file, std::string extension,
              std::vector<std::int64_t> numbers, const FrameRate& rate);

  void load(const Frame& frame, media::Picture& picture) override;

 private:
  std::shared_ptr<TemporaryFile> file_;
  std::string extension_;
};

/// The picture on standard output, for a run of a single frame.
class PipedSink : public FrameSink {
 public:
  /// writing: with an extension. Throws MediaError for one that no picture has.
  explicit PipedSink(const PictureWriting& writing);

  Taken take(const Frame& frame, std::shared_ptr<media::Picture> picture) override;

 private:
  PictureWriter writer_;
};

}  // namespace lomix::batch
