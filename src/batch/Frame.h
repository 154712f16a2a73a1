// Frames of a run, and the interfaces of their sources and sinks.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/FrameTime.h"
#include "media/picture/Picture.h"
#include "media/video/Video.h"

namespace lomix::batch {

/// One frame of a source, its pixels not yet loaded.
struct Frame {
  std::int64_t number = 0;
  FrameTime time;
  std::unique_ptr<media::VideoFrame> decoded;  ///< Of a video; null for pictures.
};

/// Reads frames: from a picture, a sequence or a video.
class FrameSource {
 public:
  FrameSource() = default;
  virtual ~FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  /// Returns the number of frames that next() returns; nothing where that is not known before.
  virtual std::optional<std::int64_t> count() const = 0;
  /// Returns the next frame in order; nothing after the last. One thread at a time. Throws
  /// MediaError, after which there is no next frame.
  virtual std::optional<Frame> next() = 0;
  /// Returns whether the frames have the numbers of files.
  virtual bool isSequence() const { return false; }
  /// Returns the numbers of the requested frames that do not exist, as far as next() has found out.
  virtual std::vector<std::int64_t> missing() const { return {}; }
  /// Returns what is damaged in the input, as VideoReader::damage() in Video.h.
  virtual std::string damage() const { return {}; }
  /// Returns what the input promises but does not have, as VideoReader::loss() in Video.h.
  virtual std::string loss() const { return {}; }
  /// Reads the picture of a frame that next() returned. picture: its memory is reused where it
  /// fits. Any thread. Throws MediaError, after which the other frames can still be read.
  virtual void load(const Frame& frame, media::Picture& picture) = 0;
};

/// What a sink has done with a frame.
struct Taken {
  /// Where frames must follow each other: the frame, prepared to be appended. Else null.
  std::unique_ptr<media::EncodableFrame> prepared;
  /// Whether another process has written the frame meanwhile, and its file is kept.
  bool isKept = false;
};

/// Writes frames: to pictures, a sequence or a video.
class FrameSink {
 public:
  FrameSink() = default;
  virtual ~FrameSink() = default;
  FrameSink(const FrameSink&) = delete;
  FrameSink& operator=(const FrameSink&) = delete;

  /// Returns whether the frame exists already and is to be kept, so that it need not be rendered.
  virtual bool has(const Frame&) const { return false; }
  /// Returns whether the output is of use with a frame missing.
  virtual bool allowsGaps() const { return false; }
  /// Takes a rendered frame. Any thread, any order. Writes it; or, where frames must follow each
  /// other, returns it prepared: the caller has to append() it in the order of the source, and the
  /// picture may be kept until then. The sink must outlive prepared frames. Throws MediaError.
  virtual Taken take(const Frame& frame, std::shared_ptr<media::Picture> picture) = 0;
  /// Completes the output. Called after the last frame, unless something failed. Throws MediaError.
  virtual void finish() {}
};

}  // namespace lomix::batch
