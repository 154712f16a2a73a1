// Runs frames through one of FFmpeg's filters.
#pragma once

#include <string>

#include "media/video/Ffmpeg.h"

namespace lomix::media {

/// A chain of FFmpeg's filters with one input and one output. One thread at a time.
class FrameFilter {
 public:
  /// Prepares the filters. chain: as FFmpeg's command takes it: "bwdif=mode=send_frame". like: a
  /// frame of the format, size and colours of those that follow. timeBase: of their timestamps and
  /// of those that receive() returns. Throws MediaError where FFmpeg lacks a filter or cannot use
  /// it with such frames.
  FrameFilter(const std::string& chain, const AVFrame& like, AVRational timeBase);
  ~FrameFilter() { avfilter_graph_free(&graph_); }
  FrameFilter(const FrameFilter&) = delete;
  FrameFilter& operator=(const FrameFilter&) = delete;

  /// Gives the filters the next frame, which the caller keeps; null after the last one. Throws
  /// MediaError.
  void send(AVFrame* frame);
  /// Returns the next finished frame; null where the filters need another one first, or have
  /// returned the last. Throws MediaError.
  FfmpegPtr<AVFrame> receive();

 private:
  void configure(const std::string& chain, const AVFrame& like);

  AVRational timeBase_;
  AVFilterGraph* graph_ = nullptr;
  AVFilterContext* source_ = nullptr;
  AVFilterContext* sink_ = nullptr;
};

}  // namespace lomix::media
