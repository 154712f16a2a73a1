// A frame on its way from a source through the effect to a sink.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "batch/FrameTime.h"
#include "media/picture/Picture.h"
#include "media/video/Video.h"
#include "support/Text.h"

namespace lomix::batch {

struct Frame {
  std::int64_t number = 0;
  FrameTime time;
  std::unique_ptr<media::VideoFrame> decoded;  ///< Of a video; null for pictures.
};

/// Where frames come from.
class FrameSource {
 public:
  FrameSource() = default;
  virtual ~FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  /// How many frames next() gives, where that is known.
  virtual std::optional<std::int64_t> count() const = 0;
  /// The next frame in order; nothing after the last. One thread at a time. Throws
  /// MediaError, after which there is no next frame.
  virtual std::optional<Frame> next() = 0;
  /// Frames that were wanted and do not exist, as far as next() has found out.
  virtual std::vector<std::int64_t> missing() const { return {}; }
  /// Parts of the input that next() had to leave out because they are damaged.
  virtual std::int64_t damagedCount() const { return 0; }
  /// Reads a frame's picture; picture's memory is used again where it fits. Any thread. Throws
  /// MediaError, after which the other frames can still be read.
  virtual void load(const Frame& frame, media::Picture& picture) = 0;
};

/// A frame in the form that its sink appends.
class ReadyFrame {
 public:
  ReadyFrame() = default;
  virtual ~ReadyFrame() = default;
  ReadyFrame(const ReadyFrame&) = delete;
  ReadyFrame& operator=(const ReadyFrame&) = delete;
};

/// Where they go.
class FrameSink {
 public:
  FrameSink() = default;
  virtual ~FrameSink() = default;
  FrameSink(const FrameSink&) = delete;
  FrameSink& operator=(const FrameSink&) = delete;

  /// Whether the frame is there already and need not be rendered.
  virtual bool has(const Frame&) const { return false; }
  /// Whether the sink makes sense with a frame missing.
  virtual bool allowsGaps() const { return false; }
  /// Takes a frame; it may keep the picture until it is appended. Any thread, any order. Null where
  /// the frame is written with that; else append() has to follow. Throws MediaError.
  virtual std::unique_ptr<ReadyFrame> take(const Frame& frame,
                                           std::shared_ptr<media::Picture> picture) = 0;
  /// Appends a frame that take() gave. One thread at a time, in the order of the source. Throws
  /// MediaError.
  virtual void append(ReadyFrame&) {}
  /// Called after the last frame, when all went well. Throws MediaError.
  virtual void finish() {}
};

}  // namespace lomix::batch
